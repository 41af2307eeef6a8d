#include "ui/commands.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "job/job_thread.h"
#include "package/package_source.h"
#include "ui/open_window.h"
#include "ui/player.h"
#include "ui/window_state.h"

namespace {

using namespace bench;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr wchar_t kPrimaryUrl[] = L"none://primary.example/client.zip";
constexpr wchar_t kSecondUrl[] = L"none://second.example/client.zip";

class Commands : public WindowTest {};

TEST_F(Commands, RepairTakesTheChosenServerIfThereAreSeveral) {
    const struct {
        ToolConfig config;
        bool primary;
        const wchar_t* url;
    } rows[] = {
        {FullConfig(), false, kPrimaryUrl},
        {TwoServers(), true, kPrimaryUrl},
        {TwoServers(), false, kSecondUrl},
    };
    for (const auto& [config, primary, url] : rows) {
        const OpenWindow window({.config = config});
        window.Press(primary ? 4011 : 4012);
        EXPECT_EQ(primaryServerChosen, primary);
        EXPECT_FALSE(JobThreadExists());
        window.Press(4001);
        EXPECT_TRUE(JobThreadExists());
        EXPECT_EQ(snapshot().kind, JobKind::Repair);
        EXPECT_EQ(selectedPackageUrl, url);
        JoinJobThread();
    }
}

TEST_F(Commands, ChoosingAServerRedrawsBothServerButtonsWithErasingAndNothingElse) {
    const OpenWindow window({.config = TwoServers()});
    std::vector<std::pair<HWND, BOOL>> invalidated;
    const auto hook = WatchCall<decltype(&::InvalidateRect)>(
        L"user32.dll", "InvalidateRect", [&](HWND target, const RECT* area, BOOL erases) {
            EXPECT_EQ(area, nullptr);
            invalidated.emplace_back(target, erases);
        });
    for (const int id : {4012, 4011}) {
        window.Press(id);
        EXPECT_THAT(invalidated, ElementsAre(std::pair(window.Button(4011), TRUE),
                                             std::pair(window.Button(4012), TRUE)));
        invalidated.clear();
    }
}

// Always from the primary server, whichever is chosen.
TEST_F(Commands, ReinstallAsksWithNoAsTheDefault) {
    const OpenWindow window({.config = TwoServers()});
    window.Press(4012);
    for (const int answer : {IDNO, IDCANCEL, IDYES}) {
        const Player player(answer);
        window.Press(4002);
        ASSERT_EQ(player.Boxes().size(), 1U);
        EXPECT_EQ(player.Boxes()[0].owner, window.Handle());
        EXPECT_EQ(player.Boxes()[0].text,
                  L"This will delete the current client files in this folder, then reinstall from "
                  L"the CDN package.\n\nContinue?");
        EXPECT_EQ(player.Boxes()[0].caption, L"Confirm Reinstall");
        EXPECT_EQ(player.Boxes()[0].style,
                  static_cast<UINT>(MB_YESNO | MB_ICONWARNING | MB_DEFBUTTON2));
        EXPECT_EQ(JobThreadExists(), answer == IDYES);
    }
    EXPECT_EQ(snapshot().kind, JobKind::Reinstall);
    EXPECT_EQ(selectedPackageUrl, kPrimaryUrl);
}

TEST_F(Commands, CreateShortcutShowsItsSuccessBelowTheBarAndOnTheButton) {
    const OpenWindow window;
    const RunningJob job;
    reportStage(JobStage::Extracting, L"Working...", L"before");
    const Player player(IDOK);
    window.TakePaint();
    window.Press(4003);
    EXPECT_TRUE(std::filesystem::exists(DesktopLink()));
    EXPECT_EQ(snapshot().detailLine, L"Game desktop shortcut created.");
    EXPECT_EQ(snapshot().statusLine, L"Working...");
    EXPECT_EQ(snapshot().stage, JobStage::Extracting);
    EXPECT_EQ(WindowText(window.Button(4003)), L"Game Shortcut Created");
    EXPECT_THAT(window.DisabledButtons(), ElementsAre(4003));
    EXPECT_TRUE(window.TakePaint());
    EXPECT_THAT(player.Boxes(), IsEmpty());
}

TEST_F(Commands, RunPatcherStartsTheStartupProgramAtEachPress) {
    const OpenWindow window;
    window.Press(4004);
    window.Press(4004);
    ASSERT_EQ(shell_.Calls().size(), 2U);
    EXPECT_EQ(shell_.Calls()[1].file, (client_.Path() / L"client.exe").native());
    EXPECT_FALSE(windowState.launchDone);
}

TEST_F(Commands, TheLinksOpenTheirAddressesIfTheyHaveOne) {
    const OpenWindow window;
    window.Press(4005);
    window.Press(4006);
    // A double click counts like a click.
    ::SendMessageW(window.Handle(), WM_COMMAND, MAKEWPARAM(4005, BN_DBLCLK), 0);
    toolConfig.websiteUrl.clear();
    toolConfig.discordUrl.clear();
    window.Press(4005);
    window.Press(4006);
    const auto opening = [&](const wchar_t* url) {
        return ShellRecorder::Call{
            .owner = window.Handle(), .verb = L"open", .file = url, .show = SW_SHOWNORMAL};
    };
    EXPECT_THAT(shell_.Calls(), ElementsAre(opening(L"https://www.karvoth.example/"),
                                            opening(L"https://community.karvoth.example/"),
                                            opening(L"https://www.karvoth.example/")));
}

TEST_F(Commands, MinimizeMinimizes) {
    const OpenWindow window;
    EXPECT_FALSE(::IsIconic(window.Handle()));
    window.Press(4007);
    EXPECT_TRUE(::IsIconic(window.Handle()));
}

TEST_F(Commands, OtherIdsDoNothing) {
    const OpenWindow window;
    const Player player(IDYES);
    window.TakePaint();
    for (const int id : {0, 1, IDCANCEL, 4000, 4013, 0xFFFF}) {
        window.Press(id);
        RunCommand(window.Handle(), id);
        EXPECT_FALSE(window.TakePaint()) << id;
    }
    EXPECT_TRUE(::IsWindow(window.Handle()));
    EXPECT_FALSE(JobThreadExists());
    EXPECT_THAT(player.Boxes(), IsEmpty());
    EXPECT_THAT(shell_.Calls(), IsEmpty());
}

}  // namespace
