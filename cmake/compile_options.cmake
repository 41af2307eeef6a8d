# Language level, warnings and hardening of all our targets. GoogleTest does not link to this, because its
# code would not pass the warnings.
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
                  # No warnings for the Windows headers: some do not pass level 4.
                  /external:anglebrackets
                  /external:W0
                  /permissive-
                  /utf-8
                  /guard:cf
                  /sdl
                  /Brepro)
    target_link_options(repair_options INTERFACE /guard:cf /CETCOMPAT /Brepro /MANIFEST:NO
                                                  # Load imports from the system folder, never
                                                  # from the exe's folder.
                                                  /DEPENDENTLOADFLAG:0x800
                                                  # Only the name of the symbol file, not its path.
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
                  # GCC 12 falsely warns about `"literal" + std::string` (GCC bug 105651).
                  -Wno-restrict
                  -fstack-protector-strong
                  -ffunction-sections
                  -fdata-sections
                  # Keep the build machine's paths out of the exe.
                  -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=
                  $<$<CONFIG:Release>:-U_FORTIFY_SOURCE>
                  $<$<CONFIG:Release>:-D_FORTIFY_SOURCE=2>
                  -D_GLIBCXX_ASSERTIONS)
    # Static runtime: one file to ship. No time stamp: reproducible builds.
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
        # separate_symbols strips them later.
        $<$<AND:$<CONFIG:Release>,$<NOT:$<BOOL:$<TARGET_PROPERTY:HAS_SEPARATE_SYMBOLS>>>>:-s>)
endif()

option(SOURCE_LINES "Put source lines into the symbols of the release build" OFF)
if(SOURCE_LINES AND NOT MSVC)
    # The compiler's folder, which debuggers put before relative names, becomes that of the sources.
    target_compile_options(
        repair_options
        INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-g>
                  $<$<COMPILE_LANGUAGE:CXX>:-fdebug-prefix-map=${PROJECT_BINARY_DIR}=.>)
endif()

# For code that mostly waits for the system: half the size of -O3, and no slower.
function(optimize_for_size target)
    if(NOT MSVC)
        target_compile_options(${target} PRIVATE $<$<AND:$<CONFIG:Release>,$<COMPILE_LANGUAGE:CXX>>:-Os>)
    endif()
endfunction()
