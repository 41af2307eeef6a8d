# add_branded_tool(target brand_folder): one exe for one game.
#
# A brand is a folder: config.txt, background.jpg, logo.png and tool.ico. The engine is compiled
# once in repair_core; a brand costs two resource scripts and two links, for the tool carries the
# uninstaller that is built for the same brand. The file gets the name that the brand's
# `repairToolName` gives it, and its version resource is filled from the `repair*` keys.

# The value of `key` in a configuration text, unescaped, as the tool itself would read it: the last
# line wins, `default` serves when the key is missing. Plain FIND and SUBSTRING, because CMake lists
# would stumble over semicolons and brackets in a value.
function(read_brand_value config_file key default out_variable)
    file(READ "${config_file}" text)
    set(text "\n${text}\n")
    set(value "${default}")
    string(FIND "${text}" "\n${key}=" start REVERSE)
    if(NOT start EQUAL -1)
        string(LENGTH "\n${key}=" prefix_length)
        math(EXPR start "${start} + ${prefix_length}")
        string(SUBSTRING "${text}" ${start} -1 rest)
        string(FIND "${rest}" "\n" line_length)
        string(SUBSTRING "${rest}" 0 ${line_length} value)
        string(REGEX REPLACE "\r$" "" value "${value}")
        string(ASCII 1 backslash_mark)
        string(REPLACE "\\\\" "${backslash_mark}" value "${value}")
        string(REPLACE "\\e" "=" value "${value}")
        string(REPLACE "\\n" "\n" value "${value}")
        string(REPLACE "\\r" "\r" value "${value}")
        string(REPLACE "\\t" "\t" value "${value}")
        string(REPLACE "${backslash_mark}" "\\" value "${value}")
    endif()
    set(${out_variable} "${value}" PARENT_SCOPE)
endfunction()

# A text as the inside of a quoted string of a resource script.
function(escape_for_resource_script text out_variable)
    string(REPLACE "\\" "\\\\" text "${text}")
    string(REPLACE "\"" "\"\"" text "${text}")
    string(REPLACE "\n" "\\n" text "${text}")
    string(REPLACE "\r" "\\r" text "${text}")
    string(REPLACE "\t" "\\t" text "${text}")
    set(${out_variable} "${text}" PARENT_SCOPE)
endfunction()

# "2.08.1-beta3" gives "2,8,1,0": the leading digits of the first four parts between dots, without
# the leading zeros that would make them octal.
function(version_numbers version out_variable)
    set(numbers "")
    string(APPEND version "....")
    foreach(position RANGE 1 4)
        string(REGEX MATCH "^0*([0-9]*)[^.]*\\.(.*)$" ignored "${version}")
        set(number "${CMAKE_MATCH_1}")
        set(version "${CMAKE_MATCH_2}")
        string(LENGTH "${number}" digits)
        if(digits GREATER 5 OR number GREATER 65535)
            message(FATAL_ERROR "The version number ${number} is over 65535.")
        elseif(digits EQUAL 0)
            set(number 0)
        endif()
        list(APPEND numbers ${number})
    endforeach()
    list(JOIN numbers "," numbers)
    set(${out_variable} "${numbers}" PARENT_SCOPE)
endfunction()

# Writes brand_version.h for a program's resource script into `folder`. `prefix` chooses the group
# of keys: "repair" for the tool, "uninstaller" for the uninstaller.
function(write_brand_version config_file prefix file_name folder)
    # The same defaults as the tool's own.
    set(name "KrvBrennickInstaller")
    if(prefix STREQUAL "uninstaller")
        set(name "Karvoth Uninstaller")
    endif()
    set(copyright "© 2026 Brennick. Karvoth and its logo belong to their owner.")
    foreach(pair IN ITEMS "FileDescription|${name}" "ProductName|${name}" "ProductVersion|2.0.0"
                          "Copyright|${copyright}")
        string(REGEX MATCH "^([A-Za-z]+)\\|(.*)$" ignored "${pair}")
        set(key ${CMAKE_MATCH_1})
        read_brand_value("${config_file}" ${prefix}${key} "${CMAKE_MATCH_2}" raw)
        escape_for_resource_script("${raw}" BRAND_${key})
        if(key STREQUAL "ProductVersion")
            version_numbers("${raw}" BRAND_VERSION_NUMBERS)
        endif()
    endforeach()
    # The publisher as the list of installed programs names it.
    read_brand_value("${config_file}" programsPublisher "Brennick" raw)
    string(STRIP "${raw}" raw)
    if(raw STREQUAL "")
        read_brand_value("${config_file}" companyName "By Brennick" raw)
        string(STRIP "${raw}" raw)
    endif()
    if(raw STREQUAL "")
        set(raw "Brennick")
    endif()
    escape_for_resource_script("${raw}" BRAND_COMPANY)
    escape_for_resource_script("${file_name}" BRAND_FILE_NAME)

    read_brand_value("${config_file}" ${prefix}Language "0409" BRAND_LANGUAGE_ID)
    if(NOT BRAND_LANGUAGE_ID MATCHES "^[0-9A-Fa-f][0-9A-Fa-f][0-9A-Fa-f][0-9A-Fa-f]$")
        message(FATAL_ERROR "${prefix}Language in ${config_file} must be four hexadecimal digits.")
    endif()
    # A language identifier keeps the primary language in its low ten bits, the rest above. Resource
    # compilers differ in the operators they know, so they get plain numbers.
    math(EXPR BRAND_LANGUAGE "0x${BRAND_LANGUAGE_ID} & 0x3ff")
    math(EXPR BRAND_SUBLANGUAGE "0x${BRAND_LANGUAGE_ID} >> 10")
    configure_file("${PROJECT_SOURCE_DIR}/cmake/brand_version.h.in" "${folder}/brand_version.h" @ONLY)
endfunction()

# A windowed program of ours: the wide entry point, which MinGW-w64 must be asked for.
function(use_wide_entry_point target)
    if(MINGW)
        target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-municode>)
        target_link_options(${target} PRIVATE -municode)
    endif()
endfunction()

# add_branded_uninstaller(target brand_folder output_folder): Uninstall.exe for one game, in
# `output_folder`, different for each configuration. Its version resource is filled from the
# `uninstaller*` keys.
function(add_branded_uninstaller target brand_folder output_folder)
    cmake_path(ABSOLUTE_PATH brand_folder BASE_DIRECTORY "${PROJECT_SOURCE_DIR}" NORMALIZE)
    set(config_file "${brand_folder}/config.txt")
    set(script "${PROJECT_SOURCE_DIR}/resources/uninstaller.rc")
    set(generated "${CMAKE_CURRENT_BINARY_DIR}/${target}_brand")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${config_file}")
    write_brand_version("${config_file}" uninstaller Uninstall.exe "${generated}")

    add_executable(${target} WIN32 "${PROJECT_SOURCE_DIR}/uninstaller/entry_point.cpp" "${script}")
    # CMake does not see the files that a resource script embeds.
    set_property(
        SOURCE "${script}"
        APPEND
        PROPERTY OBJECT_DEPENDS
                 "${config_file};${brand_folder}/tool.ico;${generated}/brand_version.h"
                 "${PROJECT_SOURCE_DIR}/resources/uninstaller.manifest")
    target_include_directories(${target} PRIVATE "${generated}" "${brand_folder}")
    target_link_libraries(${target} PRIVATE uninstaller_core)
    set_target_properties(${target} PROPERTIES OUTPUT_NAME Uninstall RUNTIME_OUTPUT_DIRECTORY
                                                                     "${output_folder}")
    use_wide_entry_point(${target})
endfunction()

function(add_branded_tool target brand_folder)
    cmake_path(ABSOLUTE_PATH brand_folder BASE_DIRECTORY "${PROJECT_SOURCE_DIR}" NORMALIZE)
    set(config_file "${brand_folder}/config.txt")
    set(script "${PROJECT_SOURCE_DIR}/resources/tool.rc")
    set(generated "${CMAKE_CURRENT_BINARY_DIR}/${target}_brand")
    # The configuration text decides the file's name and version: a change configures afresh.
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${config_file}")

    read_brand_value("${config_file}" repairToolName "" file_name)
    if(file_name STREQUAL "")
        set(file_name "KrvBrennickInstaller.exe")
    endif()
    write_brand_version("${config_file}" repair "${file_name}" "${generated}")
    # Visual Studio builds several configurations in one tree. Each gets a folder of its own: a release
    # must not carry the uninstaller of a debug build.
    set(configuration_folder "")
    get_property(is_multi_config GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
    if(is_multi_config)
        set(configuration_folder "/$<CONFIG>")
    endif()
    set(uninstaller_folder "${generated}${configuration_folder}")
    add_branded_uninstaller(${target}_uninstaller "${brand_folder}" "${uninstaller_folder}")

    add_executable(${target} WIN32 "${PROJECT_SOURCE_DIR}/src/ui/entry_point.cpp" "${script}")
    # CMake does not see the files that a resource script embeds.
    set_property(
        SOURCE "${script}"
        APPEND
        PROPERTY OBJECT_DEPENDS
                 "${config_file};${brand_folder}/background.jpg;${brand_folder}/logo.png"
                 "${brand_folder}/tool.ico;${PROJECT_SOURCE_DIR}/resources/tool.manifest"
                 "${generated}/brand_version.h")
    if(NOT is_multi_config)
        # This property takes no generator expression. Visual Studio needs none of these entries: it
        # records which files the resource compiler reads.
        set_property(SOURCE "${script}" APPEND PROPERTY OBJECT_DEPENDS
                                                        "${uninstaller_folder}/Uninstall.exe")
    endif()
    add_dependencies(${target} ${target}_uninstaller)
    target_include_directories(${target} PRIVATE "${generated}" "${uninstaller_folder}"
                                                 "${brand_folder}")
    target_link_libraries(${target} PRIVATE repair_core)
    string(REGEX REPLACE "\\.[Ee][Xx][Ee]$" "" output_name "${file_name}")
    # A folder for each brand, because two brands may give their tools one name; beside the test
    # programs, which look for it there.
    set_target_properties(
        ${target}
        PROPERTIES
            OUTPUT_NAME "${output_name}"
            RUNTIME_OUTPUT_DIRECTORY
            "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}${configuration_folder}/${target}")
    use_wide_entry_point(${target})
endfunction()
