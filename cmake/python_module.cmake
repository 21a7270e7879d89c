# The Python module `clipcat` (src/bindings/python), a pybind11 extension over the C++ interface
# of the shared libclipcat, installed into the prefix's Python packages beside the library.
option(CLIPCAT_PYTHON "Build the Python module (needs python3-dev and python3-pybind11)" ON)
if(NOT CLIPCAT_PYTHON)
  return()
endif()

find_package(Python3 REQUIRED COMPONENTS Interpreter Development.Module)
find_package(pybind11 CONFIG REQUIRED)

pybind11_add_module(clipcat_python MODULE ${CMAKE_SOURCE_DIR}/src/bindings/python/clipcat_module.cpp)
target_link_libraries(clipcat_python PRIVATE clipcat_shared)
set_target_properties(clipcat_python PROPERTIES
  OUTPUT_NAME clipcat
  LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/python)

# Debian's place for extension modules under a prefix (/usr/lib/python3/dist-packages).
set(CLIPCAT_PYTHON_INSTALL_DIR lib/python3/dist-packages
    CACHE STRING "Where the Python module is installed, relative to the prefix")
# The module finds the library from its own place, wherever the prefix is.
file(RELATIVE_PATH clipcat_python_to_lib ${CMAKE_INSTALL_PREFIX}/${CLIPCAT_PYTHON_INSTALL_DIR}
     ${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR})
set_target_properties(clipcat_python PROPERTIES INSTALL_RPATH "$ORIGIN/${clipcat_python_to_lib}")
install(TARGETS clipcat_python LIBRARY DESTINATION ${CLIPCAT_PYTHON_INSTALL_DIR})
