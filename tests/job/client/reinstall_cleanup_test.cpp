#include "job/client/reinstall_cleanup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "bench_parts/file_hooks.h"
#include "bench_parts/skipping.h"
#include "common/win32_error.h"
#include "job/client/client_folders.h"
#include "job/progress/job_progress.h"

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::UnorderedElementsAre;

namespace {

class ReinstallCleanup : public bench::ClientTest {
protected:
    void ExpectOnlyTheTool() const {
        EXPECT_THAT(Listing(), ElementsAre(L"RepairTool.exe"));
        EXPECT_EQ(bench::ReadFile(Tool()), bench::kToolBytes);
    }
};

}  // namespace

TEST_F(ReinstallCleanup, RemovesEverythingButTheTool) {
    for (const std::wstring name :
         {L"Uninstall.exe", L"settings.ini", L"name with blanks \u00E4\u6F22\U0001F3AE.dat",
          L"data\\maps\\a.map", L"data\\read-only.dat", L"read-only.dat", L"data\\RepairTool.exe",
          L"RepairTool.exe.bak"}) {
        bench::WriteFile(InClient(name), bench::kToolBytes);
    }
    for (int i = 0; i < 200; ++i) {  // More than one call lists.
        bench::WriteFile(InClient(std::to_wstring(i)), "x");
    }
    bench::SetReadOnly(InClient(L"data\\read-only.dat"), true);
    bench::SetReadOnly(InClient(L"read-only.dat"), true);
    fs::create_directories(InClient(L"data\\empty\\deeper"));
    EXPECT_TRUE(PrepareCleanReinstall());
    ExpectOnlyTheTool();
    const JobState state = snapshot();
    EXPECT_EQ(state.stage, JobStage::Finishing);
    EXPECT_EQ(state.statusLine, L"Preparing clean reinstall...");
    EXPECT_EQ(state.detailLine, L"Removing old client files...");
}

TEST_F(ReinstallCleanup, KeepsTheToolHoweverItsPathIsWritten) {
    bench::WriteFile(InClient(L"a.dat"), "a");
    const bench::ToolLocation location(Scratch() / L"GAMES/client",
                                       Scratch() / L"Games/./CLIENT/REPAIRTOOL.EXE");
    EXPECT_TRUE(PrepareCleanReinstall());
    ExpectOnlyTheTool();
}

TEST_F(ReinstallCleanup, KeepsTheToolOfAnyName) {
    bench::WriteFile(InClient(L"Uninstall.exe"), "renamed tool");
    const bench::ToolLocation location(Client(), InClient(L"Uninstall.exe"));
    EXPECT_TRUE(PrepareCleanReinstall());
    EXPECT_THAT(Listing(), ElementsAre(L"Uninstall.exe"));
}

TEST_F(ReinstallCleanup, KeepsTheToolIfItsPathCannotBeResolvedForAMoment) {
    // Some systems let the file of a running program be deleted.
    const std::wstring tool = Tool();
    for (int failingOpen = 1; failingOpen <= 3; ++failingOpen) {
        int opens = 0;
        {
            const auto hook = bench::HookOpen([&](const std::wstring& path) -> DWORD {
                return path == tool && ++opens == failingOpen ? ERROR_SHARING_VIOLATION
                                                              : ERROR_SUCCESS;
            });
            static_cast<void>(PrepareCleanReinstall());
        }
        EXPECT_GE(opens, 2);  // The third would be that of the deletion.
        EXPECT_THAT(Listing(), ElementsAre(L"RepairTool.exe")) << failingOpen;
        resetJobProgress();
    }
}

TEST_F(ReinstallCleanup, EmptiesTheFolderThatALinkLeadsTo) {
    const fs::path link = Scratch() / L"link";
    SKIP_ON_WINDOWS_WITHOUT(bench::MakeFolderLink(link, Client()), "links for this user");
    bench::WriteFile(InClient(L"a.dat"), "a");
    const bench::ToolLocation location(link, link / L"RepairTool.exe");
    EXPECT_TRUE(PrepareCleanReinstall());
    ExpectOnlyTheTool();
}

TEST_F(ReinstallCleanup, KeepsTheTargetsOfLinks) {
    const fs::path elsewhere = Scratch() / L"elsewhere";
    bench::WriteFile(elsewhere / L"photos" / L"precious.jpg", "precious");
    fs::create_directory(InClient(L"sub"));
    SKIP_ON_WINDOWS_WITHOUT(bench::MakeFolderLink(InClient(L"link"), elsewhere) &&
                                bench::MakeFolderLink(InClient(L"sub\\link"), elsewhere),
                            "links for this user");
    EXPECT_TRUE(PrepareCleanReinstall());
    EXPECT_THAT(bench::FolderListing(elsewhere), ElementsAre(L"photos/", L"photos/precious.jpg"));
}

TEST_F(ReinstallCleanup, LeavesFilesInUseWithoutAMessage) {
    for (const std::wstring name : {L"a.dat", L"inUse.dat", L"z.dat", L"data\\a.dat",
                                    L"data\\inUse.dat", L"data\\z\\z.dat"}) {
        bench::WriteFile(InClient(name), "x");
    }
    const bench::OpenElsewhere opened(InClient(L"inUse.dat"), FILE_SHARE_READ);
    const bench::OpenElsewhere below(InClient(L"data\\inUse.dat"), FILE_SHARE_READ);
    EXPECT_TRUE(PrepareCleanReinstall());
    EXPECT_THAT(Listing(),
                UnorderedElementsAre(L"RepairTool.exe", L"data/", L"data/inUse.dat", L"inUse.dat"));
    EXPECT_EQ(snapshot().errorMessage, L"");
    EXPECT_FALSE(jobProgress.failed);
}

TEST_F(ReinstallCleanup, IgnoresACancel) {
    bench::WriteFile(InClient(L"a.dat"), "a");
    jobProgress.cancelRequested = true;
    EXPECT_TRUE(PrepareCleanReinstall());
    ExpectOnlyTheTool();
}

TEST_F(ReinstallCleanup, AMissingFolderHasNothingToRemove) {
    const fs::path missing = Scratch() / L"missing";
    const bench::ToolLocation location(missing, missing / L"tool.exe");
    EXPECT_TRUE(PrepareCleanReinstall());
    EXPECT_EQ(snapshot().stage, JobStage::Finishing);
}

TEST_F(ReinstallCleanup, AnIncompleteListingThrows) {
    std::vector<std::wstring> listed;
    bench::WriteFile(InClient(L"a.dat"), "a");
    bench::WriteFile(InClient(L"b.dat"), "b");
    bench::WriteFile(InClient(L"c.dat"), "c");
    const bench::ListingHook hook([&](WIN32_FIND_DATAW& entry) -> DWORD {
        // Two dot entries, then two more.
        if (listed.size() == 4) {
            return ERROR_NETNAME_DELETED;
        }
        listed.emplace_back(entry.cFileName);
        return ERROR_SUCCESS;
    });
    try {
        static_cast<void>(PrepareCleanReinstall());
        FAIL() << "no exception";
    } catch (const FileSystemError& failure) {
        EXPECT_EQ(failure.error, DWORD{ERROR_NETNAME_DELETED});
        EXPECT_EQ(failure.path, Client());
    }
    // Listed and removed, unless it was the tool.
    for (const std::wstring name : {L"a.dat", L"b.dat", L"c.dat"}) {
        const bool wasListed = std::find(listed.begin(), listed.end(), name) != listed.end();
        EXPECT_EQ(fs::exists(InClient(name)), !wasListed) << fs::path(name);
    }
}

TEST_F(ReinstallCleanup, RefusesAndTouchesNothingWhenTheFolderIsNotSafe) {
    bench::WriteFile(InClient(L"a.dat"), "a");
    jobProgress.running = true;
    const bench::ToolLocation location(Scratch(), Tool());
    EXPECT_FALSE(PrepareCleanReinstall());
    EXPECT_THAT(bench::FolderListing(Scratch()),
                ElementsAre(L"games/", L"games/Client/", L"games/Client/RepairTool.exe",
                            L"games/Client/a.dat", L"package/"));
    ExpectFailure(bench::kUnsafeReinstall);
}
