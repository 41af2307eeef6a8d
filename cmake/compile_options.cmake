# One interface target carries language level, warnings and hardening for everything of ours.
# Google Test is not linked to it, so that its code does not meet our warnings.
add_library(repair_options INTERFACE)
target_compile_features(repair_options INTERFACE cxx_std_20)
target_compile_definitions(
    repair_options
    INTERFACE UNICODE
              _UNICODE
              NOMINMAX
              WIN32_LEAN_AND_MEAN
              WINVER=0x0A00
              _WIN32_WINNT=0x0A00)
target_include_directories(repair_options INTERFACE ${PROJECT_SOURCE_DIR}/src
                                                    ${PROJECT_SOURCE_DIR}/resources)

if(MSVC)
    target_compile_options(
        repair_options
        INTERFACE /W4
                  /WX
                  # Not for the Windows headers, some of which do not pass level 4.
                  /external:anglebrackets
                  /external:W0
                  /permissive-
                  /utf-8
                  /guard:cf
                  /sdl
                  /Brepro)
    target_link_options(repair_options INTERFACE /guard:cf /CETCOMPAT /Brepro /MANIFEST:NO
                                                  # Imports come from the system's folder,
                                                  # not from the exe's own.
                                                  /DEPENDENTLOADFLAG:0x800
                                                  # Names the file with debug symbols without its folder.
                                                  /PDBALTPATH:%_PDB%)
else()
    target_compile_options(
        repair_options
        INTERFACE -Wall
                  -Wextra
                  -Wpedantic
                  -Wshadow
                  -Wconversion
                  -Werror
                  # GCC 12 sees overlapping copies in every `"literal" + std::string` (its bug 105651).
                  -Wno-restrict
                  -fstack-protector-strong
                  -ffunction-sections
                  -fdata-sections
                  # Paths of the build machine have no place in a file that players get.
                  -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=
                  $<$<CONFIG:Release>:-U_FORTIFY_SOURCE>
                  $<$<CONFIG:Release>:-D_FORTIFY_SOURCE=2>
                  -D_GLIBCXX_ASSERTIONS)
    # Static runtime: one file to ship. No time stamp: same inputs, same bytes.
    target_link_options(
        repair_options
        INTERFACE
        -static
        -fstack-protector-strong
        -Wl,--no-insert-timestamp
        -Wl,--gc-sections
        -Wl,--dynamicbase
        -Wl,--high-entropy-va
        -Wl,--nxcompat
        $<$<CONFIG:Release>:-s>)
endif()
