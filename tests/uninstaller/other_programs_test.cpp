#include "uninstaller/other_programs.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "bench_parts/call_hook.h"
#include "installed_game_test.h"
#include "registered_program.h"

namespace {

namespace fs = std::filesystem;

class OtherPrograms : public InstalledGameTest {
protected:
    OtherPrograms() {
        fs::create_directory(Outside() / (toolFolder.filename().native() + L"2"));
    }

    static std::optional<OtherProgram> Find() {
        return FindOtherProgramIn(toolFolder, toolConfig);
    }

    // The list besides the game's own entry has one whose install location is `location`.
    static bool IsFoundAt(const std::wstring& location, DWORD type = REG_SZ) {
        const RegisteredProgram other(HKEY_CURRENT_USER, L"Other");
        other.Store(L"InstallLocation", location, type);
        return Find().has_value();
    }
};

TEST_F(OtherPrograms, DoNotIncludeTheGameItself) {
    EXPECT_FALSE(Find());
    // Keys are the same in any letter case.
    bench::RemoveKey(EntryKey());
    const RegisteredProgram own(HKEY_CURRENT_USER, L"QUELLSTONE.BENCH GAME");
    own.Store(L"InstallLocation", toolFolder);
    EXPECT_FALSE(Find());
}

TEST_F(OtherPrograms, AreFoundInEachPartOfTheList) {
    for (HKEY const root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
        for (const REGSAM view : {REGSAM{KEY_WOW64_64KEY}, REGSAM{KEY_WOW64_32KEY}}) {
            const RegisteredProgram other(root, L"Other", view);
            other.Store(L"InstallLocation", toolFolder);
            EXPECT_TRUE(Find()) << view;
        }
    }
    EXPECT_FALSE(Find());
}

TEST_F(OtherPrograms, DoNotIncludeTheGameUnderAnOlderName) {
    const RegisteredProgram older(HKEY_CURRENT_USER, L"Quellstone.Older name");
    older.Store(L"InstallLocation", toolFolder);
    EXPECT_TRUE(Find());
    older.Store(L"UninstallString", L"\"" + (toolFolder / L"Uninstall.exe").native() + L"\"");
    EXPECT_FALSE(Find());
    older.Store(L"UninstallString", L"\"" + (toolFolder / L"other.exe").native() + L"\"");
    EXPECT_TRUE(Find());
}

TEST_F(OtherPrograms, IncludeOneOfTheSameKeyOfTheMachine) {
    const RegisteredProgram other(HKEY_LOCAL_MACHINE, L"Quellstone.Bench Game");
    other.Store(L"InstallLocation", toolFolder);
    EXPECT_TRUE(Find());
}

TEST_F(OtherPrograms, AreFoundByAnyNameOfTheFolder) {
    const std::wstring folder = toolFolder;
    std::wstring otherCase = folder;
    ::CharUpperBuffW(otherCase.data(), static_cast<DWORD>(otherCase.size()));
    std::wstring slashes = folder;
    std::replace(slashes.begin(), slashes.end(), L'\\', L'/');
    const std::wstring link = Outside() / L"link";
    ASSERT_TRUE(bench::MakeFolderLink(link, toolFolder / L"data"));
    for (const std::wstring& location :
         {folder, otherCase, slashes, folder + L"\\", L"\"" + folder + L"\"",
          L"\"" + folder + L"\\data\\\"", L"\\\\?\\" + folder, folder + L"\\data",
          folder + L"\\bin\\start.exe", link}) {
        EXPECT_TRUE(IsFoundAt(location)) << location;
    }
}

TEST_F(OtherPrograms, AreNotLookedForOnServers) {
    bool isAsked = false;
    const auto real = bench::RealFunction<decltype(&::CreateFileW)>(L"kernel32.dll", "CreateFileW");
    const auto hook = bench::HookCall<decltype(&::CreateFileW)>(
        L"kernel32.dll", "CreateFileW", [&](LPCWSTR path, auto... more) -> HANDLE {
            isAsked = isAsked || std::wstring_view(path).find(L"server") != std::wstring::npos;
            return real(path, more...);
        });
    EXPECT_FALSE(IsFoundAt(L"\\\\server\\share\\game"));
    EXPECT_FALSE(IsFoundAt(L"\\\\?\\UNC\\server\\share\\game"));
    EXPECT_FALSE(isAsked);
}

TEST_F(OtherPrograms, AreFoundByAVariableInThePath) {
    ::SetEnvironmentVariableW(L"BENCH_CLIENT", toolFolder.c_str());
    EXPECT_TRUE(IsFoundAt(L"%BENCH_CLIENT%\\data", REG_EXPAND_SZ));
    ::SetEnvironmentVariableW(L"BENCH_CLIENT", nullptr);
}

TEST_F(OtherPrograms, AreNotInTheFolderOtherwise) {
    const std::wstring folder = toolFolder;
    for (const std::wstring& location :
         {Outside().native(), folder + L"2", folder + L"\\missing", std::wstring(L"C:\\"),
          std::wstring(L"X:\\Games"), std::wstring(L"a*b?"), std::wstring(L"\"\""),
          std::wstring(L"\""), std::wstring(L""), std::wstring(L"not there\\at all")}) {
        EXPECT_FALSE(IsFoundAt(location)) << location;
    }
    const RegisteredProgram unnamed(HKEY_CURRENT_USER, L"Unnamed");
    unnamed.Store(L"InstallLocation", folder, REG_BINARY);
    EXPECT_FALSE(Find());
}

TEST_F(OtherPrograms, AreNotFoundByARelativePath) {
    std::wstring former(MAX_PATH + 1, L'\0');
    former.resize(::GetCurrentDirectoryW(static_cast<DWORD>(former.size()), former.data()));
    ::SetCurrentDirectoryW(toolFolder.c_str());
    for (const wchar_t* const location : {L".", L"data", L"C:", L"C:data"}) {
        EXPECT_FALSE(IsFoundAt(location)) << location;
    }
    EXPECT_FALSE(IsFoundAt(toolFolder.native().substr(2)));
    ::SetCurrentDirectoryW(former.c_str());
}

TEST_F(OtherPrograms, GoByTheNameInTheList) {
    const RegisteredProgram other(HKEY_CURRENT_USER, L"{0815}");
    other.Store(L"InstallLocation", toolFolder / L"data");
    EXPECT_EQ(Find()->name, L"{0815}");
    other.Store(L"DisplayName", L"Mod Loader");
    EXPECT_EQ(Find()->name, L"Mod Loader");
    EXPECT_EQ(Find()->folder, toolFolder / L"data");
}

}  // namespace
