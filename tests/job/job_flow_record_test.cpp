#include "job/job_flow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "bench_parts/file_hooks.h"
#include "bench_parts/game_machine.h"
#include "bench_parts/waiting.h"
#include "common/tool_instance.h"
#include "config/tool_config.h"
#include "job/job_thread.h"
#include "package/package_source.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class JobRecordTest : public bench::GameMachine {};

using bench::kKernel32;

// What a player sees: the record at system calls of the job's beginning and of the two steps of
// finishing.
TEST_F(JobRecordTest, ShowsItsBeginningAndTheTwoStepsOfFinishing) {
    using Texts = std::pair<std::wstring, std::wstring>;
    std::vector<std::pair<JobStage, Texts>> seen;
    const auto note = [&](auto...) {
        const JobState state = snapshot();
        seen.push_back({state.stage, {state.statusLine, state.detailLine}});
    };
    const auto temp = bench::WatchCall<decltype(&::GetTempPathW)>(kKernel32, "GetTempPathW", note);
    const auto resource =
        bench::WatchCall<decltype(&::FindResourceW)>(kKernel32, "FindResourceW", note);
    const auto key =
        bench::WatchCall<decltype(&::RegCreateKeyExW)>(bench::kAdvapi32, "RegCreateKeyExW", note);
    for (const auto& [kind, status] : {std::pair{JobKind::Repair, L"Starting repair..."},
                                       {JobKind::Reinstall, L"Starting reinstall..."}}) {
        seen.clear();
        RunJob(kind);
        seen.erase(std::unique(seen.begin(), seen.end()), seen.end());
        EXPECT_THAT(
            seen,
            ElementsAre(
                Pair(JobStage::Downloading, Texts(status, L"Preparing CDN package...")),
                Pair(JobStage::Finishing, Texts(L"Finishing...", L"Writing Uninstall.exe...")),
                Pair(JobStage::Finishing,
                     Texts(L"Finishing...", L"Registering Programs and Features entry..."))));
        resetForRetry();
    }
}

TEST_F(JobRecordTest, TheJobsBodySetsItsKindItself) {
    toolConfig.archiveUrl.clear();
    ASSERT_EQ(snapshot().kind, JobKind::None);
    runJob(JobKind::Reinstall);
    EXPECT_EQ(snapshot().kind, JobKind::Reinstall);
    ExpectFailure(L"No valid CDN package URL is configured.");
}

// The end.

TEST_F(JobRecordTest, OnlySuccessPostsOneMessageToTheWindowAfterTheRecordSaysDone) {
    mainWindow = ::GetDesktopWindow();  // Nothing arrives there: the posting is hooked.
    int posts = 0;
    const auto hook = bench::HookCall<decltype(&::PostMessageW)>(
        L"user32.dll", "PostMessageW",
        [&](HWND window, UINT message, WPARAM wParam, LPARAM lParam) -> BOOL {
            ++posts;
            EXPECT_EQ(window, ::GetDesktopWindow());
            EXPECT_EQ(message, 0x8001u);
            EXPECT_EQ(wParam, 0u);
            EXPECT_EQ(lParam, 0);
            EXPECT_EQ(snapshot().stage, JobStage::Done);
            return TRUE;
        });
    RunJob(JobKind::Repair);
    EXPECT_EQ(posts, 1);
    resetForRetry();
    RunJob(JobKind::Repair, server_.Url(L"status/404"));
    EXPECT_EQ(posts, 1);
    mainWindow = nullptr;
}

TEST_F(JobRecordTest, SuccessIsPublishedAfterTheCleanUp) {
    int removals = 0;
    const auto hook = bench::HookCall<decltype(&::SetFileInformationByHandle)>(
        kKernel32, "SetFileInformationByHandle", [&](auto...) -> BOOL {
            ++removals;
            EXPECT_TRUE(jobProgress.running);
            EXPECT_NE(snapshot().stage, JobStage::Done);
            ::SetLastError(ERROR_NOT_SUPPORTED);
            return FALSE;
        });
    RunJob(JobKind::Repair);
    ExpectSuccess(kRepairSuccess);
    EXPECT_GT(removals, 2);
    EXPECT_THAT(TempFolder(), IsEmpty());
}

// Starting and resetting.

TEST_F(JobRecordTest, StartIsRefusedWithoutAnyEffectBeforeTheLastJobIsCollected) {
    ASSERT_TRUE(StartJob(JobKind::Repair, server_.Url(L"status/404")));
    const std::wstring firstUrl = selectedPackageUrl;
    EXPECT_FALSE(StartJob(JobKind::Reinstall, PackageUrl(kZip)));
    EXPECT_EQ(selectedPackageUrl, firstUrl);
    EXPECT_TRUE(bench::Await([] { return !jobProgress.running; }));
    EXPECT_FALSE(StartJob(JobKind::Reinstall, PackageUrl(kZip)));
    EXPECT_EQ(snapshot().kind, JobKind::Repair);
    JoinJobThread();
    ExpectFailure(L"The server returned HTTP 404.");
}

TEST_F(JobRecordTest, PreparingSelectsTheUrlAndMarksTheClearedRecordAsRunning) {
    reportFailure(L"an older failure");
    ASSERT_TRUE(PrepareJob(JobKind::Reinstall, L" http://127.0.0.1:1/ "));
    EXPECT_FALSE(JobThreadExists());
    EXPECT_TRUE(jobProgress.running);
    EXPECT_FALSE(jobProgress.failed);
    EXPECT_EQ(snapshot().stage, JobStage::Idle);
    EXPECT_EQ(snapshot().kind, JobKind::Reinstall);
    EXPECT_EQ(snapshot().detailLine, L"");
    EXPECT_EQ(selectedPackageUrl, L"http://127.0.0.1:1/");
}

TEST_F(JobRecordTest, RetryBringsBackTheReadyRecordAndForgetsTheUrl) {
    toolConfig.archiveUrl = server_.Url(L"status/404");
    ASSERT_TRUE(StartJob(JobKind::Repair));
    resetForRetry();
    EXPECT_FALSE(JobThreadExists());
    EXPECT_EQ(selectedPackageUrl, L"");
    EXPECT_EQ(snapshot().statusLine, L"Ready.");
    EXPECT_EQ(snapshot().stage, JobStage::Idle);
    EXPECT_FALSE(jobProgress.failed);
    EXPECT_FALSE(jobProgress.finished);
}

TEST_F(JobRecordTest, StopDuringTheDownloadEndsSilentlyAndCleansUp) {
    bench::WriteFile(Client() / L"mine", "mine");
    for (const JobKind kind : {JobKind::Repair, JobKind::Reinstall}) {
        const bench::FaultServer server;  // Releasing is once and for all.
        ASSERT_TRUE(StartJob(kind, server.Url(L"stall/5000000/2200000")));
        EXPECT_TRUE(bench::Await([] { return snapshot().bytesTotal != 0; }));
        requestCancel();
        server.ReleaseWaits();
        JoinJobThread();
        EXPECT_EQ(snapshot().errorMessage, L"");
        EXPECT_FALSE(jobProgress.failed);
        EXPECT_TRUE(jobProgress.running);  // The window clears it when it closes.
        EXPECT_THAT(TempFolder(), IsEmpty());
        EXPECT_THAT(ClientContents(), ElementsAre(Pair(L"mine", "mine")));
        resetForRetry();
    }
}

TEST_F(JobRecordTest, StopDuringTheVerificationEndsSilentlyAndCleansUp) {
    // The window asks for it while the first file is copied.
    const auto hook = bench::HookCopy([](const std::wstring&, const std::wstring&) -> DWORD {
        requestCancel();
        return ERROR_SUCCESS;
    });
    RunJob(JobKind::Repair);
    EXPECT_EQ(snapshot().errorMessage, L"");
    EXPECT_FALSE(jobProgress.failed);
    EXPECT_THAT(TempFolder(), IsEmpty());
    EXPECT_FALSE(bench::FirstDifference(LoneFolderPackage(), ClientContents()).empty());
}

}  // namespace
