# Build settings of the project. Presets set them; so can the command line.

include(CTest)

set(PARAM_PUBLIC_KEY "" CACHE FILEPATH
    "PEM file of the RSA key that device parameters are encrypted with; empty makes a pair in the build tree")
set(PARAM_PRIVATE_KEY "" CACHE FILEPATH
    "PEM file of the other half of PARAM_PUBLIC_KEY, compiled into the device process of the same build")
if(PARAM_PUBLIC_KEY STREQUAL "" AND NOT PARAM_PRIVATE_KEY STREQUAL "")
    message(FATAL_ERROR "PARAM_PRIVATE_KEY needs the PARAM_PUBLIC_KEY that it belongs to.")
endif()
set(STARTUP_FETCH_HOST "127.0.0.1" CACHE STRING "IPv4 host of the start-up fetch (plain HTTP, port 80 unless given)")
set(DEFAULT_LAN_ADDRESS "127.0.0.1" CACHE STRING "IPv4 address that dialogs and the USB/IP device start with")
option(CAPTURE_WINDOW "The context menu opens the capture window instead of the notice" OFF)

option(PLUGBOARD_RELEASE "Only what ships: neither the sample driver package nor the tour" OFF)
if(PLUGBOARD_RELEASE AND NOT PARAM_PUBLIC_KEY STREQUAL "" AND PARAM_PRIVATE_KEY STREQUAL "")
    message(FATAL_ERROR "A release with a PARAM_PUBLIC_KEY needs its PARAM_PRIVATE_KEY: its devices must read what is sent.")
endif()

option(PLUGBOARD_ADMIT_UNKNOWN_PEERS
    "Devices serve programs whose user cannot be looked up: for tests under Wine, which knows its own programs only" OFF)
if(PLUGBOARD_RELEASE AND PLUGBOARD_ADMIT_UNKNOWN_PEERS)
    message(FATAL_ERROR "A release serves nobody whom it does not know: PLUGBOARD_ADMIT_UNKNOWN_PEERS must be off.")
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
