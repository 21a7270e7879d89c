# The shared libclipcat, made from the layers' objects, and what `cmake --install` puts in place:
# the clipcat command, the library with a versioned soname, the layers' public headers, a CMake
# package (find_package(clipcat) gives clipcat::clipcat) and a pkg-config file (clipcat.pc).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

get_property(clipcat_layer_objects GLOBAL PROPERTY CLIPCAT_LAYER_OBJECTS)
add_library(clipcat_shared SHARED ${clipcat_layer_objects})
add_library(clipcat::clipcat ALIAS clipcat_shared)

# Until 1.0 a minor version may change the binary interface, so the soname carries both numbers
# (libclipcat.so.0.1); from 1.0 on it carries the major version alone.
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(CLIPCAT_SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
else()
  set(CLIPCAT_SOVERSION ${PROJECT_VERSION_MAJOR})
endif()
set_target_properties(clipcat_shared PROPERTIES
  OUTPUT_NAME clipcat
  EXPORT_NAME clipcat
  VERSION ${PROJECT_VERSION}
  SOVERSION ${CLIPCAT_SOVERSION})
set(clipcat_include_subdir clipcat)
target_include_directories(clipcat_shared PUBLIC
  $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}/src>
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/${clipcat_include_subdir}>)
target_compile_features(clipcat_shared PUBLIC cxx_std_20)
# The entities' XML header includes pugixml's, the entities' JSON header nlohmann's; the engines
# and compression stay inside.
target_link_libraries(clipcat_shared
  PUBLIC pugixml::pugixml nlohmann_json::nlohmann_json
  PRIVATE Threads::Threads PkgConfig::ZSTD SQLite::SQLite3 PostgreSQL::PostgreSQL ICU::uc)
if(NOT CLIPCAT_SANITIZE)
  # Every symbol the library needs must be found when it is linked, not when a client loads it.
  target_link_options(clipcat_shared PRIVATE -Wl,--no-undefined)
endif()

install(TARGETS clipcat RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS clipcat_shared EXPORT clipcatTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
# The layers' headers keep their folders, so that clients include them as the library does
# ("service/clipping_data_read.h"). Internal headers and the command's own stay out.
install(DIRECTORY ${CMAKE_SOURCE_DIR}/src/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${clipcat_include_subdir}
  FILES_MATCHING PATTERN "*.h"
  PATTERN "*_internal.h" EXCLUDE
  PATTERN "cli" EXCLUDE)

set(clipcat_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/clipcat)
install(EXPORT clipcatTargets NAMESPACE clipcat:: DESTINATION ${clipcat_cmake_dir})
configure_package_config_file(${CMAKE_SOURCE_DIR}/cmake/clipcatConfig.cmake.in
  ${CMAKE_BINARY_DIR}/clipcatConfig.cmake INSTALL_DESTINATION ${clipcat_cmake_dir})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/clipcatConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/clipcatConfig.cmake ${CMAKE_BINARY_DIR}/clipcatConfigVersion.cmake
  DESTINATION ${clipcat_cmake_dir})

# The pkg-config file finds the prefix from its own place, so that an install with
# `cmake --install --prefix` anywhere stays usable.
file(RELATIVE_PATH CLIPCAT_PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
  ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" CLIPCAT_PC_TO_PREFIX "${CLIPCAT_PC_TO_PREFIX}")
set(CLIPCAT_PC_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/${clipcat_include_subdir})
configure_file(${CMAKE_SOURCE_DIR}/cmake/clipcat.pc.in ${CMAKE_BINARY_DIR}/clipcat.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/clipcat.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
