// What follows the end of a job: the buttons, the offer of a shortcut, the start of the game.

#include <gmock/gmock.h>

#include "bench_parts/message_boxes.h"
#include "bench_parts/waiting.h"
#include "window/tool_test.h"

namespace {

using bench::Answer;
using bench::AwaitBox;

constexpr wchar_t kOfferCaption[] = L"Create Game Shortcut";

class JobEnd : public bench::ToolTest {
protected:
    JobEnd() {
        Set("offerDesktopShortcut", L"1");
        Set("runAfterInstall", L"1");
        PutStartupProgram();
    }

    void AwaitStarts(size_t count) {
        EXPECT_TRUE(bench::Await([&] { return StartsOfTheGame() == count; }));
    }
};

TEST_F(JobEnd, OffersTheShortcutOnceAfterAReinstallAndThenStartsTheGame) {
    const bench::ToolWindow& window = StartTool();
    StartReinstall();
    const HWND offer = AwaitBox(kOfferCaption);
    ExpectBox(offer, L"Re-install is complete.\n\nCreate a desktop game shortcut now?",
              {IDYES, IDNO}, IDYES, MB_ICONQUESTION);
    ExpectRepaired();
    EXPECT_TRUE(window.See(ButtonId::RepairClient).enabled);
    EXPECT_TRUE(window.See(ButtonId::ReinstallGame).enabled);
    for (int tick = 0; tick < 5; ++tick) {
        window.PostTick();
    }
    window.AwaitIdle();
    EXPECT_EQ(::FindWindowExW(nullptr, offer, L"#32770", kOfferCaption), nullptr);
    EXPECT_EQ(SettledStartsOfTheGame(), 0U) << "the game waits for the answer";
    EXPECT_FALSE(std::filesystem::exists(ShortcutFile()));
    Answer(offer, IDYES);
    AwaitStarts(1);
    ExpectQuiet();
    EXPECT_TRUE(std::filesystem::exists(ShortcutFile()));
    EXPECT_FALSE(window.See(ButtonId::CreateShortcut).enabled);
    EXPECT_EQ(window.See(ButtonId::CreateShortcut).text, L"Game Shortcut Created");
    std::filesystem::remove(ShortcutFile());
    StartReinstall();
    Answer(AwaitBox(kOfferCaption), IDNO);
    AwaitStarts(2);
    ExpectQuiet();
    EXPECT_FALSE(std::filesystem::exists(ShortcutFile()));
}

TEST_F(JobEnd, StartsTheGameInItsFolderAfterEachRepair) {
    StartTool();
    for (const size_t repair : {1U, 2U}) {
        Repair();
        AwaitStarts(repair);
        ExpectQuiet();
    }
    EXPECT_EQ(machine_.Runs().back().currentFolder, (machine_.Root() / L"game").native());
}

TEST_F(JobEnd, ComesWhileTheWindowIsMinimized) {
    const bench::ToolWindow& window = StartTool(SW_SHOWMINNOACTIVE);
    EXPECT_TRUE(::IsIconic(window.Handle()));
    HoldRepair();
    LetItSucceed();
    EXPECT_TRUE(bench::Await([&] { return window.See(ButtonId::RepairClient).enabled; }));
    ExpectRepaired();
    CloseTool();
}

// A client file in use is what players meet; the second attempt finds it free.
TEST_F(JobEnd, AllowsASecondAttemptAfterAFailure) {
    OfferSeveralServers(PackageUrl(kZip));
    Set("archiveUrl", server_.Url(L"status/404"));
    const bench::ToolWindow& window = StartTool();
    window.Press(ButtonId::SecondServer);
    window.AwaitIdle();
    const auto readyButtons = window.ShownButtons();
    const bench::Pixels ready = window.Look();
    const std::filesystem::path game = Client() / L"client.exe";
    bench::WriteFile(game, "an older version");
    bench::OpenElsewhere inUse(game, FILE_SHARE_READ);
    StartRepair();
    window.AwaitCanPress(ButtonId::Retry);
    EXPECT_THAT(window.ShownButtons(), testing::ElementsAre(L"Retry", L"Close", L"-", L"x"));
    EXPECT_TRUE(bench::DifferingArea(window.Look(), ready, kStatus));
    EXPECT_THAT(TempFolder(), testing::IsEmpty());
    inUse.Close();
    window.Press(ButtonId::Retry);
    window.AwaitCanPress(ButtonId::RepairClient);
    EXPECT_EQ(window.ShownButtons(), readyButtons);
    window.AwaitLook(ready);  // With the same server chosen.
    ExpectQuiet();
    EXPECT_EQ(RequestedNames().size(), 1U) << "Retry alone starts nothing";
    Repair();
    ExpectRepaired();
    EXPECT_EQ(RequestedNames(), (std::vector<std::string>(2, "/archive/zip_lone_folder.zip")));
    AwaitStarts(1);
}

}  // namespace
