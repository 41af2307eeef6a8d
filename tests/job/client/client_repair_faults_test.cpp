#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "bench_parts/file_hooks.h"
#include "job/client/client_folders.h"
#include "job/client/client_repair.h"
#include "job/progress/job_progress.h"

namespace fs = std::filesystem;

using testing::ElementsAre;

// Clients and disks that refuse what the repair asks, and cancelled jobs.

namespace {

class ClientRepairFaults : public bench::ClientTest {};

}  // namespace

TEST_F(ClientRepairFaults, ADifferingReadOnlyFileFailsTheRepairButNotTheReinstall) {
    bench::WriteFile(InPackage(L"data\\a.dat"), "new");
    bench::WriteFile(InClient(L"data\\a.dat"), "old");
    bench::SetReadOnly(InClient(L"data\\a.dat"), true);
    EXPECT_FALSE(Repair());
    ExpectFailureOf(L"data\\a.dat");
    EXPECT_EQ(bench::ReadFile(InClient(L"data\\a.dat")), "old");
    EXPECT_TRUE(Reinstall());
    EXPECT_EQ(bench::ReadFile(InClient(L"data\\a.dat")), "new");
}

TEST_F(ClientRepairFaults, TheReadOnlyAttributeIsCopiedToo) {
    bench::WriteFile(InPackage(L"a.dat"), "a");
    bench::SetReadOnly(InPackage(L"a.dat"), true);
    EXPECT_TRUE(Repair());
    EXPECT_EQ(bench::GetWriteTime(InClient(L"a.dat")), bench::GetWriteTime(InPackage(L"a.dat")));
    EXPECT_TRUE(Repair());
    EXPECT_EQ(snapshot().filesRepaired, 0u);
}

TEST_F(ClientRepairFaults, AFileThatCannotBeReadOrOverwrittenFails) {
    struct Row {
        const char* clientBytes;  // The package has "same".
        fs::path opened;          // By another program,
        DWORD shareMode;          // which allows this.
    };
    for (const Row& row :
         {Row{"different", InClient(L"a.dat"), FILE_SHARE_READ}, Row{"same", InClient(L"a.dat"), 0},
          Row{"same", InPackage(L"a.dat"), 0}}) {
        bench::WriteFile(InPackage(L"a.dat"), "same");
        bench::WriteFile(InClient(L"a.dat"), row.clientBytes);
        const bench::OpenElsewhere opened(row.opened, row.shareMode);
        EXPECT_FALSE(Repair());
        ExpectFailureOf(L"a.dat");
        resetJobProgress();
    }
}

TEST_F(ClientRepairFaults, TheToolIsLeftAloneThoughItCannotBeOpened) {
    bench::WriteFile(InPackage(Tool().filename()), "new");
    const bench::OpenElsewhere opened(Tool(), 0);
    EXPECT_TRUE(Repair());
    EXPECT_EQ(snapshot().filesRepaired, 0u);
}

TEST_F(ClientRepairFaults, AReinstallReportsTheFileThatItCouldNeitherRemoveNorOverwrite) {
    bench::WriteFile(InPackage(L"data\\a.dat"), "new");
    bench::WriteFile(InClient(L"data\\a.dat"), "old");
    bench::WriteFile(InClient(L"other.dat"), "old");
    const bench::OpenElsewhere opened(InClient(L"data\\a.dat"), FILE_SHARE_READ);
    EXPECT_FALSE(Reinstall());
    ExpectFailureOf(L"data\\a.dat");
    EXPECT_FALSE(fs::exists(InClient(L"other.dat")));
}

TEST_F(ClientRepairFaults, AFolderInPlaceOfAFileFails) {
    bench::WriteFile(InPackage(L"a.dat"), "a");
    bench::WriteFile(InClient(L"a.dat\\save.dat"), "mine");
    EXPECT_FALSE(Repair());
    ExpectFailureOf(L"a.dat");
    EXPECT_EQ(bench::ReadFile(InClient(L"a.dat\\save.dat")), "mine");
}

TEST_F(ClientRepairFaults, AFileInPlaceOfAFolderFailsWithTheFirstFileOfTheFolder) {
    fs::create_directory(InPackage(L"data"));
    bench::WriteFile(InClient(L"data"), "mine");
    EXPECT_TRUE(Repair()) << "an empty folder";
    bench::WriteFile(InPackage(L"data\\a.dat"), "a");
    EXPECT_FALSE(Repair());
    ExpectFailureOf(L"data\\a.dat");
    EXPECT_EQ(bench::ReadFile(InClient(L"data")), "mine");
}

TEST_F(ClientRepairFaults, AReinstallReplacesFilesByFoldersAndFoldersByFiles) {
    bench::WriteFile(InPackage(L"file"), "file");
    bench::WriteFile(InPackage(L"folder\\a.dat"), "a");
    bench::WriteFile(InClient(L"file\\x"), "x");
    bench::WriteFile(InClient(L"folder"), "x");
    EXPECT_TRUE(Reinstall());
    EXPECT_THAT(Listing(), ElementsAre(L"RepairTool.exe", L"file", L"folder/", L"folder/a.dat"));
}

TEST_F(ClientRepairFaults, AFolderOfThePackageThatCannotBeListedIsSkipped) {
    bench::WriteFile(InPackage(L"locked\\a.dat"), "a");
    bench::WriteFile(InPackage(L"open\\b.dat"), "b");
    const bench::UnreadableFolder locked(InPackage(L"locked"));
    ASSERT_TRUE(locked.Made());
    EXPECT_TRUE(Repair());
    EXPECT_THAT(Listing(), ElementsAre(L"RepairTool.exe", L"locked/", L"open/", L"open/b.dat"));
    EXPECT_EQ(snapshot().filesTotal, 1u);
}

TEST_F(ClientRepairFaults, AnIncompleteListingOfAPackageFolderIsNoFailure) {
    bench::WriteFile(InPackage(L"data\\a.dat"), "a");
    bench::WriteFile(InPackage(L"z.dat"), "z");
    const bench::ListingHook hook([](WIN32_FIND_DATAW& entry) -> DWORD {
        return std::wstring_view(entry.cFileName) == L"a.dat" ? ERROR_CRC : ERROR_SUCCESS;
    });
    EXPECT_TRUE(Repair());
    EXPECT_EQ(bench::ReadFile(InClient(L"z.dat")), "z");
    EXPECT_FALSE(fs::exists(InClient(L"data\\a.dat")));
    EXPECT_EQ(snapshot().filesTotal, 1u);
}

TEST_F(ClientRepairFaults, APackageFolderThatCannotBeResolvedIsCopiedAsListed) {
    bench::WriteFile(InPackage(L"data\\a.dat"), "a");
    const auto hook = bench::RefuseToOpen(Package());
    EXPECT_TRUE(Repair());
    EXPECT_EQ(bench::ReadFile(InClient(L"data\\a.dat")), "a");
    EXPECT_EQ(snapshot().filesRepaired, 1u);
}

TEST_F(ClientRepairFaults, ATimeThatCannotBeSetIsNoFailure) {
    WriteToBoth(L"a.dat", "same");
    bench::SetWriteTime(InPackage(L"a.dat"), 0x01D0'0000'0000'0000);
    int attempts = 0;
    const auto hook = bench::HookCall<decltype(&::SetFileTime)>(
        bench::kKernel32, "SetFileTime", [&](auto...) -> BOOL {
            ++attempts;
            ::SetLastError(ERROR_ACCESS_DENIED);
            return FALSE;
        });
    EXPECT_TRUE(Repair());
    EXPECT_EQ(attempts, 1);
    EXPECT_EQ(snapshot().detailLine, L"All files are already clean.");
}

TEST_F(ClientRepairFaults, ACopyKeepsItsTimeWhenTheSourcesTimeCannotBeRead) {
    bench::WriteFile(InPackage(L"a.dat"), "a");
    bench::SetWriteTime(InPackage(L"a.dat"), 0x01D0'0000'0000'0000);
    const std::wstring source = InPackage(L"a.dat");
    const auto hook = bench::HookAttributes([&](const std::wstring& path) -> DWORD {
        return path == source ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
    });
    EXPECT_TRUE(Repair());
    EXPECT_EQ(bench::GetWriteTime(InClient(L"a.dat")), 0x01D0'0000'0000'0000u);
    EXPECT_EQ(snapshot().filesRepaired, 1u);
}

TEST_F(ClientRepairFaults, ACopyGetsTheSourcesTimeWhereTheSystemDoesNotBringItAlong) {
    bench::WriteFile(InPackage(L"a.dat"), "a");
    const auto hook = bench::HookCall<decltype(&::CopyFileW)>(
        bench::kKernel32, "CopyFileW", [](auto, LPCWSTR target, auto) -> BOOL {
            bench::WriteFile(target, "a");
            bench::SetWriteTime(target, 0x01D0'0000'0000'0001);
            return TRUE;
        });
    EXPECT_TRUE(Repair());
    EXPECT_EQ(bench::GetWriteTime(InClient(L"a.dat")), bench::GetWriteTime(InPackage(L"a.dat")));
}

TEST_F(ClientRepairFaults, ACancelBeforeTheFirstEntryStopsSilently) {
    UpdateJobState([](JobState& state) {
        state.filesDone = state.filesRepaired = 99;
        state.detailLine = L"of an earlier stage";
    });
    jobProgress.cancelRequested = true;
    fs::create_directory(InPackage(L"empty"));
    EXPECT_FALSE(Repair()) << "a folder";
    ExpectNoReport();
    fs::remove(InPackage(L"empty"));
    bench::WriteFile(InPackage(L"a.dat"), "a");
    EXPECT_FALSE(Repair()) << "a file";
    ExpectNoReport();
    ExpectCounters(1, 0, 0);
    EXPECT_EQ(snapshot().detailLine, L"");
    EXPECT_THAT(Listing(), ElementsAre(L"RepairTool.exe"));
}

TEST_F(ClientRepairFaults, ACancelledEmptyPackageIsComplete) {
    jobProgress.cancelRequested = true;
    EXPECT_TRUE(Repair());
    EXPECT_EQ(snapshot().detailLine, L"All files are already clean.");
}

TEST_F(ClientRepairFaults, ACancelBetweenFilesKeepsWhatWasCopied) {
    for (int i = 0; i < 10; ++i) {
        bench::WriteFile(InPackage(std::to_wstring(i)), "x");
    }
    for (const bool reinstall : {false, true}) {
        jobProgress.cancelRequested = false;
        uint64_t copies = 0;
        std::wstring lastName;
        const auto hook =
            bench::HookCopy([&](const std::wstring& source, const std::wstring&) -> DWORD {
                if (++copies == 4) {
                    lastName = fs::path(source).filename();
                    jobProgress.cancelRequested = true;
                }
                return ERROR_SUCCESS;
            });
        EXPECT_FALSE(VerifyAndRepairClient(Package(), reinstall));
        ExpectNoReport();
        EXPECT_EQ(copies, 4u);
        ExpectCounters(10, 4, 3);
        EXPECT_EQ(snapshot().detailLine, (reinstall ? L"Installing " : L"Checking ") + lastName);
        EXPECT_EQ(Listing().size(), 5u);
        fs::remove(InClient(lastName));
    }
}

TEST_F(ClientRepairFaults, ACancelDuringTheLastFileComesTooLate) {
    bench::WriteFile(InPackage(L"a.dat"), "a");
    const auto hook = bench::HookCopy([](const std::wstring&, const std::wstring&) -> DWORD {
        jobProgress.cancelRequested = true;
        return ERROR_SUCCESS;
    });
    EXPECT_TRUE(Repair());
    EXPECT_EQ(snapshot().detailLine, L"Fixed or updated missing/mismatched files.");
}
