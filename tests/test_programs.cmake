# Builds test code fast: its own files without optimization, while the code under test gets what
# players get, and GoogleTest's and Windows' headers parsed once for all programs. A file that relies on
# this for an include of its own fails in scripts/lint --tests, which parses each file on its own.
function(compile_fast target)
    if(MSVC)
        return()
    endif()
    target_compile_options(${target} PRIVATE $<$<AND:$<CONFIG:Release>,$<COMPILE_LANGUAGE:CXX>>:-O0>)
    if(target STREQUAL bench_parts)
        target_precompile_headers(${target} PRIVATE <gmock/gmock.h> <gtest/gtest.h>
                                  "${PROJECT_SOURCE_DIR}/src/common/windows_api.h")
    else()
        target_precompile_headers(${target} REUSE_FROM bench_parts)
    endif()
endfunction()

add_custom_target(pure_tests)

# add_repair_test(name sources... [options]): one GoogleTest program. Each of its cases is a CTest test,
# run in a process and a scratch Windows of its own, so that tests run in parallel without sharing
# registry, Desktop, temp folder or windows.
#
# ONE_PROCESS     The whole program is one CTest test with the label `pure`, named like the program:
#                 for cases that use no files, registry, processes or windows and take next to no
#                 time. The target pure_tests builds all of them.
# LABEL           A label of all cases, or of all but the slow ones. The label `slow` keeps a test out
#                 of scripts/test; `window` keeps it out of scripts/test --quick.
# SLOW_CASES      A GoogleTest pattern: the cases that get the label `slow`.
# FIXTURE         A CTest fixture to set up first, instead of bench_slots, which it must itself need.
#                 fault_server is the web server, small_disk the disk that is soon full.
# RESOURCE_LOCK   A CTest resource that only one test uses at a time.
# TIMEOUT         Seconds that a case may take (a whole program with ONE_PROCESS), 120 by default.
function(add_repair_test name)
    cmake_parse_arguments(
        PARSE_ARGV 1 arg "ONE_PROCESS" "LABEL;SLOW_CASES;FIXTURE;RESOURCE_LOCK;TIMEOUT" "")
    add_executable(${name} ${arg_UNPARSED_ARGUMENTS})
    target_link_libraries(${name} PRIVATE repair_core bench_parts GTest::gtest GTest::gmock)
    compile_fast(${name})

    set(fixture bench_slots)
    if(arg_FIXTURE)
        set(fixture ${arg_FIXTURE})
    endif()
    set(seconds 120)
    if(arg_TIMEOUT)
        set(seconds ${arg_TIMEOUT})
    endif()
    # The bench ends a program that takes too long, and says so. CTest gives it time for that.
    math(EXPR ctest_seconds "${seconds} + 30")
    set(properties TIMEOUT ${ctest_seconds} ENVIRONMENT BENCH_TIME_LIMIT_S=${seconds}
                   FIXTURES_REQUIRED ${fixture})
    if(arg_RESOURCE_LOCK)
        list(APPEND properties RESOURCE_LOCK ${arg_RESOURCE_LOCK})
    endif()
    set(labels "")
    if(arg_LABEL)
        set(labels LABELS ${arg_LABEL})
    endif()

    if(arg_ONE_PROCESS)
        add_test(NAME ${name} COMMAND ${name})
        set_tests_properties(${name} PROPERTIES ${properties} LABELS "${arg_LABEL};pure")
        add_dependencies(pure_tests ${name})
        return()
    endif()
    set(discovery DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60)
    if(arg_SLOW_CASES)
        gtest_discover_tests(
            ${name} ${discovery}
            TEST_FILTER ${arg_SLOW_CASES}
            PROPERTIES ${properties} LABELS slow)
        list(APPEND discovery TEST_FILTER -${arg_SLOW_CASES})
    endif()
    gtest_discover_tests(${name} ${discovery} PROPERTIES ${properties} ${labels})
endfunction()

# add_disk_test(name sources... [FIXTURE fixture] [LIBRARIES libraries...]): a program for the small
# disk, which only the bench can mount: nothing is built on Windows. There is one disk for the whole
# run, so these tests take turns. FIXTURE must bring the disk along.
function(add_disk_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "FIXTURE" "LIBRARIES")
    if(NOT CMAKE_CROSSCOMPILING_EMULATOR)
        return()
    endif()
    if(NOT arg_FIXTURE)
        set(arg_FIXTURE small_disk)
    endif()
    add_repair_test(${name} ${arg_UNPARSED_ARGUMENTS} FIXTURE ${arg_FIXTURE} RESOURCE_LOCK small_disk)
    target_link_libraries(${name} PRIVATE bench_unpackers ${arg_LIBRARIES})
endfunction()
