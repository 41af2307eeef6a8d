#include "uninstaller/other_programs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "bench_parts/current_folder.h"
#include "bench_parts/environment_variable.h"
#include "bench_parts/file_hooks.h"
#include "installed_game_test.h"
#include "registered_program.h"

namespace {

namespace fs = std::filesystem;

class OtherPrograms : public InstalledGameTest {
protected:
    static std::optional<OtherProgram> Find() {
        return FindOtherProgramIn(toolFolder, toolConfig);
    }

    // Whether another program is found that is installed at `location`.
    static bool IsFoundAt(const std::wstring& location, DWORD type = REG_SZ) {
        const RegisteredProgram other(HKEY_CURRENT_USER, L"Other");
        other.Store(L"InstallLocation", location, type);
        return Find().has_value();
    }
};

TEST_F(OtherPrograms, AreFoundInEachPartOfTheListByTheNameThere) {
    for (HKEY const root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
        for (const REGSAM view : {REGSAM{KEY_WOW64_64KEY}, REGSAM{KEY_WOW64_32KEY}}) {
            const RegisteredProgram other(root, L"{0815}", view);
            other.Store(L"InstallLocation", fs::path(toolFolder) / L"data");
            ASSERT_TRUE(Find()) << view;
            EXPECT_EQ(Find()->name, L"{0815}");
            other.Store(L"DisplayName", L"Mod Loader");
            EXPECT_EQ(Find()->name, L"Mod Loader");
            EXPECT_EQ(Find()->folder, fs::path(toolFolder) / L"data");
        }
    }
    EXPECT_FALSE(Find());
}

TEST_F(OtherPrograms, DoNotIncludeTheGameItself) {
    EXPECT_FALSE(Find());
    {
        // The machine's key of the same name is another program's.
        const RegisteredProgram other(HKEY_LOCAL_MACHINE, L"Quellstone.Bench Game");
        other.Store(L"InstallLocation", toolFolder);
        EXPECT_TRUE(Find());
    }
    bench::RemoveKey(EntryKey());
    // Letter case does not distinguish keys.
    const RegisteredProgram own(HKEY_CURRENT_USER, L"QUELLSTONE.BENCH GAME");
    own.Store(L"InstallLocation", toolFolder);
    EXPECT_FALSE(Find());
}

TEST_F(OtherPrograms, DoNotIncludeTheGameUnderAnOlderName) {
    const RegisteredProgram older(HKEY_CURRENT_USER, L"Quellstone.Older name");
    older.Store(L"InstallLocation", toolFolder);
    EXPECT_TRUE(Find());
    older.Store(L"UninstallString",
                L"\"" + (fs::path(toolFolder) / L"Uninstall.exe").native() + L"\"");
    EXPECT_FALSE(Find());
    older.Store(L"UninstallString", L"\"" + (fs::path(toolFolder) / L"other.exe").native() + L"\"");
    EXPECT_TRUE(Find());
}

TEST_F(OtherPrograms, AreFoundByAnyPathIntoTheFolder) {
    const std::wstring folder = toolFolder;
    std::wstring otherCase = folder;
    ::CharUpperBuffW(otherCase.data(), static_cast<DWORD>(otherCase.size()));
    std::wstring slashes = folder;
    std::replace(slashes.begin(), slashes.end(), L'\\', L'/');
    const std::wstring link = Outside() / L"link";
    ASSERT_TRUE(bench::MakeFolderLink(link, fs::path(toolFolder) / L"data"));
    for (const std::wstring& location :
         {folder, otherCase, slashes, folder + L"\\", L"\"" + folder + L"\"",
          L"\"" + folder + L"\\data\\\"", L"\\\\?\\" + folder, folder + L"\\data",
          folder + L"\\bin\\start.exe", link}) {
        EXPECT_TRUE(IsFoundAt(location)) << location;
    }
    const bench::EnvironmentVariable variable(L"BENCH_CLIENT", folder);
    EXPECT_TRUE(IsFoundAt(L"%BENCH_CLIENT%\\data", REG_EXPAND_SZ));
}

TEST_F(OtherPrograms, AreNotFoundByOtherOrRelativePaths) {
    const std::wstring folder = toolFolder;
    fs::create_directory(folder + L"2");
    const bench::CurrentFolder current(toolFolder);
    for (const std::wstring& location :
         {Outside().native(), folder + L"2", folder + L"\\missing", std::wstring(L"C:\\"),
          std::wstring(L"X:\\Games"), std::wstring(L"a*b?"), std::wstring(L"\"\""),
          std::wstring(L"\""), std::wstring(L""), std::wstring(L"not there\\at all"),
          std::wstring(L"."), std::wstring(L"data"), std::wstring(L"C:"), std::wstring(L"C:data"),
          folder.substr(2)}) {
        EXPECT_FALSE(IsFoundAt(location)) << location;
    }
    EXPECT_FALSE(IsFoundAt(folder, REG_BINARY));
}

TEST_F(OtherPrograms, AreNotLookedForOnServers) {
    bool isAsked = false;
    const auto hook = bench::HookOpen([&](const std::wstring& path) -> DWORD {
        isAsked = isAsked || path.find(L"server") != std::wstring::npos;
        return ERROR_SUCCESS;
    });
    EXPECT_FALSE(IsFoundAt(L"\\\\server\\share\\game"));
    EXPECT_FALSE(IsFoundAt(L"\\\\?\\UNC\\server\\share\\game"));
    EXPECT_FALSE(isAsked);
}

}  // namespace
