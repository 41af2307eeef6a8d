# separate_symbols(target): for programs that are handed out. Beside the release build's stripped exe,
# which is what -s links byte for byte, this leaves <exe>.debug with its symbols and <exe>.map, the
# linker's record of which libraries it contains. SOURCE_LINES does not change the exe.
function(separate_symbols target)
    if(MSVC OR NOT CMAKE_BUILD_TYPE STREQUAL "Release")
        return()
    endif()
    set_target_properties(${target} PROPERTIES HAS_SEPARATE_SYMBOLS ON)
    target_link_options(${target} PRIVATE -Wl,-Map=$<TARGET_FILE:${target}>.map)
    # Without --preserve-dates both programs write the current time into their output.
    add_custom_command(
        TARGET ${target}
        POST_BUILD
        COMMAND ${CMAKE_OBJCOPY} --preserve-dates --only-keep-debug $<TARGET_FILE:${target}>
                $<TARGET_FILE:${target}>.debug
        COMMAND ${CMAKE_STRIP} --preserve-dates $<TARGET_FILE:${target}>
        VERBATIM)
endfunction()
