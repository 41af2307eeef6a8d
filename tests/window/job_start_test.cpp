// What starts a job, and with which package.

#include <gmock/gmock.h>

#include "bench_parts/message_boxes.h"
#include "bench_parts/waiting.h"
#include "window/player_input.h"
#include "window/tool_test.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class JobStart : public bench::ToolTest {};

TEST_F(JobStart, RepairsTheClientAtAClickWithItsButtonsDisabled) {
    OfferLinksAndShortcut();
    const bench::ToolWindow& window = StartTool();
    const auto ready = window.ShownButtons();
    window.PostTick();
    window.AwaitIdle();
    EXPECT_THAT(RequestedNames(), IsEmpty());
    HoldRepair();
    EXPECT_THAT(window.ShownButtons(),
                ElementsAre(L"(Repair Client)", L"(Reinstall Game)", L"Create Game Shortcut",
                            L"Run Patcher", L"Website", L"Discord", L"-", L"x"));
    LetItSucceed();
    window.AwaitJobEnd();
    EXPECT_EQ(window.ShownButtons(), ready);
    ExpectRepaired();
}

// An owner-drawn button reports the second click of a double click as well.
TEST_F(JobStart, HappensOnceWhateverCommandsFollow) {
    OfferSeveralServers(PackageUrl(L"zip_small_client.zip"));
    HoldJobs();
    const bench::ToolWindow& window = StartTool();
    EXPECT_TRUE(bench::Await([&] {
        bench::ClickWithMouse(window.Button(ButtonId::RepairClient), 2);
        return !RequestedNames().empty();
    }));
    AwaitHold();
    window.PostCommand(ButtonId::RepairClient, BN_DBLCLK);
    for (const ButtonId id : {ButtonId::RepairClient, ButtonId::SecondServer,
                              ButtonId::PrimaryServer, ButtonId::Retry}) {
        window.PostCommand(id);
    }
    window.PostCommand(ButtonId::ReinstallGame);
    bench::Answer(bench::AwaitBox(L"Confirm Reinstall"), IDYES);
    bench::ClickWithMouse(window.Button(ButtonId::RepairClient), 2);
    bench::AwaitClicksTaken(window);
    EXPECT_FALSE(window.CanPress(ButtonId::RepairClient));
    EXPECT_FALSE(window.CanPress(ButtonId::SecondServer));
    EXPECT_EQ(machine_.Runs().size(), 1U);
    bench::WriteFile(Client() / L"settings.txt", "of the player");
    LetItSucceed();
    window.AwaitJobEnd();
    EXPECT_TRUE(std::filesystem::remove(Client() / L"settings.txt")) << "it was a reinstall";
    ExpectRepaired();
    EXPECT_THAT(RequestedNames(), ElementsAre("/archive/zip_lone_folder.zip"));
}

TEST_F(JobStart, AsksTheChosenServer) {
    OfferSeveralServers(PackageUrl(L"zip_small_client.zip") + L"\n" + PackageUrl(L"zip_plain.zip"));
    const bench::ToolWindow& window = StartTool();
    window.Press(ButtonId::SecondServer);
    window.AwaitIdle();
    EXPECT_THAT(RequestedNames(), IsEmpty()) << "a choice starts nothing";
    Repair();
    EXPECT_THAT(RequestedNames(), ElementsAre("/archive/zip_small_client.zip"));
}

TEST_F(JobStart, IsNotCausedByAStrayMessage) {
    const bench::ToolWindow& window = StartTool();
    const bench::Pixels before = window.Look();
    const auto buttonsBefore = window.ShownButtons();
    const auto post = [&](UINT message, WPARAM wParam) {
        ::PostMessageW(window.Handle(), message, wParam, 0);
    };
    for (const WPARAM id : {0, 1, 2, 9, 3999, 4000, 4013, 4100, 0x7fff, 0xffff}) {
        post(WM_COMMAND, id);
        post(WM_COMMAND, id | WPARAM{BN_DBLCLK} << 16);
    }
    for (const UINT message :
         {UINT{WM_NULL}, UINT{WM_CANCELMODE}, UINT{WM_SETTINGCHANGE}, UINT{WM_DISPLAYCHANGE},
          UINT{WM_SYSCOLORCHANGE}, UINT{WM_THEMECHANGED}, UINT{WM_USER}, UINT{WM_USER + 1},
          UINT{WM_APP}, UINT{WM_APP + 1}, UINT{WM_APP + 2}, UINT{0xC000}}) {
        post(message, 0);
    }
    for (const WPARAM timer : {WPARAM{0}, WPARAM{1}, WPARAM{2}, WPARAM{4711}}) {
        post(WM_TIMER, timer);
    }
    for (const WPARAM key : {VK_ESCAPE, VK_RETURN, VK_TAB, VK_SPACE, VK_F1}) {
        post(WM_KEYDOWN, key);
        post(WM_KEYUP, key);
    }
    window.AwaitUsable();
    EXPECT_EQ(window.ShownButtons(), buttonsBefore);
    window.AwaitLook(before);
    EXPECT_THAT(RequestedNames(), IsEmpty());
}

}  // namespace
