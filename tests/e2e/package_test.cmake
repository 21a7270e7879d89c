# The installed package as a client sees it: `cmake --install` into a fresh prefix, the example
# client configured with find_package(clipcat) and built against that prefix alone, then run on a
# catalog that the installed clipcat command made. Run with cmake -P; the caller passes
# BUILD_DIR, EXAMPLE_DIR, WORK_DIR, GENERATOR, CXX and EXTRA_LINK_FLAGS.
cmake_minimum_required(VERSION 3.25)

function(run what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${what} failed (${status}):\n${out}\n${err}")
  endif()
  set(output "${out}" PARENT_SCOPE)
endfunction()

function(expect what text pattern)
  if(NOT text MATCHES "${pattern}")
    message(FATAL_ERROR "${what}: \"${pattern}\" not found in:\n${text}")
  endif()
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)
run("install" ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

# The library with its versioned soname, the headers without the internal ones, both package
# descriptions.
file(GLOB_RECURSE libraries RELATIVE ${prefix} ${prefix}/*/libclipcat.so*)
list(SORT libraries)
expect("shared library" "${libraries}" "libclipcat\\.so;[^;]*libclipcat\\.so\\.[0-9]+\\.[0-9]+;[^;]*libclipcat\\.so\\.[0-9]+\\.[0-9]+\\.[0-9]+$")
file(GLOB_RECURSE headers RELATIVE ${prefix}/include/clipcat ${prefix}/include/clipcat/*.h)
expect("public headers" "${headers}" "automation/progid_registry\\.h")
expect("public headers" "${headers}" "service/clipping_data_read\\.h")
foreach(header IN LISTS headers)
  if(header MATCHES "_internal\\.h$|^cli/")
    message(FATAL_ERROR "a header that is not public was installed: ${header}")
  endif()
endforeach()
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
  file(REAL_PATH ${prefix}/include/clipcat real_include)
  string(REPLACE "\n" "" flags "${output}")
  string(REGEX MATCH "-I[^ ]+" include_flag "${flags}")
  string(SUBSTRING "${include_flag}" 2 -1 include_dir)
  file(REAL_PATH ${include_dir} include_dir)
  if(NOT include_dir STREQUAL real_include)
    message(FATAL_ERROR "pkg-config names ${include_dir}, not ${real_include}: ${flags}")
  endif()
  expect("pkg-config libraries" "${flags}" "-lclipcat")
endif()

set(example ${WORK_DIR}/example)
run("configure the example" ${CMAKE_COMMAND} -S ${EXAMPLE_DIR} -B ${example} -G ${GENERATOR}
    -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_PREFIX_PATH=${prefix}
    "-DCMAKE_EXE_LINKER_FLAGS=${EXTRA_LINK_FLAGS}")
run("build the example" ${CMAKE_COMMAND} --build ${example})

set(catalog ${WORK_DIR}/shelf.db)
run("clipcat init" ${prefix}/bin/clipcat --catalog ${catalog} init --name Shelf)
run("clipcat mkdir" ${prefix}/bin/clipcat --catalog ${catalog} mkdir 1 Letters)
string(STRIP "${output}" letters)
run("clipcat mkdir" ${prefix}/bin/clipcat --catalog ${catalog} mkdir ${letters} Drafts)
run("the example" ${example}/folder_tree ${catalog})
expect("the example's tree" "${output}"
       "^Shelf  \\[1\\]\n  Letters  \\[${letters}\\]\n    Drafts  \\[[0-9]+\\]\n$")
