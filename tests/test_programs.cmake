# add_repair_test(name sources...): one GoogleTest program, each of its tests a CTest test.
# The bench gives every run a scratch Windows that no other run shares at the same time, so tests
# run in parallel without meeting in registry, Desktop, temp folder or windows.
function(add_repair_test name)
    add_executable(${name} ${ARGN})
    target_link_libraries(${name} PRIVATE repair_core bench_parts GTest::gtest GTest::gmock)
    gtest_discover_tests(
        ${name}
        DISCOVERY_MODE PRE_TEST
        DISCOVERY_TIMEOUT 60
        PROPERTIES TIMEOUT 150 FIXTURES_REQUIRED bench_slots)
endfunction()
