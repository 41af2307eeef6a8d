#include "job/job_flow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

#include "bench_parts/environment_variable.h"
#include "bench_parts/file_hooks.h"
#include "bench_parts/game_machine.h"
#include "bench_parts/registry_entry.h"
#include "common/tool_instance.h"
#include "config/tool_config.h"

namespace fs = std::filesystem;

namespace {

constexpr wchar_t kNoUrl[] = L"No valid CDN package URL is configured.";

using testing::IsEmpty;
using testing::SizeIs;

class JobFailureTest : public bench::GameMachine {};

using bench::kKernel32;

TEST_F(JobFailureTest, UrlWithoutAnAcceptedSchemeIsRefused) {
    for (const std::wstring& url :
         {std::wstring(), std::wstring(L" \t"), std::wstring(L"ftp://h/a"),
          L"HTTP" + PackageUrl(kZip).substr(4)}) {
        toolConfig.archiveUrl = url;
        RunJob(JobKind::Repair);
        ExpectFailure(kNoUrl);
        EXPECT_THAT(TempFolder(), IsEmpty());
        resetForRetry();
    }
    EXPECT_THAT(server_.RequestLog(), IsEmpty());
    EXPECT_THAT(ClientContents(), IsEmpty());
}

TEST_F(JobFailureTest, FailedDownloadHashCheckOrUnpackingLeavesNothingBehind) {
    machine_.PutSevenZip(machine_.SearchFolder() / L"7z.exe");
    struct Row {
        const wchar_t* behavior;  // Of the server.
        const wchar_t* message;
        bool checksHash = false;
    };
    for (const Row& row :
         {Row{L"status/404", L"The server returned HTTP 404."},
          {L"archive/zip_lone_folder.zip",
           L"The downloaded package hash does not match the configured SHA-256.", true},
          {L"archive/rar5_damaged.rar",
           L"RAR extraction failed with 7z.exe exit code 2.\nCheck that the CDN file is a "
           L"complete, non-password-protected .rar archive. If it still fails, install 7-Zip or "
           L"place 7z.exe beside this tool."},
          {L"body/1000",
           L"The downloaded package is not a valid ZIP or RAR archive.\nCheck that the CDN URL "
           L"points directly to the client .zip/.rar file, not an installer EXE or website "
           L"page."}}) {
        toolConfig.archiveUrl = server_.Url(row.behavior);
        toolConfig.archiveSha256 = row.checksHash ? std::wstring(64, L'0') : std::wstring();
        RunJob(JobKind::Repair);
        ExpectFailure(row.message);
        EXPECT_THAT(TempFolder(), IsEmpty());
        EXPECT_THAT(ClientContents(), IsEmpty());
        EXPECT_FALSE(bench::ReadKey(kEntryKey));
        resetForRetry();
    }
}

TEST_F(JobFailureTest, FileThatCannotBeRepairedEndsTheJobAndCleansUp) {
    bench::WriteFile(Client() / L"data" / L"maps" / L"a.map", "broken");
    bench::SetReadOnly(Client() / L"data" / L"maps" / L"a.map", true);
    RunJob(JobKind::Repair);
    ExpectFailure(L"Could not repair this file: data\\maps\\a.map");
    EXPECT_THAT(TempFolder(), IsEmpty());
    EXPECT_EQ(::GetFileAttributesW((Client() / L"Uninstall.exe").c_str()), INVALID_FILE_ATTRIBUTES);
    EXPECT_FALSE(bench::ReadKey(kEntryKey));
}

TEST_F(JobFailureTest, UninstallerThatCannotBeWrittenFailsWithTheClientInPlace) {
    bench::WriteFile(Client() / L"Uninstall.exe", "old");
    const bench::OpenElsewhere open(Client() / L"Uninstall.exe", FILE_SHARE_READ);
    RunJob(JobKind::Repair);
    ExpectFailure(L"Could not write Uninstall.exe to the client folder.");
    EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
    EXPECT_THAT(TempFolder(), IsEmpty());
    EXPECT_FALSE(bench::ReadKey(kEntryKey));
}

TEST_F(JobFailureTest, FailedRegistrationCountsAsFailureWithTheUninstallerWritten) {
    toolConfig.programsDisplayName = std::wstring(300, L'n');  // Longer than a key name may be.
    RunJob(JobKind::Repair);
    ExpectFailure(L"Could not register the game in Programs and Features.");
    EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
    EXPECT_EQ(bench::ReadFile(Client() / L"Uninstall.exe"), "the uninstaller's bytes");
    EXPECT_THAT(TempFolder(), IsEmpty());
}

TEST_F(JobFailureTest, ReinstallOutsideAClientFolderIsRefusedAndDeletesNothing) {
    bench::WriteFile(Client() / L"mine", "mine");
    toolExePath = machine_.Root() / L"repair.exe";
    RunJob(JobKind::Reinstall);
    toolExePath = Tool();
    ExpectFailure(
        L"Safety check failed. Reinstall can only run from inside the game client folder.");
    EXPECT_EQ(bench::FirstDifference({{L"mine", "mine"}}, ClientContents()), "");
    EXPECT_THAT(TempFolder(), IsEmpty());
    EXPECT_FALSE(bench::ReadKey(kEntryKey));
}

TEST_F(JobFailureTest, ReinstallWithTheTemporaryFolderInTheClientFolderIsRefused) {
    const fs::path temp = Client() / L"temp";
    fs::create_directory(temp);
    bench::WriteFile(Client() / L"mine", "mine");
    const bench::EnvironmentVariable tmp(L"TMP", temp);
    RunJob(JobKind::Reinstall);
    ExpectFailure(
        L"Safety check failed. Reinstall can only run from inside the game client folder.");
    EXPECT_EQ(bench::FirstDifference({{L"mine", "mine"}, {L"temp/", ""}}, ClientContents()), "");
    resetForRetry();
    RunJob(JobKind::Repair);
    ExpectSuccess(kRepairSuccess);
}

TEST_F(JobFailureTest, ReinstallWithOnlyThePackageInTheClientFolderIsRefused) {
    // The two names are asked for one after the other.
    const fs::path temp = Client() / L"temp";
    fs::create_directory(temp);
    int asked = 0;
    const auto hook = bench::HookCall<decltype(&::GetTempPathW)>(
        kKernel32, "GetTempPathW", [&](DWORD size, LPWSTR path) -> DWORD {
            const bench::EnvironmentVariable tmp(
                L"TMP", ++asked == 1 ? temp.native() : machine_.Root().native());
            return bench::RealFunction<decltype(&::GetTempPathW)>(kKernel32, "GetTempPathW")(size,
                                                                                             path);
        });
    bench::WriteFile(Client() / L"mine", "mine");
    RunJob(JobKind::Reinstall);
    ExpectFailure(
        L"Safety check failed. Reinstall can only run from inside the game client folder.");
    EXPECT_EQ(bench::ReadFile(Client() / L"mine"), "mine");
    EXPECT_EQ(asked, 2);
}

TEST_F(JobFailureTest, ToolWithoutAnUninstallerFailsWithTheRegistrationsMessage) {
    const auto hook = bench::HookCall<decltype(&::FindResourceW)>(
        kKernel32, "FindResourceW", [](auto...) -> HRSRC { return nullptr; });
    RunJob(JobKind::Repair);
    ExpectFailure(
        L"Could not register Programs and Features because Uninstall.exe was not written.");
    EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
    EXPECT_FALSE(bench::ReadKey(kEntryKey));
}

TEST_F(JobFailureTest, EntryThatCannotBeFinishedFailsTheJob) {
    const auto hook = bench::HookCall<decltype(&::RegSetValueExW)>(
        L"advapi32.dll", "RegSetValueExW", [](auto...) -> LSTATUS { return ERROR_ACCESS_DENIED; });
    RunJob(JobKind::Repair);
    ExpectFailure(L"Could not finish writing the Programs and Features registry entry.");
    EXPECT_THAT(TempFolder(), IsEmpty());
}

TEST_F(JobFailureTest, IncompleteListingOfTheCleanOutFailsTheJobAndStillCleansUp) {
    bench::WriteFile(Client() / L"a", "x");
    bench::WriteFile(Client() / L"b", "x");
    const auto hook = bench::HookCall<decltype(&::FindNextFileW)>(
        kKernel32, "FindNextFileW", [](HANDLE listing, LPWIN32_FIND_DATAW found) -> BOOL {
            // Only the clean-out lists with this status.
            if (snapshot().statusLine == L"Preparing clean reinstall...") {
                ::SetLastError(ERROR_READ_FAULT);
                return FALSE;
            }
            return bench::RealFunction<decltype(&::FindNextFileW)>(kKernel32, "FindNextFileW")(
                listing, found);
        });
    RunJob(JobKind::Reinstall);
    ExpectFailure(L"Could not read the client folder while removing the old client files.");
    EXPECT_FALSE(ClientContents().contains(L"client.exe"));
    EXPECT_FALSE(bench::ReadKey(kEntryKey));
    EXPECT_THAT(TempFolder(), IsEmpty());
}

// The clean-up.

TEST_F(JobFailureTest, PackageIsKeptIfCleanupArchiveIsOff) {
    toolConfig.cleanupArchive = false;
    const auto expectNothingButThePackage = [&] {
        ASSERT_THAT(TempFolder(), SizeIs(1));
        EXPECT_TRUE(TempFolder().front().starts_with(L"KrvBrennickInstaller.exe_"));
        EXPECT_TRUE(TempFolder().front().ends_with(L".zip"));
        fs::remove(fs::temp_directory_path() / TempFolder().front());
    };
    RunJob(JobKind::Repair);
    ExpectSuccess(kRepairSuccess);
    expectNothingButThePackage();
    resetForRetry();

    toolConfig.archiveSha256 = std::wstring(64, L'0');
    RunJob(JobKind::Repair);
    ExpectFailure(L"The downloaded package hash does not match the configured SHA-256.");
    expectNothingButThePackage();
    resetForRetry();

    // With the scratch folder filled.
    toolConfig.archiveSha256.clear();
    bench::WriteFile(Client() / L"data" / L"maps" / L"a.map", "broken");
    bench::SetReadOnly(Client() / L"data" / L"maps" / L"a.map", true);
    RunJob(JobKind::Repair);
    ExpectFailure(L"Could not repair this file: data\\maps\\a.map");
    expectNothingButThePackage();
}

TEST_F(JobFailureTest, ArchiveIsRemovedAsASingleFileNeverAsATree) {
    // A folder has the very name.
    const auto ticks = bench::HookCall<decltype(&::GetTickCount64)>(
        kKernel32, "GetTickCount64", []() -> ULONGLONG { return 42; });
    const fs::path archive =
        fs::temp_directory_path() /
        (L"KrvBrennickInstaller.exe_" + std::to_wstring(::GetCurrentProcessId()) + L"_42.zip");
    bench::WriteFile(archive / L"file", "kept");
    RunJob(JobKind::Repair);
    ExpectFailure(L"Could not create the temporary download file.");
    EXPECT_EQ(bench::ReadFile(archive / L"file"), "kept");
}

TEST_F(JobFailureTest, ScratchFolderThatCannotBeRemovedDoesNotPreventTheSuccess) {
    // A virus scanner keeps one of its files open.
    std::unique_ptr<bench::OpenElsewhere> scanner;
    const auto hook =
        bench::HookCopy([&](const std::wstring& source, const std::wstring&) -> DWORD {
            if (!scanner) {
                scanner = std::make_unique<bench::OpenElsewhere>(source, FILE_SHARE_READ);
            }
            return ERROR_SUCCESS;
        });
    RunJob(JobKind::Repair);
    scanner.reset();
    ExpectSuccess(kRepairSuccess);
    ASSERT_THAT(TempFolder(), SizeIs(1));
    EXPECT_TRUE(TempFolder().front().starts_with(L"KrvBrennickRepair_"));
}

}  // namespace
