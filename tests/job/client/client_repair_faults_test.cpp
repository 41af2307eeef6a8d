#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "job/client/client_folders.h"
#include "job/client/client_repair.h"
#include "job/client/file_hooks.h"
#include "job/progress/job_progress.h"

namespace fs = std::filesystem;

using testing::ElementsAre;

// Clients and disks that do not cooperate, and players who change their mind.

namespace {

class ClientRepairFaults : public testing::Test, protected bench::ClientFolders {
protected:
    ClientRepairFaults() {
        jobProgress.running = true;
    }

    bool Repair() const {
        return VerifyAndRepairClient(Package(), false);
    }
    bool Reinstall() const {
        return VerifyAndRepairClient(Package(), true);
    }
};

void ExpectFailureOf(const std::wstring& relativePath) {
    const JobState state = snapshot();
    EXPECT_EQ(state.errorMessage, L"Could not repair this file: " + relativePath);
    EXPECT_EQ(state.detailLine, state.errorMessage);
    EXPECT_EQ(state.statusLine, L"Repair failed.");
    EXPECT_EQ(state.stage, JobStage::Failed);
    EXPECT_TRUE(jobProgress.failed);
    EXPECT_TRUE(jobProgress.finished);
    EXPECT_FALSE(jobProgress.running);
}

void ExpectNoReport() {
    EXPECT_EQ(snapshot().errorMessage, L"");
    EXPECT_EQ(snapshot().stage, JobStage::Finishing);
    EXPECT_FALSE(jobProgress.failed);
    EXPECT_FALSE(jobProgress.finished);
    EXPECT_TRUE(jobProgress.running);
}

}  // namespace

TEST_F(ClientRepairFaults, ADifferingReadOnlyFileFails) {
    bench::WriteFile(InPackage(L"data\\a.dat"), "new");
    bench::WriteFile(InClient(L"data\\a.dat"), "old");
    bench::SetReadOnly(InClient(L"data\\a.dat"), true);
    EXPECT_FALSE(Repair());
    ExpectFailureOf(L"data\\a.dat");
    EXPECT_EQ(bench::ReadFile(InClient(L"data\\a.dat")), "old");
}

TEST_F(ClientRepairFaults, AnIdenticalReadOnlyFileIsFine) {
    WriteToBoth(L"a.dat", "same");
    bench::SetReadOnly(InClient(L"a.dat"), true);
    EXPECT_TRUE(Repair());
}

TEST_F(ClientRepairFaults, AReinstallReplacesReadOnlyFiles) {
    bench::WriteFile(InPackage(L"a.dat"), "new");
    bench::WriteFile(InClient(L"a.dat"), "old");
    bench::SetReadOnly(InClient(L"a.dat"), true);
    EXPECT_TRUE(Reinstall());
    EXPECT_EQ(bench::ReadFile(InClient(L"a.dat")), "new");
}

TEST_F(ClientRepairFaults, TheReadOnlyMarkComesAlongAndDoesNotDisturb) {
    bench::WriteFile(InPackage(L"a.dat"), "a");
    bench::SetReadOnly(InPackage(L"a.dat"), true);
    EXPECT_TRUE(Repair());
    EXPECT_EQ(bench::GetWriteTime(InClient(L"a.dat")), bench::GetWriteTime(InPackage(L"a.dat")));
    EXPECT_TRUE(Repair());
    EXPECT_EQ(snapshot().filesRepaired, 0u);
}

TEST_F(ClientRepairFaults, ADifferingFileInUseFails) {
    bench::WriteFile(InPackage(L"a.dat"), "new");
    bench::WriteFile(InClient(L"a.dat"), "old");
    const bench::OpenElsewhere opened(InClient(L"a.dat"), FILE_SHARE_READ);
    EXPECT_FALSE(Repair());
    ExpectFailureOf(L"a.dat");
}

TEST_F(ClientRepairFaults, AnIdenticalFileThatCannotBeReadFails) {
    WriteToBoth(L"a.dat", "same");
    const bench::OpenElsewhere opened(InClient(L"a.dat"), 0);
    EXPECT_FALSE(Repair());
    ExpectFailureOf(L"a.dat");
}

TEST_F(ClientRepairFaults, AnUnreadableFileOfThePackageFails) {
    WriteToBoth(L"a.dat", "same");
    const bench::OpenElsewhere opened(InPackage(L"a.dat"), 0);
    EXPECT_FALSE(Repair());
    ExpectFailureOf(L"a.dat");
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

TEST_F(ClientRepairFaults, AFolderWhereAFileShouldBeFails) {
    bench::WriteFile(InPackage(L"a.dat"), "a");
    bench::WriteFile(InClient(L"a.dat\\save.dat"), "mine");
    EXPECT_FALSE(Repair());
    ExpectFailureOf(L"a.dat");
    EXPECT_EQ(bench::ReadFile(InClient(L"a.dat\\save.dat")), "mine");
}

TEST_F(ClientRepairFaults, AFileWhereAFolderShouldBeFailsWithTheFirstFileBelow) {
    bench::WriteFile(InPackage(L"data\\a.dat"), "a");
    bench::WriteFile(InClient(L"data"), "mine");
    EXPECT_FALSE(Repair());
    ExpectFailureOf(L"data\\a.dat");
    EXPECT_EQ(bench::ReadFile(InClient(L"data")), "mine");
}

TEST_F(ClientRepairFaults, AFileWhereAnEmptyFolderShouldBeIsNoFailure) {
    fs::create_directory(InPackage(L"data"));
    bench::WriteFile(InClient(L"data"), "mine");
    EXPECT_TRUE(Repair());
    EXPECT_EQ(bench::ReadFile(InClient(L"data")), "mine");
}

TEST_F(ClientRepairFaults, AReinstallHealsFilesAndFoldersThatChangedPlaces) {
    bench::WriteFile(InPackage(L"file"), "file");
    bench::WriteFile(InPackage(L"folder\\a.dat"), "a");
    bench::WriteFile(InClient(L"file\\x"), "x");
    bench::WriteFile(InClient(L"folder"), "x");
    EXPECT_TRUE(Reinstall());
    EXPECT_THAT(bench::FolderListing(Client()),
                ElementsAre(L"RepairTool.exe", L"file", L"folder/", L"folder/a.dat"));
}

TEST_F(ClientRepairFaults, AFullDiskFailsAtTheFileAndKeepsWhatWasCopied) {
    for (const wchar_t* name : {L"a.dat", L"b.dat", L"c.dat"}) {
        bench::WriteFile(InPackage(name), "content");
    }
    std::vector<std::wstring> copied;
    {
        const bench::CopyHook hook(
            [&](const std::wstring& source, const std::wstring& target) -> DWORD {
                copied.push_back(fs::path(source).filename());
                if (copied.size() < 2) {
                    return ERROR_SUCCESS;
                }
                bench::WriteFile(target, "con");  // The system leaves what it has written so far.
                return ERROR_DISK_FULL;
            });
        EXPECT_FALSE(Repair());
    }
    ASSERT_EQ(copied.size(), 2u);
    ExpectFailureOf(copied[1]);
    EXPECT_EQ(snapshot().filesDone, 2u);
    EXPECT_EQ(snapshot().filesRepaired, 1u);
    EXPECT_EQ(bench::ReadFile(InClient(copied[0])), "content");

    EXPECT_TRUE(Repair()) << "once there is room";
    EXPECT_EQ(snapshot().filesRepaired, 2u);
    EXPECT_EQ(bench::ReadFile(InClient(copied[1])), "content");
}

TEST_F(ClientRepairFaults, AFileOfThePackageThatVanishesFails) {
    bench::WriteFile(InPackage(L"a.dat"), "a");
    const bench::CopyHook hook([](const std::wstring& source, const std::wstring&) -> DWORD {
        fs::remove(source);
        return ERROR_SUCCESS;
    });
    EXPECT_FALSE(Repair());
    ExpectFailureOf(L"a.dat");
}

TEST_F(ClientRepairFaults, AFolderOfThePackageThatCannotBeListedIsSkipped) {
    bench::WriteFile(InPackage(L"locked\\a.dat"), "a");
    bench::WriteFile(InPackage(L"open\\b.dat"), "b");
    const bench::UnreadableFolder locked(InPackage(L"locked"));
    ASSERT_TRUE(locked.Made());
    EXPECT_TRUE(Repair());
    EXPECT_THAT(bench::FolderListing(Client()),
                ElementsAre(L"RepairTool.exe", L"locked/", L"open/", L"open/b.dat"));
    EXPECT_EQ(snapshot().filesTotal, 1u);
}

TEST_F(ClientRepairFaults, AListingOfThePackageThatBreaksOffIsNoFailure) {
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
    const std::wstring package = Package();
    const bench::OpenHook hook([&](const std::wstring& path) -> DWORD {
        return path == package ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
    });
    EXPECT_TRUE(Repair());
    EXPECT_EQ(bench::ReadFile(InClient(L"data\\a.dat")), "a");
    EXPECT_EQ(snapshot().filesRepaired, 1u);
}

TEST_F(ClientRepairFaults, ATimeThatCannotBeSetIsNoFailure) {
    WriteToBoth(L"a.dat", "same");
    bench::SetWriteTime(InPackage(L"a.dat"), 0x01D0'0000'0000'0000);
    const uint64_t time = bench::GetWriteTime(InClient(L"a.dat"));
    int openCount = 0;
    {
        const std::wstring target = InClient(L"a.dat");
        // The first opening is the comparison's.
        const bench::OpenHook hook([&](const std::wstring& path) -> DWORD {
            return path == target && ++openCount > 1 ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
        });
        EXPECT_TRUE(Repair());
    }
    EXPECT_EQ(openCount, 2);
    EXPECT_EQ(bench::GetWriteTime(InClient(L"a.dat")), time);
    EXPECT_EQ(snapshot().detailLine, L"All files are already clean.");
}

TEST_F(ClientRepairFaults, ACopyKeepsItsTimeWhenTheSourcesTimeCannotBeRead) {
    bench::WriteFile(InPackage(L"a.dat"), "a");
    bench::SetWriteTime(InPackage(L"a.dat"), 0x01D0'0000'0000'0000);
    const std::wstring source = InPackage(L"a.dat");
    const bench::LookHook hook([&](const std::wstring& path) -> DWORD {
        return path == source ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
    });
    EXPECT_TRUE(Repair());
    EXPECT_EQ(bench::GetWriteTime(InClient(L"a.dat")), 0x01D0'0000'0000'0000u);
    EXPECT_EQ(snapshot().filesRepaired, 1u);
}

TEST_F(ClientRepairFaults, ACopyGetsTheSourcesTimeWhereTheSystemDoesNotBringItAlong) {
    bench::WriteFile(InPackage(L"a.dat"), "a");
    const std::wstring source = InPackage(L"a.dat");
    bool isCopied = false;
    const bench::CopyHook copyHook([&](const std::wstring&, const std::wstring&) -> DWORD {
        isCopied = true;
        return ERROR_SUCCESS;
    });
    // The source's time changes between the copy and the look at it.
    const bench::LookHook lookHook([&](const std::wstring& path) -> DWORD {
        if (path == source && isCopied) {
            bench::SetWriteTime(source, 0x01D0'0000'0000'0001);
        }
        return ERROR_SUCCESS;
    });
    EXPECT_TRUE(Repair());
    EXPECT_EQ(bench::GetWriteTime(InClient(L"a.dat")), 0x01D0'0000'0000'0001u);
}

TEST_F(ClientRepairFaults, ACancelBeforeTheFirstEntryStopsSilently) {
    bench::WriteFile(InPackage(L"a.dat"), "a");
    UpdateJobState([](JobState& state) {
        state.filesDone = state.filesRepaired = 99;
        state.detailLine = L"of an earlier stage";
    });
    jobProgress.cancelRequested = true;
    EXPECT_FALSE(Repair());
    ExpectNoReport();
    EXPECT_EQ(snapshot().filesTotal, 1u);
    EXPECT_EQ(snapshot().filesDone, 0u);
    EXPECT_EQ(snapshot().filesRepaired, 0u);
    EXPECT_EQ(snapshot().detailLine, L"");
    EXPECT_FALSE(fs::exists(InClient(L"a.dat")));
}

TEST_F(ClientRepairFaults, ACancelBeforeAFolderStopsToo) {
    fs::create_directory(InPackage(L"empty"));
    jobProgress.cancelRequested = true;
    EXPECT_FALSE(Repair());
    ExpectNoReport();
    EXPECT_FALSE(fs::exists(InClient(L"empty")));
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
        const bench::CopyHook hook([&](const std::wstring& source, const std::wstring&) -> DWORD {
            if (++copies == 4) {
                lastName = fs::path(source).filename();
                jobProgress.cancelRequested = true;
            }
            return ERROR_SUCCESS;
        });
        EXPECT_FALSE(VerifyAndRepairClient(Package(), reinstall));
        ExpectNoReport();
        EXPECT_EQ(copies, 4u);
        EXPECT_EQ(snapshot().filesDone, 4u);
        EXPECT_EQ(snapshot().filesRepaired, 3u);
        EXPECT_EQ(snapshot().detailLine, (reinstall ? L"Installing " : L"Checking ") + lastName);
        EXPECT_EQ(bench::FolderListing(Client()).size(), 5u);
        fs::remove(InClient(lastName));
    }
}

TEST_F(ClientRepairFaults, ACancelDuringTheLastFileComesTooLate) {
    bench::WriteFile(InPackage(L"a.dat"), "a");
    const bench::CopyHook hook([](const std::wstring&, const std::wstring&) -> DWORD {
        jobProgress.cancelRequested = true;
        return ERROR_SUCCESS;
    });
    EXPECT_TRUE(Repair());
    EXPECT_EQ(snapshot().detailLine, L"Fixed or updated missing/mismatched files.");
}

TEST_F(ClientRepairFaults, AnotherThreadSeesProgressAndCancels) {
    constexpr uint64_t kFileCount = 150;
    for (uint64_t i = 0; i < kFileCount; ++i) {
        bench::WriteFile(InPackage(std::to_wstring(i)), "x");
    }
    std::atomic<bool> ended = false;
    std::thread window([&] {
        while (!ended && snapshot().filesDone < 20) {
            std::this_thread::yield();
        }
        requestCancel();
    });
    // The job waits for the window before the last file, so that the cancel always comes in time.
    uint64_t copies = 0;
    const bench::CopyHook hook([&](const std::wstring&, const std::wstring&) -> DWORD {
        if (++copies == kFileCount - 1) {
            while (!jobProgress.cancelRequested) {
                std::this_thread::yield();
            }
        }
        return ERROR_SUCCESS;
    });
    EXPECT_FALSE(Repair());
    ended = true;
    window.join();
    ExpectNoReport();
    EXPECT_GE(snapshot().filesDone, 20u);
    EXPECT_LT(snapshot().filesDone, kFileCount);
}
