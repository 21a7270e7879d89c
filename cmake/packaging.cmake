# The shared libclipcat, made from the layers' objects and the C and C++ interfaces, and what
# `cmake --install` puts in place: the clipcat command, the library with a versioned soname, the
# public headers (include/clipcat), a CMake package (find_package(clipcat) gives clipcat::clipcat)
# and a pkg-config file (clipcat.pc). The layers are compiled with hidden visibility, so the
# library exports the public interface alone.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

get_property(clipcat_layer_objects GLOBAL PROPERTY CLIPCAT_LAYER_OBJECTS)
add_library(clipcat_shared SHARED ${clipcat_layer_objects} $<TARGET_OBJECTS:clipcat_c_objects>)
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
target_include_directories(clipcat_shared PUBLIC
  $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}/include>
  $<BUILD_INTERFACE:${CMAKE_BINARY_DIR}/include>
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_compile_features(clipcat_shared PUBLIC cxx_std_20)
# The public headers include nothing but the standard library's.
target_link_libraries(clipcat_shared PRIVATE Threads::Threads PkgConfig::ZSTD SQLite::SQLite3
                      PostgreSQL::PostgreSQL ICU::uc pugixml::pugixml LibXml2::LibXml2)
target_link_options(clipcat_shared PRIVATE
                    -Wl,--version-script=${CMAKE_SOURCE_DIR}/cmake/libclipcat.map)
set_property(TARGET clipcat_shared APPEND PROPERTY LINK_DEPENDS
             ${CMAKE_SOURCE_DIR}/cmake/libclipcat.map)
if(NOT CLIPCAT_SANITIZE)
  # Every symbol the library needs must be found when it is linked, not when a client loads it.
  target_link_options(clipcat_shared PRIVATE -Wl,--no-undefined)
endif()

install(TARGETS clipcat RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS clipcat_shared EXPORT clipcatTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
# The public headers alone: clients write #include <clipcat/clipcat.h>.
file(GLOB clipcat_public_headers CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/include/clipcat/*.h)
install(FILES ${clipcat_public_headers} ${CMAKE_BINARY_DIR}/include/clipcat/version.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/clipcat)

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
set(CLIPCAT_PC_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR})
configure_file(${CMAKE_SOURCE_DIR}/cmake/clipcat.pc.in ${CMAKE_BINARY_DIR}/clipcat.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/clipcat.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
