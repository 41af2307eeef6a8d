# The web server that tests of the download talk to: one for the whole run, started before the first
# such test and ended after the last. add_repair_test(... FIXTURE fault_server) makes a program wait
# for it; it links fault_server_client.
set(fault_server_folder "${PROJECT_BINARY_DIR}/fault_server")
foreach(order start stop)
    add_test(NAME fault_server.${order}
             COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_LIST_DIR}/fault_server.py ${order}
                     ${fault_server_folder})
    # The programs in between need the slots, so the slots must last until the server is stopped.
    # The disk comes along because a discovered test can name one fixture only, and downloads must
    # also be seen to fill a disk.
    set_tests_properties(fault_server.${order} PROPERTIES TIMEOUT 60 FIXTURES_REQUIRED
                                                          "bench_slots;small_disk")
endforeach()
set_tests_properties(fault_server.start PROPERTIES FIXTURES_SETUP fault_server)
set_tests_properties(fault_server.stop PROPERTIES FIXTURES_CLEANUP fault_server)

# The same folder as a Windows program sees it.
set(folder_as_seen "${fault_server_folder}")
if(CMAKE_CROSSCOMPILING_EMULATOR)
    set(folder_as_seen "Z:${fault_server_folder}")
endif()
add_library(fault_server_client STATIC ${CMAKE_CURRENT_LIST_DIR}/fault_server_client.cpp)
target_compile_definitions(fault_server_client PRIVATE FAULT_SERVER_FOLDER=L"${folder_as_seen}")
target_link_libraries(fault_server_client PUBLIC bench_parts crypt32)
compile_fast(fault_server_client)
