#include "ui/job_control.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "bench_parts/call_hook.h"
#include "bench_parts/waiting.h"
#include "common/tool_instance.h"
#include "job/job_flow.h"
#include "job/job_thread.h"
#include "package/package_source.h"
#include "ui/buttons.h"
#include "ui/open_window.h"
#include "ui/player.h"
#include "ui/window_state.h"

namespace {

using namespace bench;
using testing::ElementsAre;
using testing::IsEmpty;

const std::vector<int> kReadyButtons{4001, 4002, 4003, 4004, 4005, 4006, 4007, 4008};
const std::vector<int> kFailureButtons{4005, 4006, 4007, 4008, 4009, 4010};
const std::vector<int> kJobButtons{4001, 4002, 4011, 4012};

class JobControl : public WindowTest {};

TEST_F(JobControl, StartingClearsTheMarksDisablesTheJobButtonsAndRepaints) {
    const OpenWindow window;
    EXPECT_EQ(window.ShownButtons(), kReadyButtons);
    EXPECT_THAT(window.DisabledButtons(), IsEmpty());
    windowState.shortcutOffered = windowState.launchDone = true;
    window.TakePaint();
    beginJob(window.Handle(), JobKind::Repair, L"none://x");
    EXPECT_TRUE(JobThreadExists());
    EXPECT_EQ(window.DisabledButtons(), kJobButtons);
    EXPECT_EQ(window.ShownButtons(), kReadyButtons);
    EXPECT_FALSE(windowState.shortcutOffered || windowState.launchDone);
    EXPECT_TRUE(window.TakePaint());
}

TEST_F(JobControl, StartingDisablesTheButtonsOfAPreparedJobBeforeItsThreadExists) {
    const OpenWindow window;
    int calls = 0;
    const auto hook =
        HookCall<decltype(&::EnableWindow)>(L"user32.dll", "EnableWindow", [&](HWND, BOOL) -> BOOL {
            ++calls;
            EXPECT_FALSE(JobThreadExists());
            EXPECT_TRUE(jobProgress.running);
            EXPECT_EQ(selectedPackageUrl, L"none://x");
            return FALSE;
        });
    beginJob(window.Handle(), JobKind::Repair, L" none://x ");
    EXPECT_EQ(calls, 4);
    EXPECT_TRUE(JobThreadExists());
}

TEST_F(JobControl, StartingIsRefusedWithoutTraceWhileAJobExists) {
    const OpenWindow window;
    RunningJob job(JobKind::Reinstall);
    windowState.shortcutOffered = windowState.launchDone = true;
    window.TakePaint();
    for (const bool ended : {false, true}) {
        if (ended) {
            job.End();
        }
        beginJob(window.Handle(), JobKind::Repair, L"none://other");
        EXPECT_EQ(snapshot().kind, JobKind::Reinstall);
        EXPECT_NE(selectedPackageUrl, L"none://other");
        EXPECT_TRUE(windowState.shortcutOffered && windowState.launchDone);
        EXPECT_THAT(window.DisabledButtons(), IsEmpty());
        EXPECT_FALSE(window.TakePaint());
    }
}

TEST_F(JobControl, ATickRepaintsWhileAJobExistsOrIsMarkedAsRunning) {
    const OpenWindow window;
    window.TakePaint();
    const auto repaintsAtATick = [&] {
        window.Tick();
        return window.TakePaint();
    };
    EXPECT_FALSE(repaintsAtATick());
    jobProgress.running = true;
    EXPECT_TRUE(repaintsAtATick());
    jobProgress.running = false;
    EXPECT_FALSE(repaintsAtATick());
    const RunningJob job;
    EXPECT_TRUE(repaintsAtATick());
    EXPECT_TRUE(repaintsAtATick());
    EXPECT_TRUE(JobThreadExists());
}

TEST_F(JobControl, ATickCollectsAnEndedJob) {
    const OpenWindow window;
    const Player player(IDYES);
    for (const bool succeeded : {true, false}) {
        beginJob(window.Handle(), JobKind::Repair, L"none://x");
        JoinJobThread();
        LeaveEndedJob(JobKind::Repair, succeeded);
        windowState.launchDone = true;
        window.TakePaint();
        EXPECT_EQ(window.DisabledButtons(), kJobButtons);
        window.Tick();
        EXPECT_FALSE(JobThreadExists());
        EXPECT_EQ(window.ShownButtons(), succeeded ? kReadyButtons : kFailureButtons);
        EXPECT_THAT(window.DisabledButtons(), IsEmpty());
        EXPECT_TRUE(window.TakePaint());
        EXPECT_EQ(snapshot().stage, succeeded ? JobStage::Done : JobStage::Failed);
        window.Tick();
        EXPECT_FALSE(window.TakePaint());
    }
    EXPECT_THAT(player.Boxes(), IsEmpty());
    EXPECT_THAT(shell_.Calls(), IsEmpty());
}

// Its button is hidden, but UI automation can press it.
TEST_F(JobControl, StartingAfterAShownFailureBringsTheStartButtonsBack) {
    const OpenWindow window;
    LeaveEndedJob(JobKind::Repair, false);
    window.Tick();
    ASSERT_EQ(window.ShownButtons(), kFailureButtons);
    beginJob(window.Handle(), JobKind::Repair, L"none://x");
    EXPECT_EQ(window.ShownButtons(), kReadyButtons);
    EXPECT_EQ(window.DisabledButtons(), kJobButtons);
}

TEST_F(JobControl, AFailureIsShownOnceItHasFinished) {
    const OpenWindow window;
    jobProgress.failed = true;
    RefreshButtons(window.Handle());
    EXPECT_EQ(window.ShownButtons(), kReadyButtons);
    jobProgress.finished = true;
    RefreshButtons(window.Handle());
    EXPECT_EQ(window.ShownButtons(), kFailureButtons);
}

TEST_F(JobControl, RetryBringsTheReadyWindowBackBeforeAnyTick) {
    const OpenWindow window;
    beginJob(window.Handle(), JobKind::Repair, L"none://x");
    ASSERT_TRUE(bench::Await([] { return JobAwaitsCollection(); }));
    windowState.shortcutOffered = windowState.launchDone = true;
    MarkShortcutCreated(window.Handle());
    window.TakePaint();
    window.Press(4009);
    EXPECT_FALSE(JobThreadExists());
    EXPECT_FALSE(windowState.shortcutOffered || windowState.launchDone);
    EXPECT_EQ(window.ShownButtons(), kReadyButtons);
    EXPECT_THAT(window.DisabledButtons(), ElementsAre(4003));
    EXPECT_EQ(WindowText(window.Button(4003)), L"Game Shortcut Created");
    EXPECT_TRUE(window.TakePaint());
    EXPECT_EQ(snapshot().statusLine, L"Ready.");
    EXPECT_EQ(snapshot().detailLine, L"");
    EXPECT_EQ(snapshot().stage, JobStage::Idle);
    EXPECT_EQ(selectedPackageUrl, L"");
    EXPECT_FALSE(jobProgress.failed || jobProgress.finished || jobProgress.running);
}

TEST_F(JobControl, RetryLeavesARunningJobAlone) {
    const OpenWindow window;
    const RunningJob job(JobKind::Reinstall);
    windowState.shortcutOffered = windowState.launchDone = true;
    window.TakePaint();
    PrepareRetry(window.Handle());
    EXPECT_TRUE(JobThreadExists());
    EXPECT_TRUE(jobProgress.running);
    EXPECT_EQ(snapshot().kind, JobKind::Reinstall);
    EXPECT_TRUE(windowState.shortcutOffered && windowState.launchDone);
    EXPECT_FALSE(window.TakePaint());
}

TEST_F(JobControl, StoppingEndsAJobWithoutAQuestion) {
    StopJob();
    EXPECT_FALSE(jobProgress.cancelRequested) << "there is none";
    const RunningJob job;
    StopJob();
    EXPECT_TRUE(job.WasStopped());
    EXPECT_FALSE(JobThreadExists());
}

TEST_F(JobControl, ClosingAlwaysAsksAndOnlyYesCloses) {
    const OpenWindow window;
    const auto close = [&](int id, int answer) {
        const Player player(answer);
        window.Press(id);
        ASSERT_EQ(player.Boxes().size(), 1U);
        EXPECT_EQ(player.Boxes()[0].owner, window.Handle());
        EXPECT_EQ(player.Boxes()[0].text,
                  L"Are you sure you want to close?\n\nAny current repair or reinstall will be "
                  L"stopped.");
        EXPECT_EQ(player.Boxes()[0].caption, L"Close Repair Tool");
        EXPECT_EQ(player.Boxes()[0].style,
                  static_cast<UINT>(MB_YESNO | MB_ICONQUESTION | MB_DEFBUTTON2));
        EXPECT_EQ(::IsWindow(window.Handle()) != FALSE, answer != IDYES) << answer;
        EXPECT_FALSE(jobProgress.cancelRequested) << answer;
    };
    {
        const RunningJob job;
        for (const int answer : {IDNO, IDCANCEL, 0}) {
            close(4010, answer);
            EXPECT_TRUE(jobProgress.running);
        }
    }
    jobProgress.running = true;  // Without a job thread.
    close(4008, IDYES);
    EXPECT_FALSE(jobProgress.running);
    EXPECT_EQ(HandleWaitingMessages(), 0);
}

TEST_F(JobControl, YesStopsTheJobAndWaitsForItsEnd) {
    const OpenWindow window;
    const RunningJob job;
    const Player player(IDYES);
    CloseAfterQuestion(window.Handle());
    EXPECT_TRUE(job.WasStopped());
    EXPECT_FALSE(JobThreadExists());
    EXPECT_FALSE(jobProgress.running);
    EXPECT_FALSE(::IsWindow(window.Handle()));
    EXPECT_EQ(HandleWaitingMessages(), 0);
}

// The answer comes before the tick that would collect the job.
TEST_F(JobControl, ClosingDoesNotFollowUpAJobThatHasJustEnded) {
    for (const bool succeeded : {true, false}) {
        const OpenWindow window;
        LeaveEndedJob(JobKind::Reinstall, succeeded);
        const Player player(IDYES);
        CloseAfterQuestion(window.Handle());
        EXPECT_EQ(player.Boxes().size(), 1U);
        EXPECT_FALSE(JobThreadExists());
        EXPECT_FALSE(::IsWindow(window.Handle()));
        EXPECT_THAT(shell_.Calls(), IsEmpty());
    }
}

// The launch does not wait for the answer, nor do the buttons.
TEST_F(JobControl, AJobIsCollectedInsideTheOpenQuestion) {
    for (const bool succeeded : {true, false}) {
        for (const int answer : {IDNO, IDYES}) {
            const OpenWindow window;
            const size_t launches = shell_.Calls().size();
            ClearEndOfJobMarks();
            LeaveEndedJob(JobKind::Repair, succeeded);
            Player player(answer);
            player.whileOpen = [&] {
                window.Tick();
                EXPECT_EQ(shell_.Calls().size(), launches + (succeeded ? 1 : 0));
                EXPECT_EQ(window.ShownButtons(), succeeded ? kReadyButtons : kFailureButtons);
            };
            CloseAfterQuestion(window.Handle());
            EXPECT_EQ(::IsWindow(window.Handle()) != FALSE, answer == IDNO);
            EXPECT_FALSE(jobProgress.cancelRequested);
        }
    }
}

}  // namespace
