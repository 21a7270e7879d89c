# The installed package as a client sees it: `cmake --install` into a fresh prefix, the C++ example
# configured with find_package(clipcat) and the C example compiled with pkg-config's flags, each
# built against that prefix alone, then run on a catalog that the installed clipcat command made;
# the Python example runs with the installed module when there is one. Run with cmake -P; the
# caller passes BUILD_DIR, EXAMPLES_DIR, WORK_DIR, GENERATOR, CXX, CC, PYTHON (empty without the
# module) and EXTRA_LINK_FLAGS.
cmake_minimum_required(VERSION 3.25)

include(${CMAKE_CURRENT_LIST_DIR}/script_steps.cmake)

file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)
run("install" ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

# The library with its versioned soname and the public headers, <clipcat/...>, alone.
file(GLOB_RECURSE libraries RELATIVE ${prefix} ${prefix}/*/libclipcat.so*)
list(SORT libraries)
expect("shared library" "${libraries}" "libclipcat\\.so;[^;]*libclipcat\\.so\\.[0-9]+\\.[0-9]+;[^;]*libclipcat\\.so\\.[0-9]+\\.[0-9]+\\.[0-9]+$")
file(GLOB_RECURSE headers RELATIVE ${prefix}/include ${prefix}/include/*.h)
expect("public headers" "${headers}" "clipcat/clipcat\\.h")
expect("public headers" "${headers}" "clipcat/clipcat_c\\.h")
expect("public headers" "${headers}" "clipcat/version\\.h")
list(GET libraries 0 library)
get_filename_component(libdir ${prefix}/${library} DIRECTORY)
file(GLOB_RECURSE pc_files ${prefix}/*/clipcat.pc)
list(LENGTH pc_files pc_count)
if(NOT pc_count EQUAL 1)
  message(FATAL_ERROR "expected one clipcat.pc, found: ${pc_files}")
endif()
find_program(PKG_CONFIG NAMES pkg-config pkgconf)
if(PKG_CONFIG)
  get_filename_component(pc_dir ${pc_files} DIRECTORY)
  set(ENV{PKG_CONFIG_PATH} ${pc_dir})
  run("pkg-config" ${PKG_CONFIG} --cflags --libs clipcat)
  file(REAL_PATH ${prefix}/include real_include)
  string(REPLACE "\n" "" flags "${output}")
  string(REGEX MATCH "-I[^ ]+" include_flag "${flags}")
  string(SUBSTRING "${include_flag}" 2 -1 include_dir)
  file(REAL_PATH ${include_dir} include_dir)
  if(NOT include_dir STREQUAL real_include)
    message(FATAL_ERROR "pkg-config names ${include_dir}, not ${real_include}: ${flags}")
  endif()
  expect("pkg-config libraries" "${flags}" "-lclipcat")
endif()

set(catalog ${WORK_DIR}/shelf.db)
run("clipcat init" ${prefix}/bin/clipcat --catalog ${catalog} init --name Shelf)
run("clipcat mkdir" ${prefix}/bin/clipcat --catalog ${catalog} mkdir 1 Letters)
string(STRIP "${output}" letters)
run("clipcat mkdir" ${prefix}/bin/clipcat --catalog ${catalog} mkdir ${letters} Drafts)

# C++: the tree, the clipping added, and the search that finds it.
set(example ${WORK_DIR}/example)
run("configure the C++ example" ${CMAKE_COMMAND} -S ${EXAMPLES_DIR}/cpp -B ${example}
    -G ${GENERATOR} -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=${CXX}
    -DCMAKE_PREFIX_PATH=${prefix} "-DCMAKE_EXE_LINKER_FLAGS=${EXTRA_LINK_FLAGS}")
run("build the C++ example" ${CMAKE_COMMAND} --build ${example})
run("the C++ example" ${example}/shelf ${catalog})
expect("the C++ example" "${output}"
       "^Shelf  \\[1\\]\n  Letters  \\[${letters}\\]\n    Drafts  \\[[0-9]+\\]\nadded ([0-9]+) Invoice note\n")
set(added ${matched})
expect("the C++ example's search" "${output}"
       "\n${added} Invoice note: Please find the \\[invoice\\] attached\\.?\n$")

# C, compiled with what pkg-config says and nothing else.
if(PKG_CONFIG AND CC)
  separate_arguments(c_flags UNIX_COMMAND "${flags}")
  separate_arguments(link_flags UNIX_COMMAND "${EXTRA_LINK_FLAGS}")
  run("build the C example" ${CC} -std=c99 -Wall -Werror ${EXAMPLES_DIR}/c/search.c ${c_flags}
      ${link_flags} -Wl,-rpath,${libdir} -o ${WORK_DIR}/search_c)
  run("the C example" ${WORK_DIR}/search_c ${catalog} "overdue reminder")
  expect("the C example" "${output}" "^libclipcat [0-9]+\\.[0-9]+\\.[0-9]+\nadded ([0-9]+)\n")
  set(added ${matched})
  expect("the C example's hit" "${output}" "\n${added} Found by C: \\[overdue\\] \\[reminder\\]\n")
  expect("the C example's text" "${output}" "\ntext: overdue reminder\n")
  expect("the C example's refusal" "${output}" "\nrefused: 5 no folder \"No\"\n$")
endif()

# Python, with the module as installed (it finds the library from its own place).
if(PYTHON)
  file(GLOB_RECURSE modules ${prefix}/*/clipcat*.so)
  list(FILTER modules INCLUDE REGEX "/(dist|site)-packages/")
  list(LENGTH modules module_count)
  if(NOT module_count EQUAL 1)
    message(FATAL_ERROR "expected one installed Python module, found: ${modules}")
  endif()
  get_filename_component(module_dir ${modules} DIRECTORY)
  set(ENV{PYTHONPATH} ${module_dir})
  run("the Python example" ${PYTHON} ${EXAMPLES_DIR}/python/shelf.py ${catalog})
  expect("the Python example" "${output}" "^Shelf\n  Letters\n    Drafts\nadded ([0-9]+)\n")
  set(added ${matched})
  expect("the Python example's search" "${output}" "\n${added} Late payment: .*\\[late\\] \\[payment\\]")
endif()
