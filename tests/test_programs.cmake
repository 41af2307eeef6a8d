# add_repair_test(name sources...): one GoogleTest program, each of its tests a CTest test.
# The bench gives every run a scratch Windows that no other run shares at the same time, so tests
# run in parallel without meeting in registry, Desktop, temp folder or windows.
# FIXTURE names a CTest fixture that the program needs and that itself needs bench_slots, LABEL a
# label of all its tests.
function(add_repair_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "FIXTURE;LABEL" "")
    set(fixture bench_slots)
    if(arg_FIXTURE)
        set(fixture ${arg_FIXTURE})
    endif()
    add_executable(${name} ${arg_UNPARSED_ARGUMENTS})
    target_link_libraries(${name} PRIVATE repair_core bench_parts GTest::gtest GTest::gmock)
    gtest_discover_tests(
        ${name}
        DISCOVERY_MODE PRE_TEST
        DISCOVERY_TIMEOUT 60
        PROPERTIES TIMEOUT 150 FIXTURES_REQUIRED ${fixture} LABELS "${arg_LABEL}")
endfunction()
