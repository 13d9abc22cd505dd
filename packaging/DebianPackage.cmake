# The Debian package. Its dependencies come from the libraries that the programs are linked with.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zarn74)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_CONTACT "Zarn74 developers <zarn74@example.org>")
set(CPACK_PACKAGE_VENDOR "Zarn74 developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "configures Zarn74 RFID card readers")
set(CPACK_PACKAGE_DESCRIPTION "Reads, shows, changes and writes every setting of a Zarn74 card reader, on a
serial line or on USB HID, keeps settings as text files, restores them from a
file of defaults, and tests the reader's memory. With a window, a command
line, and a simulated reader for trying things out.")
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The history's database is loaded at run time, so no library leads to it.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libqt6sql6-sqlite")
# The window on Wayland, and what gives a reader to the person at the machine.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-wayland, udev")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA "${CMAKE_CURRENT_LIST_DIR}/postinst;${CMAKE_CURRENT_LIST_DIR}/postrm"
  "${CMAKE_CURRENT_LIST_DIR}/conffiles")
# The machine's defaults lie outside the prefix, in the package alone.
set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_CURRENT_LIST_DIR}/SystemFiles.cmake")
include(CPack)
