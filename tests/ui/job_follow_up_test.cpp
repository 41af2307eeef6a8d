#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "job/job_thread.h"
#include "ui/job_control.h"
#include "ui/open_window.h"
#include "ui/player.h"
#include "ui/window_state.h"

// What the window does once a job has succeeded: the question about the shortcut, then the game.

namespace {

using namespace bench;
using testing::ElementsAre;
using testing::IsEmpty;

class JobFollowUp : public WindowTest {};

TEST_F(JobFollowUp, FollowsUpASuccessAsConfiguredAndOnlyOnce) {
    const struct {
        const char* name;
        JobKind kind;
        bool succeeded;
        bool offerDesktopShortcut;
        bool runAfterInstall;
        bool hasStartupExe;
        size_t questions;
        size_t launches;
    } rows[] = {
        {"repair", JobKind::Repair, true, true, true, true, 0, 1},
        {"reinstall", JobKind::Reinstall, true, true, true, true, 1, 1},
        {"no offer", JobKind::Reinstall, true, false, true, true, 0, 1},
        {"no launch", JobKind::Reinstall, true, true, false, true, 1, 0},
        {"neither", JobKind::Reinstall, true, false, false, true, 0, 0},
        {"nothing to start", JobKind::Reinstall, true, true, true, false, 0, 0},
        {"failed repair", JobKind::Repair, false, true, true, true, 0, 0},
        {"failed reinstall", JobKind::Reinstall, false, true, true, true, 0, 0},
    };
    const OpenWindow window;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const size_t launchesBefore = shell_.Calls().size();
        const Player player(IDNO);
        toolConfig = FullConfig();
        toolConfig.offerDesktopShortcut = row.offerDesktopShortcut;
        toolConfig.runAfterInstall = row.runAfterInstall;
        toolConfig.startupExe = row.hasStartupExe ? L"client.exe" : L"";
        ClearEndOfJobMarks();
        LeaveEndedJob(row.kind, row.succeeded);
        for (int count = 0; count < 3; ++count) {
            window.Tick();
        }
        EXPECT_EQ(player.Boxes().size(), row.questions);
        EXPECT_EQ(shell_.Calls().size() - launchesBefore, row.launches);
        EXPECT_EQ(windowState.shortcutOffered, row.questions == 1);
        EXPECT_EQ(windowState.launchDone, row.succeeded && row.runAfterInstall);
    }
}

TEST_F(JobFollowUp, TheMarksKeepAFollowUpFromHappening) {
    const OpenWindow window;
    const Player player(IDYES);
    windowState.shortcutOffered = windowState.launchDone = true;
    LeaveEndedJob(JobKind::Reinstall, true);
    window.Tick();
    EXPECT_FALSE(JobThreadExists());
    EXPECT_THAT(player.Boxes(), IsEmpty());
    EXPECT_THAT(shell_.Calls(), IsEmpty());
}

TEST_F(JobFollowUp, TicksInsideTheOpenQuestionAskAndLaunchNothingTwice) {
    const OpenWindow window;
    Player player(IDNO);
    player.whileOpen = [&] {
        EXPECT_THAT(window.DisabledButtons(), IsEmpty());
        for (int count = 0; count < 3; ++count) {
            window.Tick();
        }
    };
    LeaveEndedJob(JobKind::Reinstall, true);
    window.Tick();
    EXPECT_EQ(shell_.Calls().size(), 1U);
    ASSERT_EQ(player.Boxes().size(), 1U);
    EXPECT_EQ(player.Boxes()[0].owner, window.Handle());
    EXPECT_EQ(player.Boxes()[0].text,
              L"Re-install is complete.\n\nCreate a desktop game shortcut now?");
    EXPECT_EQ(player.Boxes()[0].caption, L"Create Game Shortcut");
    EXPECT_EQ(player.Boxes()[0].style, static_cast<UINT>(MB_YESNO | MB_ICONQUESTION));
}

TEST_F(JobFollowUp, AReinstallStartedInsideTheOpenQuestionAsksAgain) {
    const OpenWindow window;
    Player player(IDNO);
    std::optional<RunningJob> next;
    player.whileOpen = [&] {
        EXPECT_TRUE(windowState.shortcutOffered) << "the mark of the job that is asked about";
        if (!next) {
            ClearEndOfJobMarks();
            next.emplace(JobKind::Reinstall);
        }
    };
    LeaveEndedJob(JobKind::Reinstall, true);
    window.Tick();
    EXPECT_EQ(player.Boxes().size(), 1U);
    next->End();
    window.Tick();
    EXPECT_EQ(player.Boxes().size(), 2U);
}

TEST_F(JobFollowUp, DoesNothingMoreIfTheToolIsClosedInsideTheOpenQuestion) {
    const OpenWindow window;
    Player player(IDYES);
    player.whileOpen = [&] {
        ::DestroyWindow(window.Handle());
    };
    LeaveEndedJob(JobKind::Reinstall, true);
    window.Tick();
    EXPECT_EQ(player.Boxes().size(), 1U);
    EXPECT_THAT(shell_.Calls(), IsEmpty());
    EXPECT_EQ(snapshot().detailLine, L"Client is ready.");
}

TEST_F(JobFollowUp, DoesNothingMoreIfAJobIsStartedInsideTheOpenQuestion) {
    const OpenWindow window;
    Player player(IDYES);
    std::optional<RunningJob> next;
    player.whileOpen = [&] {
        next.emplace();
    };
    LeaveEndedJob(JobKind::Reinstall, true);
    window.Tick();
    EXPECT_EQ(player.Boxes().size(), 1U);
    EXPECT_THAT(shell_.Calls(), IsEmpty());
    EXPECT_THAT(window.DisabledButtons(), IsEmpty()) << "no shortcut was made";
    EXPECT_FALSE(windowState.launchDone);
}

TEST_F(JobFollowUp, YesCreatesTheShortcutAndNoDoesNot) {
    const OpenWindow window;
    for (const int answer : {IDNO, IDCANCEL, IDYES}) {
        SCOPED_TRACE(answer);
        const Player player(answer);
        ClearEndOfJobMarks();
        LeaveEndedJob(JobKind::Reinstall, true);
        window.Tick();
        EXPECT_EQ(std::filesystem::exists(DesktopLink()), answer == IDYES);
        EXPECT_EQ(window.DisabledButtons(),
                  answer == IDYES ? std::vector<int>{4003} : std::vector<int>{});
    }
    EXPECT_EQ(snapshot().detailLine, L"Game desktop shortcut created.");
    EXPECT_EQ(snapshot().stage, JobStage::Done);
    EXPECT_EQ(snapshot().statusLine, L"Repair complete.");
    // The next job does not enable the button again.
    LeaveEndedJob(JobKind::Repair, true);
    window.Tick();
    EXPECT_THAT(window.DisabledButtons(), ElementsAre(4003));
}

TEST_F(JobFollowUp, ShowsThatTheShortcutFailedAndContinues) {
    const OpenWindow window;
    std::filesystem::remove(client_.Path() / L"client.exe");
    const Player player(IDYES);
    LeaveEndedJob(JobKind::Reinstall, true);
    window.Tick();
    ASSERT_EQ(player.Boxes().size(), 2U);
    EXPECT_EQ(player.Boxes()[1].text,
              L"Could not find the shortcut target: " + (client_.Path() / L"client.exe").native());
    EXPECT_EQ(player.Boxes()[1].owner, window.Handle());
    EXPECT_EQ(player.Boxes()[1].caption, L"Create Game Shortcut");
    EXPECT_EQ(player.Boxes()[1].style, static_cast<UINT>(MB_OK | MB_ICONWARNING));
    EXPECT_EQ(snapshot().detailLine, L"Client is ready.");
    EXPECT_THAT(window.DisabledButtons(), IsEmpty());
    EXPECT_TRUE(windowState.launchDone);
}

}  // namespace
