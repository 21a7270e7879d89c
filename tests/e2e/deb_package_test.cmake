# The Debian package as a user gets it: `cpack -G DEB` from the build, the package unpacked into a
# scratch root, its contents and dependencies checked, then `clipcat tour` run from that root on a
# fresh data directory and the Python module imported from it. Run with cmake -P; the caller
# passes BUILD_DIR, WORK_DIR, CPACK and PYTHON (empty without the module).
cmake_minimum_required(VERSION 3.25)

include(${CMAKE_CURRENT_LIST_DIR}/script_steps.cmake)

file(REMOVE_RECURSE ${WORK_DIR})
run("cpack" ${CPACK} -G DEB --config ${BUILD_DIR}/CPackConfig.cmake -B ${WORK_DIR})
file(GLOB packages ${WORK_DIR}/*.deb)
list(LENGTH packages count)
if(NOT count EQUAL 1)
  message(FATAL_ERROR "expected one .deb, found: ${packages}")
endif()

run("dpkg-deb --contents" dpkg-deb --contents ${packages})
set(contents "${output}")
expect("the package" "${contents}" " \\./usr/bin/clipcat\n")
expect("the package" "${contents}" " \\./usr/include/clipcat/clipcat\\.h\n")
expect("the package" "${contents}" "/libclipcat\\.so\\.[0-9]+\\.[0-9]+ -> ")
expect("the package" "${contents}" "/clipcat\\.pc\n")
if(contents MATCHES "include/clipcat/(util|service|engine|store|automation)/")
  message(FATAL_ERROR "the package holds internal headers:\n${contents}")
endif()
run("dpkg-deb --field" dpkg-deb --field ${packages} Depends)
expect("the package's dependencies" "${output}" "libsqlite3")
expect("the package's dependencies" "${output}" "libpq5")

set(root ${WORK_DIR}/root)
run("dpkg-deb --extract" dpkg-deb --extract ${packages} ${root})
set(ENV{HOME} ${WORK_DIR}/home)
set(ENV{XDG_DATA_HOME} ${WORK_DIR}/data)
unset(ENV{CLIPCAT_CATALOG})
run("clipcat tour" ${root}/usr/bin/clipcat tour)
expect("clipcat tour" "${output}"
       "Created a new catalog with a sample library: ${WORK_DIR}/data/clipcat/catalog\\.db")
expect("clipcat tour" "${output}" "Greeting")

if(PYTHON)
  file(GLOB_RECURSE modules ${root}/*clipcat*.so)
  list(FILTER modules INCLUDE REGEX "/dist-packages/")
  list(LENGTH modules count)
  if(NOT count EQUAL 1)
    message(FATAL_ERROR "expected one Python module in the package, found: ${modules}")
  endif()
  get_filename_component(module_dir ${modules} DIRECTORY)
  set(ENV{PYTHONPATH} ${module_dir})
  file(WRITE ${WORK_DIR}/search.py "import clipcat\n"
       "catalog = clipcat.open('${WORK_DIR}/data/clipcat/catalog.db')\n"
       "print([hit.name for hit in catalog.search('letter')])\n")
  run("the packaged Python module" ${PYTHON} ${WORK_DIR}/search.py)
  expect("the packaged Python module" "${output}" "'Greeting'")
endif()
