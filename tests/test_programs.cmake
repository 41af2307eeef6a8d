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

# add_repair_test(name sources... [options]): one GoogleTest program. Without further options each of its
# cases is a CTest test with its own process and scratch Windows: cases share no registry, Desktop, temp
# folder or windows.
#
# ONE_PROCESS     The whole program is one CTest test, named like the program: for cases that undo what
#                 they do. Each separate process costs about a tenth of a second of processor time.
# PURE            Like ONE_PROCESS, with the label `pure`, for cases that use no files, registry,
#                 processes or windows and take next to no time. The target pure_tests builds them all.
# LABEL           A label of all cases, or of all but the slow ones. The label `slow` keeps a test out
#                 of scripts/test; `window` and `heavy` keep it out of scripts/test --quick.
# SLOW_CASES      A GoogleTest pattern: the cases that get the label `slow`.
# FIXTURE         A CTest fixture to set up first, instead of bench_slots, which it must itself need.
#                 fault_server is the web server, small_disk the disk that is soon full.
# RESOURCE_LOCK   A CTest resource that only one test uses at a time.
# TIMEOUT         Seconds that a process may take: 120 by default, 300 for a whole program.
function(add_repair_test name)
    cmake_parse_arguments(
        PARSE_ARGV 1 arg "ONE_PROCESS;PURE" "LABEL;SLOW_CASES;FIXTURE;RESOURCE_LOCK;TIMEOUT" "")
    add_executable(${name} ${arg_UNPARSED_ARGUMENTS})
    target_link_libraries(${name} PRIVATE repair_core bench_parts GTest::gtest GTest::gmock)
    compile_fast(${name})
    if(arg_PURE)
        set(arg_ONE_PROCESS TRUE)
        set(arg_LABEL pure)
        add_dependencies(pure_tests ${name})
    endif()

    set(fixture bench_slots)
    if(arg_FIXTURE)
        set(fixture ${arg_FIXTURE})
    endif()
    set(seconds 120)
    if(arg_TIMEOUT)
        set(seconds ${arg_TIMEOUT})
    elseif(arg_ONE_PROCESS)
        set(seconds 300)
    endif()
    # The bench ends a program that takes too long, and says so. CTest gives it time for that.
    math(EXPR ctest_seconds "${seconds} + 30")
    set(properties TIMEOUT ${ctest_seconds} ENVIRONMENT BENCH_TIME_LIMIT_S=${seconds}
                   FIXTURES_REQUIRED ${fixture})
    if(arg_RESOURCE_LOCK)
        list(APPEND properties RESOURCE_LOCK ${arg_RESOURCE_LOCK})
    endif()

    set(filter *)
    if(arg_SLOW_CASES)
        add_cases(${name} "${arg_ONE_PROCESS}" ${arg_SLOW_CASES} .slow ${properties} LABELS slow)
        set(filter -${arg_SLOW_CASES})
    endif()
    if(arg_LABEL)
        list(APPEND properties LABELS ${arg_LABEL})
    endif()
    add_cases(${name} "${arg_ONE_PROCESS}" ${filter} "" ${properties})
endfunction()

# Registers the cases that match the GoogleTest pattern `filter`: as one test, named like the program with
# `suffix`, or as one test each.
function(add_cases program one_process filter suffix)
    if(one_process)
        add_test(NAME ${program}${suffix} COMMAND ${program} "--gtest_filter=${filter}")
        set_tests_properties(${program}${suffix} PROPERTIES ${ARGN})
        return()
    endif()
    gtest_discover_tests(
        ${program}
        TEST_FILTER ${filter}
        DISCOVERY_MODE PRE_TEST
        DISCOVERY_TIMEOUT 60
        PROPERTIES ${ARGN})
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
    add_repair_test(
        ${name}
        ONE_PROCESS
        FIXTURE ${arg_FIXTURE}
        RESOURCE_LOCK small_disk
        ${arg_UNPARSED_ARGUMENTS})
    target_link_libraries(${name} PRIVATE bench_unpackers ${arg_LIBRARIES})
endfunction()
