# toolchain.cmake: Windows x64 programs from any machine that has mingw-w64 with posix threads (the C++ library's threads
# need them).
#
# PLUGBOARD_WINDOWS_SYSROOT (variable or environment) names the folder that build_dependencies.sh makes: one folder a
# library. Without it build/windows-sysroot is used, where scripts/windows.sh leaves the folder or a link to it.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

# Debian calls the compiler with posix threads so; elsewhere there is but one.
set(cross x86_64-w64-mingw32)
find_program(PLUGBOARD_MINGW_CXX NAMES ${cross}-g++-posix ${cross}-g++ REQUIRED)
find_program(PLUGBOARD_MINGW_C NAMES ${cross}-gcc-posix ${cross}-gcc REQUIRED)
set(CMAKE_C_COMPILER "${PLUGBOARD_MINGW_C}")
set(CMAKE_CXX_COMPILER "${PLUGBOARD_MINGW_CXX}")
set(CMAKE_RC_COMPILER ${cross}-windres)

if(NOT PLUGBOARD_WINDOWS_SYSROOT)
    set(PLUGBOARD_WINDOWS_SYSROOT "$ENV{PLUGBOARD_WINDOWS_SYSROOT}")
endif()
if(NOT PLUGBOARD_WINDOWS_SYSROOT)
    get_filename_component(PLUGBOARD_WINDOWS_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../../build/windows-sysroot" ABSOLUTE)
endif()
set(PLUGBOARD_WINDOWS_SYSROOT "${PLUGBOARD_WINDOWS_SYSROOT}" CACHE PATH "Folder of the Windows libraries, one folder a library")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES PLUGBOARD_WINDOWS_SYSROOT)

set(CMAKE_FIND_ROOT_PATH "/usr/${cross}")
set(pkgconfig_folders "")
foreach(library IN ITEMS qt openssl freetype opencv ffmpeg)
    list(APPEND CMAKE_FIND_ROOT_PATH "${PLUGBOARD_WINDOWS_SYSROOT}/${library}")
    list(APPEND pkgconfig_folders "${PLUGBOARD_WINDOWS_SYSROOT}/${library}/lib/pkgconfig")
endforeach()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# pkg-config knows the libraries of the sysroot and none of this machine.
list(JOIN pkgconfig_folders ":" pkgconfig_folders)
set(ENV{PKG_CONFIG_LIBDIR} "${pkgconfig_folders}")
set(ENV{PKG_CONFIG_PATH} "")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "")
