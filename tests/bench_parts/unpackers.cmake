# For the tests of unpacking: fake tar.exe, powershell.exe and RAR programs, packages to unpack, and a
# small disk.

# Windows' name of a path of this machine, as the test programs see it.
if(CMAKE_HOST_WIN32)
    set(windows_root "")
else()
    set(windows_root "Z:")
endif()
set(bench_parts_folder ${CMAKE_CURRENT_LIST_DIR})
set(bench_archives "${PROJECT_BINARY_DIR}/bench_archives")
set(bench_small_disk "${PROJECT_BINARY_DIR}/small_disk")

function(add_stand_in name)
    add_executable(${name} ${ARGN})
    target_link_libraries(${name} PRIVATE repair_options)
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_compile_definitions(
        ${name}
        PRIVATE BENCH_SEVEN_ZIP_FOLDER=L"${windows_root}${PROJECT_SOURCE_DIR}/build/bench/seven_zip")
    use_wide_entry_point(${name})
endfunction()

add_stand_in(recorder ${bench_parts_folder}/recorder.cpp)
add_stand_in(tar_stand_in ${bench_parts_folder}/tar_stand_in.cpp
             ${bench_parts_folder}/seven_zip.cpp)
add_stand_in(powershell_stand_in ${bench_parts_folder}/powershell_stand_in.cpp
             ${bench_parts_folder}/seven_zip.cpp)

add_custom_command(
    OUTPUT ${bench_archives}.stamp
    COMMAND ${Python3_EXECUTABLE} -B ${bench_parts_folder}/make_archives.py ${bench_archives}
    COMMAND ${CMAKE_COMMAND} -E touch ${bench_archives}.stamp
    DEPENDS ${bench_parts_folder}/make_archives.py ${bench_parts_folder}/write_rar.py
    COMMENT "Writing the packages that the tests unpack"
    VERBATIM)
add_custom_target(test_archives DEPENDS ${bench_archives}.stamp)

# The library for test programs that unpack; it brings the programs and packages along.
add_library(bench_unpackers STATIC ${bench_parts_folder}/package_contents.cpp
                                   ${bench_parts_folder}/unpacker_machine.cpp)
target_link_libraries(bench_unpackers PUBLIC bench_parts)
compile_fast(bench_unpackers)
target_compile_definitions(
    bench_unpackers
    PRIVATE BENCH_SEVEN_ZIP_FOLDER=L"${windows_root}${PROJECT_SOURCE_DIR}/build/bench/seven_zip"
            BENCH_ARCHIVES_FOLDER=L"${windows_root}${bench_archives}"
            BENCH_SMALL_DISK_FOLDER=L"${windows_root}${bench_small_disk}")
add_dependencies(bench_unpackers recorder tar_stand_in powershell_stand_in test_archives)

# For add_disk_test. The fixture brings bench_slots along.
if(CMAKE_CROSSCOMPILING_EMULATOR)
    foreach(action mount unmount)
        add_test(NAME small_disk.${action} COMMAND ${bench_parts_folder}/small_disk ${action}
                                                   ${bench_small_disk})
        # The programs in between need the slots, so the slots must last until the disk is gone.
        set_tests_properties(small_disk.${action} PROPERTIES TIMEOUT 60 FIXTURES_REQUIRED bench_slots)
    endforeach()
    set_tests_properties(small_disk.mount PROPERTIES FIXTURES_SETUP small_disk)
    set_tests_properties(small_disk.unmount PROPERTIES FIXTURES_CLEANUP small_disk)
endif()
