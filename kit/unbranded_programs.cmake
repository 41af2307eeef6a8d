# The programs that the kit brands: the code of the branded ones, with nothing embedded but the
# manifest.

# Where they are; differs between configurations.
set(unbranded_folder "${CMAKE_CURRENT_BINARY_DIR}/unbranded")
get_property(is_multi_config GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
if(is_multi_config)
    string(APPEND unbranded_folder "/$<CONFIG>")
endif()

function(add_unbranded_program target entry_point core manifest)
    set(script "${PROJECT_SOURCE_DIR}/resources/${target}.rc")
    add_executable(${target} WIN32 "${PROJECT_SOURCE_DIR}/${entry_point}" "${script}")
    # CMake does not see the files that a resource script embeds.
    set_property(SOURCE "${script}" PROPERTY OBJECT_DEPENDS
                                             "${PROJECT_SOURCE_DIR}/resources/${manifest}")
    target_link_libraries(${target} PRIVATE ${core})
    if(NOT MSVC)
        # In debug builds too: symbols are behind the sections, where the kit needs to add one. The release
        # build's are taken out by separate_symbols.
        target_link_options(${target} PRIVATE $<$<NOT:$<CONFIG:Release>>:-s>)
    endif()
    set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${unbranded_folder}")
    use_wide_entry_point(${target})
    separate_symbols(${target})
endfunction()

add_unbranded_program(unbranded_tool src/ui/entry_point.cpp repair_core tool.manifest)
add_unbranded_program(unbranded_uninstaller uninstaller/entry_point.cpp uninstaller_core
                      uninstaller.manifest)
