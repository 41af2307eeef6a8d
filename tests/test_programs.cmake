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

# add_disk_test(name sources...): one GoogleTest program for the small disk, which only the bench can
# mount: nothing is built on Windows. The disk is one for the whole run, so these tests take turns.
# FIXTURE names a CTest fixture that brings the disk along, LIBRARIES what else the program links.
function(add_disk_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "FIXTURE" "LIBRARIES")
    if(NOT CMAKE_CROSSCOMPILING_EMULATOR)
        return()
    endif()
    set(fixture small_disk)
    if(arg_FIXTURE)
        set(fixture ${arg_FIXTURE})
    endif()
    add_executable(${name} ${arg_UNPARSED_ARGUMENTS})
    target_link_libraries(${name} PRIVATE bench_unpackers ${arg_LIBRARIES})
    gtest_discover_tests(
        ${name}
        DISCOVERY_MODE PRE_TEST
        DISCOVERY_TIMEOUT 60
        PROPERTIES TIMEOUT 150 FIXTURES_REQUIRED ${fixture} RESOURCE_LOCK small_disk)
endfunction()
