# `cpack -G DEB` in the build directory makes clipcat_VERSION_ARCH.deb from what `cmake --install`
# puts in place (the command, libclipcat, the public headers, the CMake and pkg-config files, the
# Python module, and whatever else has an install rule), under /usr, with the Debian packages it
# needs found from the binaries it holds.
set(CPACK_PACKAGE_NAME clipcat)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "clipcat developers <clipcat@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "Catalogs of named, reusable clippings: command, library, C/C++ headers, Python module")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_GENERATOR DEB)
include(CPack)
