# The Debian package. "scripts/package" makes it; what Debian wants otherwise than cmake --install is DebianFiles.cmake's.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME k470)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "K470 Programming Software team <team@k470.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "programming software for the K470 handheld radio")
set(CPACK_PACKAGE_DESCRIPTION
"Reads the configuration memory of a K470 handheld radio over a serial cable,
edits it and writes it back. Channels are edited in a grid, beside the settings
of the radio and its band limits, in English or Chinese.
.
The package also has k470-cli, which does the same from scripts, keeps the old
image before a write and verifies it afterwards, and k470-sim, a simulated
radio on a pseudo-terminal.")

set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/DebianFiles.cmake)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# Below 1, so that a distribution's own package of the same version takes its place.
set(CPACK_DEBIAN_PACKAGE_RELEASE 0upstream1)
set(CPACK_DEBIAN_PACKAGE_SECTION hamradio)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Without them standard buttons are in English, and Chinese texts may lack their characters.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-translations-l10n, fonts-noto-cjk")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "qt6-wayland")
include(CPack)
