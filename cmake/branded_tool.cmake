# add_branded_tool(target brand_folder): one exe for one game.
#
# A brand is a folder: config.txt, background.jpg, logo.png and tool.ico. The engine is compiled
# once in repair_core; a brand costs a resource script and a link. The file gets the name that the
# brand's `repairToolName` gives it, and its version resource is filled from the `repair*` keys.

# The value of `key` in a configuration text, unescaped, as the tool itself would read it: the last
# line wins. Empty when the key is missing. Plain FIND and SUBSTRING, because CMake lists would
# stumble over semicolons and brackets in a value.
function(read_brand_value config_file key out_variable)
    file(READ "${config_file}" text)
    set(text "\n${text}\n")
    set(value "")
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

# "2.0.1-beta" gives "2,0,1,0": the leading digits of the first four parts.
function(version_numbers version out_variable)
    string(REGEX MATCHALL "[0-9]+" parts "${version}")
    list(APPEND parts 0 0 0 0)
    list(SUBLIST parts 0 4 parts)
    foreach(part IN LISTS parts)
        string(LENGTH "${part}" digits)
        if(digits GREATER 5 OR part GREATER 65535)
            message(FATAL_ERROR "A version number in '${version}' is over 65535.")
        endif()
    endforeach()
    list(JOIN parts "," numbers)
    set(${out_variable} "${numbers}" PARENT_SCOPE)
endfunction()

# Writes brand_version.h for resources/tool.rc into `folder`. `prefix` chooses the group of keys:
# "repair" for the tool, "uninstaller" for the uninstaller.
function(write_brand_version config_file prefix file_name folder)
    foreach(key FileDescription ProductName ProductVersion Copyright)
        read_brand_value("${config_file}" ${prefix}${key} raw)
        escape_for_resource_script("${raw}" BRAND_${key})
    endforeach()
    read_brand_value("${config_file}" programsPublisher raw)
    escape_for_resource_script("${raw}" BRAND_COMPANY)
    escape_for_resource_script("${file_name}" BRAND_FILE_NAME)
    version_numbers("${BRAND_ProductVersion}" BRAND_VERSION_NUMBERS)

    read_brand_value("${config_file}" ${prefix}Language BRAND_LANGUAGE_ID)
    if(NOT BRAND_LANGUAGE_ID MATCHES "^[0-9A-Fa-f][0-9A-Fa-f][0-9A-Fa-f][0-9A-Fa-f]$")
        message(FATAL_ERROR "${prefix}Language in ${config_file} must be four hexadecimal digits.")
    endif()
    # A language identifier keeps the primary language in its low ten bits, the rest above. Resource
    # compilers differ in the operators they know, so they get plain numbers.
    math(EXPR BRAND_LANGUAGE "0x${BRAND_LANGUAGE_ID} & 0x3ff")
    math(EXPR BRAND_SUBLANGUAGE "0x${BRAND_LANGUAGE_ID} >> 10")
    configure_file("${PROJECT_SOURCE_DIR}/cmake/brand_version.h.in" "${folder}/brand_version.h" @ONLY)
endfunction()

function(add_branded_tool target brand_folder)
    cmake_path(ABSOLUTE_PATH brand_folder BASE_DIRECTORY "${PROJECT_SOURCE_DIR}" NORMALIZE)
    set(config_file "${brand_folder}/config.txt")
    set(script "${PROJECT_SOURCE_DIR}/resources/tool.rc")
    set(generated "${CMAKE_CURRENT_BINARY_DIR}/${target}_brand")
    # The configuration text decides the file's name and version: a change configures afresh.
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${config_file}")

    read_brand_value("${config_file}" repairToolName file_name)
    if(file_name STREQUAL "")
        set(file_name "KrvBrennickInstaller.exe")
    endif()
    write_brand_version("${config_file}" repair "${file_name}" "${generated}")

    add_executable(${target} WIN32 "${PROJECT_SOURCE_DIR}/src/ui/entry_point.cpp" "${script}")
    # CMake does not see the files that a resource script embeds.
    set_property(
        SOURCE "${script}"
        APPEND
        PROPERTY OBJECT_DEPENDS
                 "${config_file};${brand_folder}/background.jpg;${brand_folder}/logo.png"
                 "${brand_folder}/tool.ico;${PROJECT_SOURCE_DIR}/resources/tool.manifest"
                 "${generated}/brand_version.h")
    target_include_directories(${target} PRIVATE "${generated}" "${brand_folder}")
    target_link_libraries(${target} PRIVATE repair_core)
    string(REGEX REPLACE "\\.[Ee][Xx][Ee]$" "" output_name "${file_name}")
    set_target_properties(${target} PROPERTIES OUTPUT_NAME "${output_name}")
    if(MINGW)
        target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-municode>)
        target_link_options(${target} PRIVATE -municode)
    endif()
endfunction()
