# kit_json: the headers of nlohmann/json, release 3.11.
add_library(kit_json INTERFACE)
if(WIN32 AND CMAKE_HOST_WIN32)
    include(FetchContent)
    FetchContent_Declare(
        nlohmann_json
        GIT_REPOSITORY https://github.com/nlohmann/json.git
        GIT_TAG v3.11.2)
    FetchContent_MakeAvailable(nlohmann_json)
    target_link_libraries(kit_json INTERFACE nlohmann_json::nlohmann_json)
else()
    # Debian's package has them in the folder of the machine's own headers, which a compiler for Windows
    # must not see.
    set(json_include "${PROJECT_BINARY_DIR}/json_include")
    if(NOT IS_DIRECTORY /usr/include/nlohmann)
        message(FATAL_ERROR "nlohmann-json3-dev is missing: scripts/setup installs it")
    endif()
    file(COPY /usr/include/nlohmann DESTINATION "${json_include}")
    target_include_directories(kit_json SYSTEM INTERFACE "${json_include}")
endif()
