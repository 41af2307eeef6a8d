# add_branded_tool(target brand_folder): one exe for one game.
#
# A brand is a folder with config.txt, background.jpg, logo.png and tool.ico. repair_core is compiled
# once for all brands; each brand adds its uninstaller, which the tool embeds, and the tool itself.
# `repairToolName` in config.txt names the exe, and the `repair*` keys fill its version resource.

configure_file("${PROJECT_SOURCE_DIR}/resources/engine_version.h.in"
               "${PROJECT_BINARY_DIR}/generated/engine_version.h" @ONLY)

set(brand_version_program "${CMAKE_CURRENT_LIST_DIR}/brand_version.py")
set(brand_defaults "${PROJECT_SOURCE_DIR}/src/config/tool_config.h")

# Writes <folder>/brand_version.h for the resource script of one of a brand's programs, "repair" or
# "uninstaller", and returns the program's file name.
function(write_brand_version program config_file folder file_name_variable)
    set_property(
        DIRECTORY
        APPEND
        PROPERTY CMAKE_CONFIGURE_DEPENDS "${config_file}" "${brand_defaults}"
                 "${brand_version_program}")
    execute_process(
        COMMAND ${Python3_EXECUTABLE} -B "${brand_version_program}" ${program} "${config_file}"
                "${brand_defaults}" "${folder}/brand_version.h"
        RESULT_VARIABLE result
        OUTPUT_VARIABLE file_name
        ERROR_VARIABLE error
        ENCODING UTF8)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${error}")
    endif()
    set(${file_name_variable} "${file_name}" PARENT_SCOPE)
endfunction()

# For programs that begin with wWinMain or wmain, which MinGW-w64 needs an option for.
function(use_wide_entry_point target)
    if(MINGW)
        target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-municode>)
        target_link_options(${target} PRIVATE -municode)
    endif()
endfunction()

# add_branded_uninstaller(target brand_folder output_folder): Uninstall.exe for one game, in
# `output_folder`, which must differ between configurations. The `uninstaller*` keys fill its version
# resource.
function(add_branded_uninstaller target brand_folder output_folder)
    cmake_path(ABSOLUTE_PATH brand_folder BASE_DIRECTORY "${PROJECT_SOURCE_DIR}" NORMALIZE)
    set(config_file "${brand_folder}/config.txt")
    set(script "${PROJECT_SOURCE_DIR}/resources/uninstaller.rc")
    set(generated "${CMAKE_CURRENT_BINARY_DIR}/${target}_brand")
    write_brand_version(uninstaller "${config_file}" "${generated}" file_name)

    add_executable(${target} WIN32 "${PROJECT_SOURCE_DIR}/uninstaller/entry_point.cpp" "${script}")
    # CMake does not see the files that a resource script embeds.
    set_property(
        SOURCE "${script}"
        APPEND
        PROPERTY OBJECT_DEPENDS
                 "${config_file};${brand_folder}/tool.ico;${generated}/brand_version.h"
                 "${PROJECT_SOURCE_DIR}/resources/uninstaller.manifest"
                 "${PROJECT_SOURCE_DIR}/resources/version_info.rc"
                 "${PROJECT_BINARY_DIR}/generated/engine_version.h")
    target_include_directories(${target} PRIVATE "${generated}" "${PROJECT_BINARY_DIR}/generated"
                                                 "${brand_folder}")
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
    write_brand_version(repair "${config_file}" "${generated}" file_name)
    # Visual Studio builds all configurations in one tree. Separate folders keep a debug uninstaller out
    # of a release.
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
                 "${generated}/brand_version.h" "${PROJECT_SOURCE_DIR}/resources/version_info.rc"
                 "${PROJECT_BINARY_DIR}/generated/engine_version.h")
    if(NOT is_multi_config)
        # This property takes no generator expression. Visual Studio does not need these entries: it
        # records which files the resource compiler reads.
        set_property(SOURCE "${script}" APPEND PROPERTY OBJECT_DEPENDS
                                                        "${uninstaller_folder}/Uninstall.exe")
    endif()
    add_dependencies(${target} ${target}_uninstaller)
    target_include_directories(
        ${target} PRIVATE "${generated}" "${PROJECT_BINARY_DIR}/generated" "${uninstaller_folder}"
                          "${brand_folder}")
    target_link_libraries(${target} PRIVATE repair_core)
    string(REGEX REPLACE "\\.[Ee][Xx][Ee]$" "" output_name "${file_name}")
    # A folder for each brand, because two brands may name their exe alike. The tests expect it beside
    # their programs.
    set_target_properties(
        ${target}
        PROPERTIES
            OUTPUT_NAME "${output_name}"
            RUNTIME_OUTPUT_DIRECTORY
            "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}${configuration_folder}/${target}")
    use_wide_entry_point(${target})
endfunction()
