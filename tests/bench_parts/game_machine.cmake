# The library for tests of whole jobs: a player's machine with unpacking programs and a web server.
add_library(game_machine STATIC ${CMAKE_CURRENT_LIST_DIR}/game_machine.cpp)
target_link_libraries(game_machine PUBLIC bench_unpackers fault_server_client)
