# How this project declares its libraries, programs and tests.

# plugboard_library(NAME SOURCES file... [DEPENDS target...] [PCH header...])
# Static library of one folder with the alias plugboard::NAME. DEPENDS is public.
function(plugboard_library name)
    cmake_parse_arguments(arg "" "" "SOURCES;DEPENDS;PCH" ${ARGN})
    add_library(plugboard_${name} STATIC ${arg_SOURCES})
    add_library(plugboard::${name} ALIAS plugboard_${name})
    target_link_libraries(plugboard_${name} PUBLIC ${arg_DEPENDS} PRIVATE plugboard_flags)
    if(arg_PCH)
        target_precompile_headers(plugboard_${name} PRIVATE ${arg_PCH})
    endif()
endfunction()

# plugboard_platform_source(VARIABLE STEM): STEM_win.cpp or STEM_linux.cpp, whichever this system uses.
function(plugboard_platform_source variable stem)
    if(WIN32)
        set(${variable} ${stem}_win.cpp PARENT_SCOPE)
    else()
        set(${variable} ${stem}_linux.cpp PARENT_SCOPE)
    endif()
endfunction()

# plugboard_program(TARGET OUTPUT name SOURCES file... [DEPENDS target...] [WHOLE target...] [GUI] [DESCRIPTION text])
# Executable in bin/ (or FOLDER). WHOLE libraries are linked with every object, so that their static registries and
# compiled-in resources survive. A DESCRIPTION marks a program that ships: it is installed, and Windows shows the text
# (ASCII), version and icon.
function(plugboard_program target)
    cmake_parse_arguments(arg "GUI" "OUTPUT;FOLDER;DESCRIPTION" "SOURCES;DEPENDS;WHOLE" ${ARGN})
    add_executable(${target} ${arg_SOURCES})
    if(WIN32)
        plugboard_windows_resources(${target} "${arg_OUTPUT}" "${arg_DESCRIPTION}")
    endif()
    set_target_properties(${target} PROPERTIES OUTPUT_NAME "${arg_OUTPUT}")
    if(arg_FOLDER)
        set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${arg_FOLDER}")
    endif()
    if(arg_GUI)
        set_target_properties(${target} PROPERTIES WIN32_EXECUTABLE ON)
    endif()
    target_link_libraries(${target} PRIVATE plugboard_flags ${arg_DEPENDS})
    foreach(library IN LISTS arg_WHOLE)
        target_link_libraries(${target} PRIVATE "$<LINK_LIBRARY:WHOLE_ARCHIVE,${library}>")
    endforeach()
endfunction()

# plugboard_windows_resources(TARGET OUTPUT DESCRIPTION): the manifest, which tests run under too, and for a program with
# a description its version and icon.
function(plugboard_windows_resources target output description)
    string(REPLACE "." "," version_words "${PROJECT_VERSION},0")
    set(resources "${CMAKE_CURRENT_BINARY_DIR}/${target}.rc")
    set(windows "${CMAKE_SOURCE_DIR}/packaging/windows")
    configure_file("${windows}/program.rc.in" "${resources}" @ONLY)
    target_sources(${target} PRIVATE "${resources}")
    set_source_files_properties("${resources}" PROPERTIES
        OBJECT_DEPENDS "${windows}/program.manifest;${windows}/plugboard.ico")
    if(description)
        set_source_files_properties("${resources}" PROPERTIES COMPILE_DEFINITIONS PROGRAM_DESCRIPTION)
    endif()
endfunction()

# plugboard_tests(FOLDER SUITES file... [SUPPORT file...] [DEPENDS target...] [WHOLE target...] [WIDGETS] [DAEMON])
# One test program for a folder, each SUITES file one ctest entry named FOLDER/file. WIDGETS gives it a QApplication.
# DAEMON puts a copy of the device process beside it, so that devices of tests live in the test's own folder.
function(plugboard_tests folder)
    cmake_parse_arguments(arg "WIDGETS;DAEMON" "" "SUITES;SUPPORT;DEPENDS;WHOLE" ${ARGN})
    set(target ${folder}_tests)
    set(directory "${CMAKE_BINARY_DIR}/tests/${folder}")
    plugboard_program(${target} OUTPUT ${target} FOLDER "${directory}"
        SOURCES ${arg_SUITES} ${arg_SUPPORT} "${CMAKE_SOURCE_DIR}/tests/support/test_main.cpp"
        DEPENDS ${arg_DEPENDS} Qt5::Test WHOLE ${arg_WHOLE})
    target_compile_definitions(${target} PRIVATE
        PLUGBOARD_TEST_DATA="${CMAKE_CURRENT_SOURCE_DIR}" $<$<BOOL:${arg_WIDGETS}>:PLUGBOARD_TEST_WIDGETS>)
    if(arg_WIDGETS)
        target_link_libraries(${target} PRIVATE Qt5::Widgets)
    endif()
    if(arg_DAEMON)
        plugboard_copy_beside(${target} usb_daemon "${directory}")
    endif()
    foreach(suite IN LISTS arg_SUITES)
        get_filename_component(name ${suite} NAME_WE)
        add_test(NAME ${folder}/${name} COMMAND ${target} ${name})
        set_tests_properties(${folder}/${name} PROPERTIES TIMEOUT 300)
        if(arg_DAEMON)
            # The device processes of all its suites keep their records in the one folder.
            set_tests_properties(${folder}/${name} PROPERTIES RESOURCE_LOCK ${folder}_devices)
        endif()
    endforeach()
endfunction()

# plugboard_copy_beside(TARGET PROGRAM DIRECTORY): building TARGET also puts a copy of PROGRAM into DIRECTORY, and of the
# files that its property COPIED_WITH lists.
function(plugboard_copy_beside target program directory)
    add_custom_target(${target}_${program}_copy
        COMMAND ${CMAKE_COMMAND} -E make_directory "${directory}"
        COMMAND ${CMAKE_COMMAND} -E copy_if_different
                "$<TARGET_FILE:${program}>" "$<TARGET_GENEX_EVAL:${program},$<TARGET_PROPERTY:${program},COPIED_WITH>>"
                "${directory}"
        DEPENDS ${program} COMMAND_EXPAND_LISTS VERBATIM)
    add_dependencies(${target} ${target}_${program}_copy)
endfunction()

# plugboard_linked_source(FILE TARGET_VARIABLE LIBRARIES_VARIABLE): the target's name, which is the file's, and the
# libraries that the file's first line names.
function(plugboard_linked_source file target_variable libraries_variable)
    get_filename_component(target ${file} NAME_WE)
    file(STRINGS ${file} first LIMIT_COUNT 1)
    if(NOT first MATCHES "^// links: (.+)$")
        message(FATAL_ERROR "The first line of ${file} must be '// links: target...'.")
    endif()
    string(REPLACE " " ";" libraries "${CMAKE_MATCH_1}")
    set(${target_variable} ${target} PARENT_SCOPE)
    set(${libraries_variable} ${libraries} PARENT_SCOPE)
endfunction()
