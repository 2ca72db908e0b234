# The Debian package of the programs, with the sample driver package for the simulated device tree.
# packaging/linux/make_deb.sh makes it. (The Windows release is packaging/windows/make_dist.sh.)

if(WIN32 OR PLUGBOARD_RELEASE)
    return()
endif()

# Only what is packaged must be built for it.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)

# The first three keep devices, keys and the device tree beside themselves; packaging/linux/launcher.sh runs them from a
# folder of the user's own.
install(TARGETS plugboard plugboard_driver_program usb_daemon RUNTIME DESTINATION lib/plugboard)
install(TARGETS plugboard_media_devices LIBRARY DESTINATION lib/plugboard) # beside the device process, which loads it
# Started by polkit from this place only, which its policy names.
install(TARGETS plugboard_attach RUNTIME DESTINATION lib/plugboard)
install(FILES packaging/linux/plugboard.policy DESTINATION share/polkit-1/actions)
install(FILES driver/sample/vusbbus.inf DESTINATION lib/plugboard)
install(PROGRAMS packaging/linux/launcher.sh DESTINATION bin RENAME plugboard)
install(PROGRAMS packaging/linux/launcher.sh DESTINATION bin RENAME plugboard-driver)
install(TARGETS plugboard_capture_program plugboard_media_program RUNTIME DESTINATION bin)
install(FILES packaging/linux/plugboard.desktop DESTINATION share/applications)
install(FILES packaging/linux/plugboard.metainfo.xml DESTINATION share/metainfo RENAME local.plugboard.plugboard.metainfo.xml)
install(FILES resources/icons/logo.png DESTINATION share/icons/hicolor/128x128/apps RENAME plugboard.png)
install(FILES LICENSE DESTINATION share/doc/plugboard RENAME copyright)

install(FILES docs/guide/examples/job.sh DESTINATION share/doc/plugboard/examples)

# bash looks for a file of the program's name.
foreach(program plugboard plugboard-capture plugboard-driver plugboard-media)
    install(FILES packaging/linux/completion.bash DESTINATION share/bash-completion/completions RENAME ${program})
endforeach()

# install_compressed(FILE DESTINATION NAME): manuals and logs are packaged compressed, the same bytes on every day.
function(install_compressed file destination name)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${file}")
    set(compressed "${CMAKE_BINARY_DIR}/packaging/${name}.gz")
    file(MAKE_DIRECTORY "${CMAKE_BINARY_DIR}/packaging")
    execute_process(COMMAND gzip -9nc "${file}" OUTPUT_FILE "${compressed}" COMMAND_ERROR_IS_FATAL ANY)
    install(FILES "${compressed}" DESTINATION ${destination})
endfunction()

file(GLOB manuals CONFIGURE_DEPENDS packaging/linux/man/*.[18])
foreach(manual IN LISTS manuals)
    cmake_path(GET manual EXTENSION LAST_ONLY section)
    string(REPLACE . man section ${section})
    cmake_path(GET manual FILENAME name)
    install_compressed("${manual}" share/man/${section} ${name})
endforeach()

# Debian's own form of a list of changes; ours is beside it.
set(maintainer "The Plugboard authors <authors@plugboard.invalid>") # no address that is anybody's
string(TIMESTAMP package_date "%a, %d %b %Y 00:00:00 +0000" UTC)
file(CONFIGURE OUTPUT "${CMAKE_BINARY_DIR}/packaging/changelog" CONTENT "plugboard (${PROJECT_VERSION}) unstable; urgency=medium

  * CHANGELOG.md.gz tells what has changed.

 -- ${maintainer}  ${package_date}
")
install_compressed("${CMAKE_BINARY_DIR}/packaging/changelog" share/doc/plugboard changelog)
install_compressed("${CMAKE_SOURCE_DIR}/CHANGELOG.md" share/doc/plugboard CHANGELOG.md)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME plugboard)
set(CPACK_PACKAGE_VENDOR "The Plugboard authors")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "virtual USB devices on the desktop")
set(CPACK_PACKAGE_DESCRIPTION "Creates, lists and removes virtual USB devices, in a window or from
scripts: cameras, microphones, speakers, keyboards, mice, disks and FIDO2
security keys. The kernel's virtual host controller attaches them, or they
wait for a USB/IP client. Their traffic can be watched and saved.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${maintainer}")
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS procps) # "kill", which ends a device; libraries are added
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "fonts-dejavu-core, kmod, pkexec") # the last two attach devices for a user
include(CPack)
