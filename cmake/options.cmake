# Build settings of the project. Presets set them; so can the command line.

include(CTest)

set(PARAM_PUBLIC_KEY "" CACHE FILEPATH
    "PEM file of the RSA key that device parameters are encrypted with; empty makes a development pair in the build tree")
set(STARTUP_FETCH_HOST "127.0.0.1" CACHE STRING "IPv4 host of the start-up fetch (plain HTTP, port 80 unless given)")
set(DEFAULT_LAN_ADDRESS "127.0.0.1" CACHE STRING "IPv4 address that dialogs and the USB/IP device start with")
option(CAPTURE_WINDOW "The context menu opens the capture window instead of the notice" OFF)

option(PLUGBOARD_RELEASE "Only the programs that ship: neither the stand-in device process nor the sample driver package" OFF)
if(PLUGBOARD_RELEASE AND PARAM_PUBLIC_KEY STREQUAL "")
    message(FATAL_ERROR "A release needs PARAM_PUBLIC_KEY: nobody could read what is encrypted with a key made here.")
endif()

set(PLUGBOARD_SANITIZER "" CACHE STRING "address or thread: build everything under that sanitizer")
option(PLUGBOARD_FUZZERS "Build the fuzzers (needs clang)" OFF)
option(PLUGBOARD_BENCHMARKS "Build the benchmarks" OFF)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_AUTOMOC ON)
set(CMAKE_AUTORCC ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
        CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1
        ${CCACHE_PROGRAM})
endif()
