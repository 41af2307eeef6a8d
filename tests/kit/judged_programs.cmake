# Tests on the build machine: what the kit makes, judged by programs that are not ours.

# add_judge_test(name script arguments...): a Python test that runs Windows programs in the bench.
function(add_judge_test name script)
    add_test(NAME ${name} COMMAND ${Python3_EXECUTABLE} -B "${CMAKE_CURRENT_SOURCE_DIR}/${script}"
                                  ${ARGN})
    set_tests_properties(${name} PROPERTIES LABELS heavy FIXTURES_REQUIRED bench_slots TIMEOUT 150)
endfunction()

add_executable(dump_resources dump_resources.cpp)
target_link_libraries(dump_resources PRIVATE repair_kit_core)
use_wide_entry_point(dump_resources)
add_judge_test(kit_resource_compiler_test resource_compiler_test.py $<TARGET_FILE:dump_resources>
               ${PROJECT_BINARY_DIR}/generated ${CMAKE_RC_COMPILER})

# Signs through a program of the build machine.
add_executable(sign_on_host sign_on_host.cpp)
target_link_libraries(sign_on_host PRIVATE repair_core)
use_wide_entry_point(sign_on_host)
add_executable(run_tool run_tool.cpp)
target_link_libraries(run_tool PRIVATE repair_core)
target_include_directories(run_tool PRIVATE ${PROJECT_SOURCE_DIR}/tests)
use_wide_entry_point(run_tool)
add_judge_test(
    kit_built_exe_test
    built_exe_test.py
    $<TARGET_FILE:repair_kit>
    $<TARGET_FILE:karvoth_repair>
    $<TARGET_FILE:sign_on_host>
    $<TARGET_FILE:run_tool>
    ${CMAKE_OBJDUMP}
    ${CMAKE_RC_COMPILER})

# The commands, by their exit codes, output and what they leave on disk.
add_judge_test(kit_build_and_show_test build_and_show_test.py $<TARGET_FILE:repair_kit>
               $<TARGET_FILE:bare_tool> $<TARGET_FILE:child_program>)
