# plugboard_flags: the one place for warnings, sanitizers and definitions that every target of ours is built with.

add_library(plugboard_flags INTERFACE)
target_compile_options(plugboard_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Werror)
target_include_directories(plugboard_flags INTERFACE "${CMAKE_SOURCE_DIR}")
target_compile_definitions(plugboard_flags INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING QT_STRICT_ITERATORS
    QT_DISABLE_DEPRECATED_BEFORE=0x050F00)
if(WIN32)
    target_compile_definitions(plugboard_flags INTERFACE
        UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00 WINVER=0x0A00 __USE_MINGW_ANSI_STDIO=1)
endif()

# What makes a fault of memory harder to use; scripts/check_hardening.py looks for it in what ships. The sanitizers and a
# build without optimisation have their own ways.
if(CMAKE_BUILD_TYPE STREQUAL "Release" AND PLUGBOARD_SANITIZER STREQUAL "")
    target_compile_options(plugboard_flags INTERFACE -fstack-protector-strong -fcf-protection=full
        -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
    if(WIN32) # where the compiler touches each page of the stack by itself, and fails when it is told to
        target_link_options(plugboard_flags INTERFACE -fstack-protector-strong
            -Wl,--dynamicbase -Wl,--high-entropy-va -Wl,--nxcompat)
    else()
        # GCC 12 takes the short form of a moved std::wstring for too small; the call that it warns of is never made so.
        target_compile_options(plugboard_flags INTERFACE -fstack-clash-protection -Wno-error=attribute-warning)
        target_link_options(plugboard_flags INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
    endif()
endif()

# A program loads what it uses: FFmpeg and OpenCV stay out of those that need just the types of media/.
if(NOT WIN32)
    target_link_options(plugboard_flags INTERFACE -Wl,--as-needed)
endif()

if(PLUGBOARD_SANITIZER STREQUAL "address")
    set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
elseif(PLUGBOARD_SANITIZER STREQUAL "thread")
    set(sanitizers -fsanitize=thread -fno-omit-frame-pointer)
elseif(NOT PLUGBOARD_SANITIZER STREQUAL "")
    message(FATAL_ERROR "PLUGBOARD_SANITIZER is 'address', 'thread' or empty, not '${PLUGBOARD_SANITIZER}'.")
endif()
if(sanitizers AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    list(APPEND sanitizers -Wno-maybe-uninitialized) # instrumented variants look uninitialised to it
endif()
if(PLUGBOARD_FUZZERS)
    list(APPEND sanitizers -fsanitize=fuzzer-no-link)
endif()
target_compile_options(plugboard_flags INTERFACE ${sanitizers})
target_link_options(plugboard_flags INTERFACE ${sanitizers})
