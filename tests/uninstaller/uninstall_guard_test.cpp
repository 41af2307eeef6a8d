#include "uninstaller/uninstall_guard.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "bench_parts/call_hook.h"
#include "bench_parts/import_hook.h"
#include "bench_parts/skipping.h"
#include "common/paths.h"
#include "judge_client_test.h"
#include "registered_program.h"

using bench::ReadKey;
using bench::RemoveKey;
using bench::StoredNumber;
using bench::StoredText;
using bench::StoredValue;
using bench::StoreValue;

namespace {

namespace fs = std::filesystem;

TEST_F(JudgeClientTest, ConsentsToAnInstalledGame) {
    EXPECT_EQ(FindRefusal(), Refusal::None);
}

TEST_F(JudgeClientTest, ApprovesTheRealPaths) {
    const Verdict verdict = JudgeClient();
    EXPECT_EQ(verdict.client.folder, toolFolder);
    EXPECT_EQ(verdict.client.uninstaller, toolFolder / L"Uninstall.exe");
    EXPECT_EQ(verdict.client.startupProgram, toolFolder / L"bin" / L"start.exe");
    const fs::path real = toolFolder;
    ASSERT_TRUE(bench::MakeFolderLink(Outside() / L"link", real));
    toolFolder = Outside() / L"link";
    toolExePath = toolFolder / L"UNINSTALL.EXE";
    toolConfig.startupExe = L"data\\..\\BIN\\START.EXE";
    EXPECT_EQ(JudgeClient().client, verdict.client);
}

TEST_F(JudgeClientTest, ApprovesTheSameClientAgain) {
    EXPECT_EQ(JudgeClientAgain(JudgeClient().client).refusal, Refusal::None);
}

TEST_F(JudgeClientTest, RefusesAnotherClientTheSecondTime) {
    const ApprovedClient approved = JudgeClient().client;
    Install(Outside() / L"copy");
    ASSERT_EQ(FindRefusal(), Refusal::None);
    const Verdict verdict = JudgeClientAgain(approved);
    EXPECT_EQ(verdict.refusal, Refusal::Changed);
    EXPECT_EQ(verdict.namedFolder, approved.folder);
    Install(approved.folder);
    toolConfig.startupExe = L"data\\other.exe";
    bench::WriteFile(toolFolder / L"data" / L"other.exe", "MZ");
    EXPECT_EQ(JudgeClientAgain(approved).refusal, Refusal::Changed);
}

TEST_F(JudgeClientTest, GivesItsOwnReasonTheSecondTime) {
    const ApprovedClient approved = JudgeClient().client;
    fs::remove(toolFolder / L"bin" / L"start.exe");
    EXPECT_EQ(JudgeClientAgain(approved).refusal, Refusal::StartupProgramMissing);
}

TEST_F(JudgeClientTest, TouchesNothing) {
    const std::vector<std::wstring> listing = bench::FolderListing(Outside());
    const auto entry = ReadKey(EntryKey());
    FindRefusal();
    fs::remove(toolFolder / L"bin" / L"start.exe");
    FindRefusal();
    bench::WriteFile(toolFolder / L"bin" / L"start.exe", "MZ start");
    EXPECT_EQ(bench::FolderListing(Outside()), listing);
    EXPECT_EQ(ReadKey(EntryKey()), entry);
}

TEST_F(JudgeClientTest, RefusesWithoutAnEntry) {
    RemoveKey(EntryKey());
    EXPECT_EQ(FindRefusal(), Refusal::NotRegistered);
}

TEST_F(JudgeClientTest, RefusesAnEntryOfAnotherGame) {
    toolConfig.programsDisplayName = L"Other Game";
    EXPECT_EQ(FindRefusal(), Refusal::NotRegistered);
}

TEST_F(JudgeClientTest, RefusesAnEntryThatNamesNoFolder) {
    RegisterFolder(L"");
    EXPECT_EQ(FindRefusal(), Refusal::NotRegistered);
    StoreValue(EntryKey(), L"InstallLocation", StoredNumber(1));
    EXPECT_EQ(FindRefusal(), Refusal::NotRegistered);
    RemoveKey(EntryKey());
    StoreValue(EntryKey(), L"DisplayName", StoredText(L"Bench Game"));
    EXPECT_EQ(FindRefusal(), Refusal::NotRegistered);
}

TEST_F(JudgeClientTest, RefusesAnyOtherFolderThanTheRegisteredOne) {
    const fs::path client = toolFolder;
    fs::create_directory(client.native() + L"2");
    for (const fs::path& registered :
         {Outside(), client / L"data", fs::path(client.native() + L"2"), client / L"missing",
          fs::path(client.native().substr(0, client.native().size() - 1)), fs::path(L"C:\\"),
          fs::path(L"."), fs::path(L"a*b?"), client / L"Uninstall.exe"}) {
        RegisterFolder(registered);
        EXPECT_EQ(FindRefusal(), Refusal::RegisteredElsewhere) << registered;
    }
}

// A path that exists but leads to no drive or share that has a name.
TEST_F(JudgeClientTest, NamesTheFolderThatCannotBeResolved) {
    const fs::path registered = Outside() / L"elsewhere";
    fs::create_directory(registered);
    RegisterFolder(registered);
    EXPECT_EQ(JudgeClient().namedFolder, registered);
    fs::path unresolved = toolFolder;
    const auto real = bench::RealFunction<decltype(&::CreateFileW)>(L"kernel32.dll", "CreateFileW");
    const auto hook = bench::HookCall<decltype(&::CreateFileW)>(
        L"kernel32.dll", "CreateFileW", [&](LPCWSTR path, auto... more) -> HANDLE {
            if (unresolved.native() == path) {
                ::SetLastError(ERROR_NOT_READY);
                return INVALID_HANDLE_VALUE;
            }
            return real(path, more...);
        });
    for (const fs::path& folder : {toolFolder, registered}) {
        unresolved = folder;
        const Verdict verdict = JudgeClient();
        EXPECT_EQ(verdict.refusal, Refusal::UnresolvedFolder);
        EXPECT_EQ(verdict.namedFolder, folder);
    }
}

TEST_F(JudgeClientTest, RefusesACopyInAnotherFolder) {
    // The same files once more; the entry still names the first.
    const fs::path first = toolFolder;
    Install(Outside() / L"copy");
    RegisterFolder(first);
    EXPECT_EQ(FindRefusal(), Refusal::RegisteredElsewhere);
}

TEST_F(JudgeClientTest, KnowsTheFolderByOtherNames) {
    std::wstring otherCase = toolFolder.native();
    ::CharUpperBuffW(otherCase.data(), static_cast<DWORD>(otherCase.size()));
    std::wstring slashes = toolFolder.native();
    std::replace(slashes.begin(), slashes.end(), L'\\', L'/');
    for (const std::wstring& registered :
         {otherCase, slashes, toolFolder.native() + L"\\", toolFolder.native() + L"\\data\\..",
          L"\\\\?\\" + toolFolder.native()}) {
        RegisterFolder(registered);
        EXPECT_EQ(FindRefusal(), Refusal::None) << registered;
    }
}

TEST_F(JudgeClientTest, KnowsTheFolderThroughALink) {
    const fs::path link = Outside() / L"link";
    SKIP_ON_WINDOWS_WITHOUT(bench::MakeFolderLink(link, toolFolder), "links for this user");
    RegisterFolder(link);
    EXPECT_EQ(FindRefusal(), Refusal::None);
}

TEST_F(JudgeClientTest, RefusesAnUninstallerOutsideTheFolder) {
    const fs::path client = toolFolder;
    for (const fs::path& elsewhere :
         {Outside() / L"Uninstall.exe", client / L"data" / L"Uninstall.exe"}) {
        bench::WriteFile(elsewhere, "MZ uninstaller");
        toolExePath = elsewhere;
        EXPECT_EQ(FindRefusal(), Refusal::UnsafeFolder) << elsewhere;
    }
}

TEST_F(JudgeClientTest, RefusesWithoutTheUninstallersFile) {
    fs::remove(toolExePath);
    EXPECT_EQ(FindRefusal(), Refusal::UnsafeFolder);
    fs::create_directory(toolExePath);
    EXPECT_EQ(FindRefusal(), Refusal::UnsafeFolder);
}

TEST_F(JudgeClientTest, RefusesTheRootOfADrive) {
    const GameInFolder game(L"C:\\");
    Install(L"C:\\");
    EXPECT_EQ(FindRefusal(), Refusal::UnsafeFolder);
}

TEST_F(JudgeClientTest, RefusesFoldersOfFiveCharacters) {
    const struct {
        const wchar_t* folder;
        Refusal refusal;
    } cases[] = {{L"C:\\q", Refusal::UnsafeFolder},
                 {L"C:\\qz", Refusal::UnsafeFolder},
                 {L"C:\\qzx", Refusal::None},
                 {L"C:\\qzx\\..", Refusal::UnsafeFolder}};
    for (const auto& [folder, refusal] : cases) {
        const GameInFolder game(folder);
        Install(folder);
        EXPECT_EQ(FindRefusal(), refusal) << folder;
    }
}

TEST_F(JudgeClientTest, RefusesAFolderWithAnotherProgram) {
    const RegisteredProgram other(HKEY_CURRENT_USER, L"Mod Loader");
    other.Store(L"InstallLocation", toolFolder.native() + L"\\data");
    const Verdict verdict = JudgeClient();
    EXPECT_EQ(verdict.refusal, Refusal::OtherProgram);
    EXPECT_EQ(verdict.namedFolder, toolFolder.native() + L"\\data");
    EXPECT_EQ(verdict.namedProgram, L"Mod Loader");
}

TEST_F(JudgeClientTest, RefusesWithoutTheStartupProgram) {
    fs::remove(toolFolder / L"bin" / L"start.exe");
    EXPECT_EQ(FindRefusal(), Refusal::StartupProgramMissing);
    fs::create_directory(toolFolder / L"bin" / L"start.exe");
    EXPECT_EQ(FindRefusal(), Refusal::StartupProgramMissing);
    toolConfig.startupExe.clear();
    EXPECT_EQ(FindRefusal(), Refusal::StartupProgramMissing);
}

TEST_F(JudgeClientTest, RefusesAStartupProgramElsewhere) {
    bench::WriteFile(Outside() / L"run.exe", "MZ");
    for (const std::wstring& startupExe :
         {Outside().native() + L"\\run.exe", std::wstring(L"..\\run.exe"),
          std::wstring(L"bin\\..\\..\\run.exe")}) {
        toolConfig.startupExe = startupExe;
        EXPECT_EQ(FindRefusal(), Refusal::StartupProgramMissing) << startupExe;
    }
}

TEST_F(JudgeClientTest, RefusesAStartupProgramBehindALinkToElsewhere) {
    bench::WriteFile(Outside() / L"elsewhere" / L"run.exe", "MZ");
    SKIP_ON_WINDOWS_WITHOUT(bench::MakeFolderLink(toolFolder / L"link", Outside() / L"elsewhere"),
                            "links for this user");
    toolConfig.startupExe = L"link\\run.exe";
    EXPECT_EQ(FindRefusal(), Refusal::StartupProgramMissing);
}

TEST_F(JudgeClientTest, ConsentsToAStartupProgramByItsFullPath) {
    toolConfig.startupExe = toolFolder / L"bin" / L"start.exe";
    EXPECT_EQ(FindRefusal(), Refusal::None);
}

TEST_F(JudgeClientTest, RefusesWhileTheGameIsRunning) {
    const bench::RunningCopy running(L"child_program.exe", toolFolder / L"bin" / L"start.exe",
                                     L"sleep 60000");
    ASSERT_TRUE(running.Process());
    EXPECT_EQ(FindRefusal(), Refusal::InUse);
}

TEST_F(JudgeClientTest, RefusesWhileTheRepairToolIsRunning) {
    const bench::RunningCopy running(L"child_program.exe", toolFolder / L"repair.exe",
                                     L"sleep 60000");
    ASSERT_TRUE(running.Process());
    EXPECT_EQ(FindRefusal(), Refusal::InUse);
}

TEST_F(JudgeClientTest, DoesNotMindItsOwnOriginalOrReadOnlyPrograms) {
    const bench::RunningCopy running(L"child_program.exe", toolFolder / L"Uninstall.exe",
                                     L"sleep 60000");
    ASSERT_TRUE(running.Process());
    bench::SetReadOnly(toolFolder / L"bin" / L"start.exe", true);
    EXPECT_EQ(FindRefusal(), Refusal::None);
}

TEST_F(JudgeClientTest, DoesNotTakeAnOpenProgramForARunningOne) {
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    for (const DWORD access : {DWORD{GENERIC_READ}, DWORD{GENERIC_WRITE}, DWORD{DELETE}}) {
        const bench::OpenElsewhere open(toolFolder / L"bin" / L"start.exe", kShareAll, access);
        EXPECT_EQ(FindRefusal(), Refusal::None) << access;
    }
}

TEST_F(JudgeClientTest, NamesTheFirstReason) {
    fs::remove(toolFolder / L"bin" / L"start.exe");
    RegisterFolder(Outside());
    EXPECT_EQ(FindRefusal(), Refusal::RegisteredElsewhere);
    RemoveKey(EntryKey());
    EXPECT_EQ(FindRefusal(), Refusal::NotRegistered);
}

TEST_F(JudgeClientTest, ReadsTheRegisteredFolderAsItIsWritten) {
    EXPECT_EQ(RegisteredFolder(toolConfig), toolFolder.native());
    const std::wstring longPath(1000, L'x');
    RegisterFolder(longPath);
    EXPECT_EQ(RegisteredFolder(toolConfig), longPath);
    // Stored without its terminator, as some programs do.
    StoredValue unterminated = StoredText(L"C:\\Games");
    unterminated.bytes.resize(unterminated.bytes.size() - sizeof(wchar_t));
    StoreValue(EntryKey(), L"InstallLocation", unterminated);
    EXPECT_EQ(RegisteredFolder(toolConfig), L"C:\\Games");
}

TEST(IsBelowCanonicalPath, ComparesWholeNames) {
    const struct {
        const wchar_t* path;
        const wchar_t* folder;
        bool below;
    } cases[] = {
        {L"C:\\game\\a", L"C:\\game", true},
        {L"C:\\game\\a\\b", L"C:\\game", true},
        {L"C:\\game", L"C:\\game", false},
        {L"C:\\game2", L"C:\\game", false},
        {L"C:\\game2\\a", L"C:\\game", false},
        {L"C:\\gam", L"C:\\game", false},
        {L"C:\\", L"C:\\game", false},
        {L"C:\\game", L"C:\\", true},
        {L"C:\\", L"C:\\", false},
        {L"D:\\game\\a", L"C:\\game", false},
        {L"C:\\game\\", L"C:\\game", false},
        {L"C:\\game\\a", L"", false},
        {L"", L"C:\\game", false},
        {L"C:\\Game\\a", L"C:\\game", false},
    };
    for (const auto& [path, folder, below] : cases) {
        EXPECT_EQ(IsBelowCanonicalPath(path, folder), below) << path << L" " << folder;
    }
}

}  // namespace
