#include "job/job_flow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <list>
#include <string>

#include "bench_parts/file_hooks.h"
#include "bench_parts/game_machine.h"
#include "bench_parts/registry_entry.h"
#include "config/tool_config.h"
#include "extract/extraction_samples.h"

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using bench::kKernel32;

constexpr wchar_t kUnsafeReinstall[] =
    L"Safety check failed. Reinstall can only run from inside the game client folder.";

class JobFailureTest : public bench::GameMachine {
protected:
    // Lets the next repair fail at that file.
    void PutUnrepairableFile() {
        bench::WriteFile(Client() / L"data" / L"maps" / L"a.map", "broken");
        bench::SetReadOnly(Client() / L"data" / L"maps" / L"a.map", true);
    }
    static constexpr wchar_t kUnrepairable[] = L"Could not repair this file: data\\maps\\a.map";
};

TEST_F(JobFailureTest, NothingIsTouchedBeforeThePackageIsUnpacked) {
    machine_.PutPowerShell();
    machine_.PutSevenZip(machine_.SearchFolder() / L"7z.exe");
    bench::WriteFile(Client() / L"client.exe", "old");
    bench::WriteFile(Client() / L"data" / L"settings.ini", "mine");
    const bench::Contents before = ClientContents();
    struct Row {
        std::wstring url;
        std::wstring message;
        std::wstring digest = L"";
    };
    for (const Row& row :
         {Row{L"", L"No valid CDN package URL is configured."},
          {server_.Url(L"status/404"), L"The server returned HTTP 404."},
          {server_.Url(L"reset/2000000/1000"), L"The download stopped unexpectedly."},
          {PackageUrl(kZip), L"The downloaded package hash does not match the configured SHA-256.",
           std::wstring(64, L'0')},
          {server_.Url(L"body/1000"), bench::kNoArchive},
          {PackageUrl(L"zip_damaged.zip"), bench::kZipFailed},
          {PackageUrl(L"zip_truncated.zip"), bench::kZipFailed},
          {PackageUrl(L"rar5_damaged.rar"), bench::RarFailed(L"7z.exe exit code 2")},
          {PackageUrl(L"rar5_truncated.rar"), bench::RarFailed(L"7z.exe exit code 2")},
          {PackageUrl(L"zip_own_name.zip"),
           L"Could not move extracted client files into place."}}) {
        for (const JobKind kind : {JobKind::Repair, JobKind::Reinstall}) {
            SCOPED_TRACE(fs::path(row.url));
            toolConfig.archiveUrl = row.url;
            toolConfig.archiveSha256 = row.digest;
            RunJob(kind);
            ExpectFailure(row.message);
            EXPECT_THAT(TempFolder(), IsEmpty());
            EXPECT_EQ(bench::FirstDifference(before, ClientContents()), "");
            EXPECT_FALSE(bench::ReadKey(kEntryKey));
            resetForRetry();
        }
    }
}

TEST_F(JobFailureTest, FileThatCannotBeRepairedEndsTheJobAndCleansUp) {
    PutUnrepairableFile();
    RunJob(JobKind::Repair);
    ExpectFailure(kUnrepairable);
    EXPECT_THAT(TempFolder(), IsEmpty());
    EXPECT_FALSE(fs::exists(Client() / L"Uninstall.exe"));
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

TEST_F(JobFailureTest, ReinstallWithOnlyThePackageInTheClientFolderIsRefused) {
    // The two temporary names are asked for one after the other.
    int asked = 0;
    const auto hook = bench::HookCall<decltype(&::GetTempPathW)>(
        kKernel32, "GetTempPathW", [&](DWORD size, LPWSTR path) -> DWORD {
            const fs::path folder = (++asked == 1 ? Client() : machine_.Root()) / L"";
            path[folder.native().copy(path, size)] = L'\0';
            return static_cast<DWORD>(folder.native().size());
        });
    bench::WriteFile(Client() / L"mine", "mine");
    RunJob(JobKind::Reinstall);
    ExpectFailure(kUnsafeReinstall);
    EXPECT_EQ(bench::FirstDifference({{L"mine", "mine"}}, ClientContents()), "");
    EXPECT_EQ(asked, 2);
}

TEST_F(JobFailureTest, IncompleteListingOfTheCleanOutFailsTheJobAndStillCleansUp) {
    bench::WriteFile(Client() / L"a", "x");
    bench::WriteFile(Client() / L"b", "x");
    const bench::ListingHook hook([](WIN32_FIND_DATAW&) -> DWORD {
        // Only the clean-out lists with this status.
        return snapshot().statusLine == L"Preparing clean reinstall..." ? ERROR_READ_FAULT
                                                                        : ERROR_SUCCESS;
    });
    RunJob(JobKind::Reinstall);
    ExpectFailure(L"Could not read the client folder while removing the old client files.");
    EXPECT_FALSE(fs::exists(Client() / L"client.exe"));
    EXPECT_FALSE(bench::ReadKey(kEntryKey));
    EXPECT_THAT(TempFolder(), IsEmpty());
}

// The clean-up.

TEST_F(JobFailureTest, PackageIsKeptIfCleanupArchiveIsOff) {
    toolConfig.cleanupArchive = false;
    for (const bool succeeds : {true, false}) {
        if (!succeeds) {
            PutUnrepairableFile();
        }
        RunJob(JobKind::Repair);
        succeeds ? ExpectSuccess(kRepairSuccess) : ExpectFailure(kUnrepairable);
        const auto isPackage = testing::AllOf(testing::StartsWith(L"KrvBrennickInstaller.exe_"),
                                              testing::EndsWith(L".zip"));
        ASSERT_THAT(TempFolder(), ElementsAre(isPackage));
        fs::remove(fs::temp_directory_path() / TempFolder().front());
        resetForRetry();
    }
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

// A virus scanner opens the package and an unpacked file and keeps them open.
TEST_F(JobFailureTest, LeftoversThatCannotBeRemovedDoNotChangeTheResult) {
    for (const bool succeeds : {true, false}) {
        if (!succeeds) {
            PutUnrepairableFile();
        }
        std::list<bench::OpenElsewhere> scanner;
        const auto hook = bench::HookCopy([&](const std::wstring& source, const auto&) -> DWORD {
            if (scanner.empty()) {
                scanner.emplace_back(source, FILE_SHARE_READ);
                for (const std::wstring& name : TempFolder()) {
                    if (name.ends_with(L".zip")) {
                        scanner.emplace_back(fs::temp_directory_path() / name, FILE_SHARE_READ);
                    }
                }
            }
            return ERROR_SUCCESS;
        });
        RunJob(JobKind::Repair);
        EXPECT_EQ(scanner.size(), 2U);
        succeeds ? ExpectSuccess(kRepairSuccess) : ExpectFailure(kUnrepairable);
        EXPECT_EQ(TempFolder().size(), 2U);
        scanner.clear();
        for (const std::wstring& name : TempFolder()) {
            fs::remove_all(fs::temp_directory_path() / name);
        }
        resetForRetry();
    }
}

}  // namespace
