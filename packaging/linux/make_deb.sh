#!/usr/bin/env bash
# make_deb.sh: builds the programs and makes their Debian package in build/linux-dist.
. "$(dirname "$0")/../../scripts/lib.sh"

scripts/packages.sh build package
configure_and_build release plugboard usb_daemon plugboard_attach plugboard_driver_program plugboard_capture_program plugboard_media_program
rm -rf build/linux-dist
cpack --config build/release/CPackConfig.cmake -B build/linux-dist
rm -rf build/linux-dist/_CPack_Packages
ls -l build/linux-dist
