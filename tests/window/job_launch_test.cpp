// The start of the game's startup program after a job.

#include <gtest/gtest.h>

#include <algorithm>

#include "bench_parts/message_boxes.h"
#include "bench_parts/waiting.h"
#include "window/desktop_link.h"
#include "window/tool_test.h"

namespace {

using bench::Answer;
using bench::AwaitBox;

constexpr wchar_t kOfferCaption[] = L"Create Game Shortcut";

class LaunchAfterJob : public ToolTest {
protected:
    LaunchAfterJob() {
        Set("runAfterInstall", L"1");
        Set("shortcutName", DesktopLink::Name());
        PutStartupProgram();
    }

    void Repair() {
        Window().Press(ButtonId::RepairClient);
        Window().AwaitJobStart();
        Window().AwaitJobEnd();
    }

    void StartReinstall() {
        Window().Press(ButtonId::ReinstallGame);
        Answer(AwaitBox(L"Confirm Reinstall"), IDYES);
        Window().AwaitJobStart();
    }

    // To be used when the job's end has been handled.
    void ExpectStarts(size_t count) {
        for (int tick = 0; tick < 5; ++tick) {
            Window().PostTick();
        }
        EXPECT_TRUE(Window().AwaitIdle());
        EXPECT_EQ(SettledStartsOfTheGame(), count);
    }

    DesktopLink link_;
};

TEST_F(LaunchAfterJob, HappensOnceAfterARepair) {
    StartTool();
    Repair();
    ExpectStarts(1);
}

TEST_F(LaunchAfterJob, HappensOnceAfterAReinstall) {
    ToolWindow& window = StartTool();
    StartReinstall();
    window.AwaitJobEnd();
    ExpectStarts(1);
}

TEST_F(LaunchAfterJob, HappensAgainAfterTheNextJob) {
    StartTool();
    Repair();
    ExpectStarts(1);
    Repair();
    ExpectStarts(2);
}

TEST_F(LaunchAfterJob, StartsTheProgramInItsOwnFolder) {
    StartTool();
    Repair();
    const auto isGame = [](const bench::ProgramRun& run) {
        return run.program.ends_with(L"\\game.exe");
    };
    EXPECT_TRUE(bench::Await([&] { return StartsOfTheGame() == 1; }));
    const auto runs = machine_.Runs();
    const auto game = std::ranges::find_if(runs, isGame);
    ASSERT_NE(game, runs.end());
    EXPECT_EQ(game->currentFolder, (machine_.Root() / L"game").native());
}

TEST_F(LaunchAfterJob, DoesNotHappenWhenTheBrandDoesNotWantIt) {
    Set("runAfterInstall", L"0");
    ToolWindow& window = StartTool();
    Repair();
    StartReinstall();
    window.AwaitJobEnd();
    ExpectStarts(0);
}

TEST_F(LaunchAfterJob, DoesNotHappenAfterAFailure) {
    Set("archiveUrl", server_.Url(L"status/404"));
    ToolWindow& window = StartTool();
    Repair();
    EXPECT_TRUE(bench::Await([&] { return window.CanPress(ButtonId::Retry); }));
    window.Press(ButtonId::Retry);
    EXPECT_TRUE(bench::Await([&] { return window.CanPress(ButtonId::RunPatcher); }));
    ExpectStarts(0);
}

TEST_F(LaunchAfterJob, IsLeftOutInSilenceWhenTheProgramIsMissing) {
    Set("startupExe", L"missing\\start.exe");
    ToolWindow& window = StartTool();
    Repair();
    for (int tick = 0; tick < 5; ++tick) {
        window.PostTick();
    }
    EXPECT_TRUE(window.AwaitIdle());
    EXPECT_TRUE(::IsWindowEnabled(window.Handle())) << "a box is open";
    EXPECT_EQ(StartsOfTheGame(), 0U);
}

// The program comes into being while the question is open, so it cannot have been started before.
TEST_F(LaunchAfterJob, WaitsForTheAnswerAboutTheShortcut) {
    for (const int answer : {IDNO, IDYES}) {
        Set("offerDesktopShortcut", L"1");
        const std::filesystem::path program = machine_.Root() / L"late game" / L"game.exe";
        Set("startupExe", program.native());
        std::filesystem::remove(program);
        const size_t runsBefore = machine_.Runs().size();
        StartTool();
        StartReinstall();
        const HWND offer = AwaitBox(kOfferCaption);
        machine_.PutRecorder(program, "");
        Answer(offer, answer);
        EXPECT_TRUE(bench::Await([&] { return machine_.Runs().size() == runsBefore + 1; }));
        EXPECT_EQ(link_.Exists(), answer == IDYES);
        EXPECT_TRUE(bench::Await([&] { return machine_.Runs().back().endCode.has_value(); }));
        CloseTool();
    }
}

}  // namespace
