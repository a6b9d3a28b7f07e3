# `cpack -G DEB` in a build folder makes a Debian package of what `cmake --install` gives; scripts/release calls it.
set(CPACK_PACKAGE_NAME tessaro-fmu)
set(CPACK_PACKAGE_VENDOR "")
set(CPACK_PACKAGE_CONTACT "The developers of tessaro_fmu <tessaro-fmu@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS patchelf) # pack --bundle
set(CPACK_STRIP_FILES OFF) # they are
include(CPack)
