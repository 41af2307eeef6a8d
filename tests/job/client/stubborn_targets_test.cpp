#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "bench_parts/running_copy.h"
#include "job/client/client_folders.h"
#include "job/client/client_repair.h"
#include "job/client/reinstall_cleanup.h"
#include "job/progress/job_progress.h"

namespace fs = std::filesystem;

using testing::ElementsAre;

// Client files that the system protects: running, a hard link to the running tool, hidden or system
// files. What Windows refuses must be reported, and nothing else may be lost.

namespace {

constexpr wchar_t kChildProgram[] = L"child_program.exe";
constexpr wchar_t kLongSleep[] = L"sleep 60000";

class StubbornTargets : public bench::ClientTest {
protected:
    bool Repair() const {
        StartRecord();
        return ClientTest::Repair();
    }
    bool Reinstall() const {
        StartRecord();
        return ClientTest::Reinstall();
    }

    // Every file of the package is in the client, byte for byte; the client may hold more.
    void ExpectComplete() const {
        for (const std::wstring& path : bench::FolderListing(Package())) {
            if (!path.ends_with(L'/')) {
                EXPECT_TRUE(bench::ReadFile(InClient(path)) == bench::ReadFile(InPackage(path)))
                    << fs::path(path);
            }
        }
    }

    void ExpectCompleteOrReported(bool succeeded, const std::wstring& relativePath) const {
        if (succeeded) {
            ExpectComplete();
        } else {
            ExpectFailureOf(relativePath);
        }
    }

    static std::string ChildProgramBytes() {
        return bench::ReadFile(bench::FolderOfThisProgram() / kChildProgram);
    }

private:
    static void StartRecord() {
        resetJobProgress();
        jobProgress.running = true;
    }
};

TEST_F(StubbornTargets, ARunningProgramThatDiffersFailsBothJobs) {
    bench::WriteFile(InPackage(L"game.exe"), "new");
    bench::WriteFile(InClient(L"settings.ini"), "mine");
    const bench::RunningCopy game(kChildProgram, InClient(L"game.exe"), kLongSleep);
    ASSERT_TRUE(game.Process());
    EXPECT_FALSE(Repair());
    ExpectFailureOf(L"game.exe");
    EXPECT_EQ(bench::ReadFile(InClient(L"settings.ini")), "mine");
    EXPECT_FALSE(Reinstall());
    ExpectFailureOf(L"game.exe");
    EXPECT_THAT(Listing(), ElementsAre(L"RepairTool.exe", L"game.exe"));
    EXPECT_TRUE(bench::ReadFile(InClient(L"game.exe")) == ChildProgramBytes());
}

TEST_F(StubbornTargets, ARunningProgramThatMatchesThePackageIsClean) {
    bench::WriteFile(InPackage(L"game.exe"), ChildProgramBytes());
    const bench::RunningCopy game(kChildProgram, InClient(L"game.exe"), kLongSleep);
    ASSERT_TRUE(game.Process());
    EXPECT_TRUE(Repair());
    EXPECT_EQ(snapshot().detailLine, L"All files are already clean.");
}

TEST_F(StubbornTargets, AHardLinkToTheRunningToolIsReportedAndTheToolKeepsItsBytes) {
    const bench::RunningCopy tool(kChildProgram, Tool(), kLongSleep);
    ASSERT_TRUE(tool.Process());
    ASSERT_TRUE(::CreateHardLinkW(InClient(L"launcher.exe").c_str(), Tool().c_str(), nullptr));
    bench::WriteFile(InPackage(L"launcher.exe"), "the game's own launcher");
    EXPECT_FALSE(Repair());
    ExpectFailureOf(L"launcher.exe");
    EXPECT_TRUE(bench::ReadFile(Tool()) == ChildProgramBytes());

    ExpectCompleteOrReported(Reinstall(), L"launcher.exe");
    EXPECT_TRUE(bench::ReadFile(Tool()) == ChildProgramBytes());

    fs::remove(InPackage(L"launcher.exe"));
    bench::WriteFile(InPackage(L"a.dat"), "new");
    EXPECT_TRUE(Reinstall()) << "the link is not in the package";
    ExpectComplete();
    EXPECT_EQ(::WaitForSingleObject(tool.Process(), 0), static_cast<DWORD>(WAIT_TIMEOUT));
}

TEST_F(StubbornTargets, TheCleanOutOfAHardLinkToTheToolLeavesTheTool) {
    // The tool does not run here, so only the code protects its file.
    ASSERT_TRUE(::CreateHardLinkW(InClient(L"launcher.exe").c_str(), Tool().c_str(), nullptr));
    EXPECT_TRUE(PrepareCleanReinstall());
    EXPECT_THAT(Listing(), ElementsAre(L"RepairTool.exe"));
    EXPECT_EQ(bench::ReadFile(Tool()), bench::kToolBytes);
}

TEST_F(StubbornTargets, HiddenAndSystemFilesAreRepairedOrReportedAndReinstalled) {
    // Windows refuses to overwrite them.
    for (const DWORD attributes : {DWORD{FILE_ATTRIBUTE_SYSTEM}, DWORD{FILE_ATTRIBUTE_HIDDEN},
                                   DWORD{FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_HIDDEN}}) {
        bench::WriteFile(InPackage(L"a.dat"), "new");
        bench::WriteFile(InClient(L"a.dat"), "old");
        ASSERT_TRUE(::SetFileAttributesW(InClient(L"a.dat").c_str(), attributes));
        const bool repaired = Repair();
        ExpectCompleteOrReported(repaired, L"a.dat");
        EXPECT_EQ(bench::ReadFile(InClient(L"a.dat")), repaired ? "new" : "old");
        EXPECT_TRUE(Reinstall());
        ExpectComplete();
        fs::remove(InClient(L"a.dat"));
    }
}

}  // namespace
