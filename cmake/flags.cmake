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

if(PLUGBOARD_SANITIZER STREQUAL "address")
    set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
elseif(PLUGBOARD_SANITIZER STREQUAL "thread")
    set(sanitizers -fsanitize=thread -fno-omit-frame-pointer)
elseif(NOT PLUGBOARD_SANITIZER STREQUAL "")
    message(FATAL_ERROR "PLUGBOARD_SANITIZER is 'address', 'thread' or empty, not '${PLUGBOARD_SANITIZER}'.")
endif()
if(PLUGBOARD_FUZZERS)
    list(APPEND sanitizers -fsanitize=fuzzer-no-link)
endif()
target_compile_options(plugboard_flags INTERFACE ${sanitizers})
target_link_options(plugboard_flags INTERFACE ${sanitizers})
