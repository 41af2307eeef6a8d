// What the loader does for the tool and the uninstaller before their first instruction: which DLLs
// it loads, and which of their functions it imports.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <string>

#include "built_exe.h"

namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::Not;

// The imported functions by DLL, its name in lower case.
using Imports = std::map<std::string, std::set<std::string>>;

std::string LowerCaseName(std::string text) {
    std::ranges::transform(text, text.begin(), [](unsigned char letter) {
        return static_cast<char>(std::tolower(letter));
    });
    return text;
}

Imports ImportsOf(const wchar_t* path) {
    const BuiltExe exe(path);
    Imports imports;
    const DWORD table = exe.DirectoryAddress(IMAGE_DIRECTORY_ENTRY_IMPORT);
    for (const auto* dll = exe.At<IMAGE_IMPORT_DESCRIPTOR>(table); dll->Name != 0; ++dll) {
        std::set<std::string>& functions = imports[LowerCaseName(exe.At<char>(dll->Name))];
        const auto* name = exe.At<IMAGE_THUNK_DATA64>(dll->OriginalFirstThunk);
        for (; name->u1.AddressOfData != 0; ++name) {
            EXPECT_FALSE(IMAGE_SNAP_BY_ORDINAL64(name->u1.Ordinal));
            functions.insert(exe.At<IMAGE_IMPORT_BY_NAME>(name->u1.AddressOfData)->Name);
        }
    }
    return imports;
}

class ExeImports : public testing::TestWithParam<const wchar_t*> {
protected:
    Imports imports_ = ImportsOf(GetParam());
};

// All of these are on Windows' list of known DLLs (KnownDLLs below the session manager's key in the
// registry), which always come from the system folder. Any other would come from the exe's folder
// if there is one of that name: the game's, or the temporary folder.
TEST_P(ExeImports, ComeOnlyFromDllsInTheSystemFolder) {
    const std::set<std::string> known{"advapi32.dll", "gdi32.dll", "kernel32.dll",
                                      "msvcrt.dll",   "ole32.dll", "user32.dll"};
    for (const auto& [dll, functions] : imports_) {
        EXPECT_TRUE(known.contains(dll)) << dll;
    }
    // The call that keeps the exe's folder out of later loads.
    EXPECT_THAT(imports_.at("kernel32.dll"), Contains("SetDefaultDllDirectories"));
    // Only in Windows 10 version 1703 and later; an earlier one would not start the program.
    EXPECT_THAT(imports_.at("user32.dll"), Not(Contains("SetProcessDpiAwarenessContext")));
}

// They refuse the paths that begin with "\\?\", under which a program may be started. The library's
// file operations are built on them, and one use of such an operation imports them all.
TEST_P(ExeImports, IncludeNoPathFunctionsOfTheCRuntime) {
    const std::regex pathCall(
        "_?w?(access|chdir|chmod|findfirst|findnext|fopen|freopen|fullpath|getcwd|mkdir|open|"
        "remove|rename|rmdir|sopen|stat|unlink|utime)(64|i32|_s)*");
    std::set<std::string> calls;
    for (const auto& [dll, functions] : imports_) {
        std::ranges::copy_if(
            functions, std::inserter(calls, calls.end()),
            [&](const std::string& name) { return std::regex_match(name, pathCall); });
    }
    EXPECT_THAT(calls, IsEmpty());
}

// It loads several DLLs, from the exe's folder too as long as nothing forbids it.
TEST_P(ExeImports, LeaveTheSystemsCryptographyForLater) {
    for (const std::string& name : imports_.at("advapi32.dll")) {
        EXPECT_FALSE(name.starts_with("Crypt")) << name;
    }
}

INSTANTIATE_TEST_SUITE_P(Programs, ExeImports, testing::Values(TOOL_PATH, UNINSTALLER_PATH),
                         [](const auto& program) {
                             return program.index == 0 ? "Tool" : "Uninstaller";
                         });

}  // namespace
