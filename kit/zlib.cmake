# kit_zlib: zlib, release 1.2.13. The same release everywhere: another one may compress to other bytes.
add_library(kit_zlib INTERFACE)
if(WIN32 AND CMAKE_HOST_WIN32)
    include(FetchContent)
    FetchContent_Declare(
        zlib
        GIT_REPOSITORY https://github.com/madler/zlib.git
        GIT_TAG v1.2.13)
    FetchContent_MakeAvailable(zlib)
    target_link_libraries(kit_zlib INTERFACE zlibstatic)
    target_include_directories(kit_zlib SYSTEM INTERFACE "${zlib_SOURCE_DIR}" "${zlib_BINARY_DIR}")
else()
    # The static library: one file to ship.
    find_library(KIT_ZLIB libz.a)
    if(NOT KIT_ZLIB)
        message(FATAL_ERROR "libz-mingw-w64-dev is missing: scripts/setup installs it")
    endif()
    target_link_libraries(kit_zlib INTERFACE "${KIT_ZLIB}")
endif()
