# The Debian package of the programs, with the sample driver package for the simulated device tree.
# packaging/linux/make_deb.sh makes it. (The Windows release is packaging/windows/make_dist.sh.)

if(WIN32 OR PLUGBOARD_RELEASE)
    return()
endif()

# Only what is packaged must be built for it.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)

# The first three keep devices, keys and the device tree beside themselves; packaging/linux/launcher.sh runs them from a
# folder of the user's own.
install(TARGETS plugboard plugboard_driver_tool usb_daemon RUNTIME DESTINATION lib/plugboard)
install(TARGETS plugboard_media_devices LIBRARY DESTINATION lib/plugboard) # beside the device process, which loads it
# Started by polkit from this place only, which its policy names.
install(TARGETS plugboard_attach RUNTIME DESTINATION lib/plugboard)
install(FILES packaging/linux/plugboard.policy DESTINATION share/polkit-1/actions)
install(FILES driver/sample/vusbbus.inf DESTINATION lib/plugboard)
install(PROGRAMS packaging/linux/launcher.sh DESTINATION bin RENAME plugboard)
install(PROGRAMS packaging/linux/launcher.sh DESTINATION bin RENAME plugboard-driver)
install(TARGETS plugboard_capture_program plugboard_media_program RUNTIME DESTINATION bin)
install(FILES packaging/linux/plugboard.desktop DESTINATION share/applications)
install(FILES resources/icons/logo.png DESTINATION share/icons/hicolor/256x256/apps RENAME plugboard.png)
install(FILES LICENSE DESTINATION share/doc/plugboard RENAME copyright)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME plugboard)
set(CPACK_PACKAGE_VENDOR "The Plugboard authors")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "virtual USB devices on the desktop")
set(CPACK_PACKAGE_DESCRIPTION "Creates, lists and removes virtual USB devices, which the kernel's virtual host controller
attaches, watches their traffic and runs media through the program's chains.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "The Plugboard authors <plugboard@localhost>")
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS procps) # "kill", which ends a device; libraries are added
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "fonts-dejavu-core, kmod, pkexec") # the last two attach devices for a user
include(CPack)
