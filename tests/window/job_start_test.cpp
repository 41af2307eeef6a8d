// What starts a job, and with which package.

#include <gmock/gmock.h>

#include "bench_parts/message_boxes.h"
#include "bench_parts/waiting.h"
#include "window/held_job.h"
#include "window/player_input.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kFirstName[] = "/archive/zip_lone_folder.zip";
constexpr wchar_t kSecond[] = L"zip_small_client.zip";
constexpr char kSecondName[] = "/archive/zip_small_client.zip";
constexpr wchar_t kThird[] = L"zip_plain.zip";

class JobStart : public HeldJob {
protected:
    JobStart() {
        HoldNoMore();
    }

    void Repair() {
        Window().Press(ButtonId::RepairClient);
        Window().AwaitJobStart();
        Window().AwaitJobEnd();
    }

    // A command with the notification code that a button could send.
    void PostCommand(ButtonId id, WORD notification) {
        ::PostMessageW(Window().Handle(), WM_COMMAND,
                       MAKEWPARAM(static_cast<WORD>(id), notification),
                       reinterpret_cast<LPARAM>(Window().Button(id)));
    }

    // Waits for the job's end and for anything that could begin a further one.
    void ExpectOneJob() {
        EXPECT_TRUE(Window().AwaitIdle());
        Window().AwaitJobEnd();
        EXPECT_TRUE(Window().AwaitIdle());
        EXPECT_TRUE(Window().CanPress(ButtonId::RepairClient));
        EXPECT_THAT(RequestedNames(), ElementsAre(kFirstName));
    }
};

TEST_F(JobStart, RepairsTheClientAtAClick) {
    StartTool();
    Repair();
    EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
}

TEST_F(JobStart, AsksForNothingBeforeTheClick) {
    ToolWindow& window = StartTool();
    window.PostTick();
    EXPECT_TRUE(window.AwaitIdle());
    EXPECT_THAT(RequestedNames(), IsEmpty());
}

TEST_F(JobStart, HappensOnceAtADoubleClickOfTheMouse) {
    HoldDownload();
    ToolWindow& window = StartTool();
    EXPECT_TRUE(bench::Await([&] {
        ClickWithMouse(window.Button(ButtonId::RepairClient), 2);
        return !RequestedNames().empty();
    }));
    AwaitClicksTaken(window);
    server_.ReleaseWaits();
    EXPECT_TRUE(bench::Await([&] { return window.CanPress(ButtonId::Retry); }));
    EXPECT_EQ(RequestedNames().size(), 1U);
}

TEST_F(JobStart, HappensOnceAtTwoQuickClicks) {
    ToolWindow& window = StartTool();
    window.PostCommand(ButtonId::RepairClient);
    window.PostCommand(ButtonId::RepairClient);
    ExpectOneJob();
}

// An owner-drawn button tells of the second click of a double click as well.
TEST_F(JobStart, HappensOnceWhenTheButtonTellsOfADoubleClick) {
    StartTool();
    PostCommand(ButtonId::RepairClient, BN_CLICKED);
    PostCommand(ButtonId::RepairClient, BN_DBLCLK);
    ExpectOneJob();
}

TEST_F(JobStart, DisablesTheJobButtonsOnly) {
    HoldDownload();
    Set("websiteUrl", L"http://127.0.0.1:1/");
    Set("offerDesktopShortcut", L"1");
    ToolWindow& window = StartRepair();
    EXPECT_THAT(window.ShownButtons(),
                ElementsAre(L"(Repair Client)", L"(Reinstall Game)", L"Create Game Shortcut",
                            L"Run Patcher", L"Website", L"-", L"x"));
}

TEST_F(JobStart, DisablesTheServerChoiceToo) {
    HoldDownload();
    OfferSeveralServers(PackageUrl(kSecond));
    ToolWindow& window = StartRepair();
    EXPECT_FALSE(window.See(ButtonId::PrimaryServer).enabled);
    EXPECT_FALSE(window.See(ButtonId::SecondServer).enabled);
}

TEST_F(JobStart, AsksTheChosenServer) {
    const struct {
        std::vector<ButtonId> choices;
        const char* expected;
    } cases[] = {
        {{}, kFirstName},
        {{ButtonId::PrimaryServer}, kFirstName},
        {{ButtonId::SecondServer}, kSecondName},
        {{ButtonId::SecondServer, ButtonId::SecondServer}, kSecondName},
        {{ButtonId::SecondServer, ButtonId::PrimaryServer}, kFirstName},
        {{ButtonId::PrimaryServer, ButtonId::SecondServer}, kSecondName},
    };
    OfferSeveralServers(PackageUrl(kSecond));
    for (const auto& [choices, expected] : cases) {
        const size_t requestsBefore = RequestedNames().size();
        const ToolWindow& window = StartTool();
        for (const ButtonId choice : choices) {
            window.Press(choice);
            EXPECT_TRUE(window.AwaitIdle());
        }
        EXPECT_EQ(RequestedNames().size(), requestsBefore) << "a choice starts nothing";
        Repair();
        ASSERT_EQ(RequestedNames().size(), requestsBefore + 1);
        EXPECT_EQ(RequestedNames().back(), expected);
        CloseTool();
    }
}

TEST_F(JobStart, StartsNothingAtAChoice) {
    OfferSeveralServers(PackageUrl(kSecond));
    ToolWindow& window = StartTool();
    const auto buttons = window.ShownButtons();
    for (const ButtonId choice : {ButtonId::SecondServer, ButtonId::PrimaryServer}) {
        ClickWithMouse(window.Button(choice), 2);
    }
    AwaitClicksTaken(window);
    window.PostTick();
    EXPECT_TRUE(window.AwaitIdle());
    EXPECT_EQ(window.ShownButtons(), buttons);
    EXPECT_THAT(RequestedNames(), IsEmpty());
}

TEST_F(JobStart, KeepsTheChoiceForTheNextJob) {
    OfferSeveralServers(PackageUrl(kSecond));
    ToolWindow& window = StartTool();
    window.Press(ButtonId::SecondServer);
    Repair();
    Repair();
    window.Press(ButtonId::PrimaryServer);
    Repair();
    EXPECT_THAT(RequestedNames(), ElementsAre(kSecondName, kSecondName, kFirstName));
}

TEST_F(JobStart, AsksTheFirstOfSeveralMirrors) {
    OfferSeveralServers(PackageUrl(kSecond) + L"\n" + PackageUrl(kThird));
    ToolWindow& window = StartTool();
    window.Press(ButtonId::SecondServer);
    Repair();
    EXPECT_THAT(RequestedNames(), ElementsAre(kSecondName));
}

// Whoever drives the tool can send what no button of this window sends.
TEST_F(JobStart, IgnoresTheChoiceWithOneServer) {
    const struct {
        const wchar_t* multiRepairTool;
        std::wstring mirrors;
    } cases[] = {{L"1", L""}, {L"0", PackageUrl(kSecond)}, {L"0", L""}};
    for (const auto& [multiRepairTool, mirrors] : cases) {
        Set("multiRepairTool", multiRepairTool);
        Set("archiveMirrorUrls", mirrors);
        const ToolWindow& window = StartTool();
        EXPECT_THAT(window.ShownButtons(),
                    ElementsAre(L"Repair Client", L"Reinstall Game", L"Run Patcher", L"-", L"x"));
        window.PostCommand(ButtonId::SecondServer);
        Repair();
        EXPECT_EQ(RequestedNames().back(), kFirstName);
        CloseTool();
    }
}

TEST_F(JobStart, HasNoReinstallButtonWithSeveralServers) {
    OfferSeveralServers(PackageUrl(kSecond));
    ToolWindow& window = StartTool();
    EXPECT_THAT(window.ShownButtons(),
                ElementsAre(L"Repair Client", L"Repair game on Asia Download Server",
                            L"Repair game on EU Download Server", L"Run Patcher", L"-", L"x"));
}

TEST_F(JobStart, ReinstallsFromThePrimaryServerWhateverIsChosen) {
    OfferSeveralServers(PackageUrl(kSecond));
    ToolWindow& window = StartTool();
    window.Press(ButtonId::SecondServer);
    window.PostCommand(ButtonId::ReinstallGame);
    bench::Answer(bench::AwaitBox(L"Confirm Reinstall"), IDYES);
    window.AwaitJobStart();
    window.AwaitJobEnd();
    EXPECT_THAT(RequestedNames(), ElementsAre(kFirstName));
    Repair();
    EXPECT_EQ(RequestedNames().back(), kSecondName) << "the choice is for repairs, and stays";
}

class JobCommandDuringAJob : public HeldJob {
protected:
    // Expects the one job to be under way as before.
    void ExpectSameJob() {
        EXPECT_TRUE(Window().AwaitIdle());
        EXPECT_FALSE(Window().See(ButtonId::RepairClient).enabled);
        EXPECT_EQ(RequestedNames().size(), 1U);
        EXPECT_EQ(machine_.Runs().size(), 1U);
    }

    void ExpectSuccess() {
        LetItSucceed();
        Window().AwaitJobEnd();
        EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
        EXPECT_EQ(RequestedNames().size(), 1U);
    }
};

TEST_F(JobCommandDuringAJob, DoesNothing) {
    OfferSeveralServers(PackageUrl(kSecond));
    ToolWindow& window = StartTool();
    HoldRepair();
    for (const ButtonId id : {ButtonId::RepairClient, ButtonId::SecondServer,
                              ButtonId::PrimaryServer, ButtonId::Retry}) {
        window.PostCommand(id);
        ExpectSameJob();
    }
    ExpectSuccess();
}

TEST_F(JobCommandDuringAJob, DoesNothingEvenWhenAReinstallIsConfirmed) {
    ToolWindow& window = StartTool();
    HoldRepair();
    window.PostCommand(ButtonId::ReinstallGame);
    bench::Answer(bench::AwaitBox(L"Confirm Reinstall"), IDYES);
    ExpectSameJob();
    bench::WriteFile(Client() / L"settings.txt", "the player's own");
    LetItSucceed();
    window.AwaitJobEnd();
    EXPECT_TRUE(std::filesystem::exists(Client() / L"settings.txt")) << "the repair is a reinstall";
}

TEST_F(JobCommandDuringAJob, DoesNothingAtAClickOnTheDisabledButton) {
    ToolWindow& window = StartTool();
    HoldRepair();
    ClickWithMouse(window.Button(ButtonId::RepairClient), 2);
    ClickWithMouse(window.Button(ButtonId::ReinstallGame));
    AwaitClicksTaken(window);
    ExpectSameJob();
    EXPECT_EQ(bench::FindBox(L"Confirm Reinstall"), nullptr);
    ExpectSuccess();
}

class StrayMessage : public ToolTest {};

TEST_F(StrayMessage, DoesNoHarm) {
    ToolWindow& window = StartTool();
    const WindowShot before = window.Look();
    const auto buttonsBefore = window.ShownButtons();
    for (const int id : {0, 1, 2, 9, 3999, 4000, 4013, 4100, 0x7fff, 0xffff}) {
        ::PostMessageW(window.Handle(), WM_COMMAND, static_cast<WPARAM>(id), 0);
        ::PostMessageW(window.Handle(), WM_COMMAND, MAKEWPARAM(static_cast<WORD>(id), BN_DBLCLK),
                       0);
    }
    for (const UINT message :
         {UINT{WM_NULL}, UINT{WM_CANCELMODE}, UINT{WM_SETTINGCHANGE}, UINT{WM_DISPLAYCHANGE},
          UINT{WM_SYSCOLORCHANGE}, UINT{WM_THEMECHANGED}, UINT{WM_USER}, UINT{WM_USER + 1},
          UINT{WM_APP}, UINT{WM_APP + 1}, UINT{WM_APP + 2}, UINT{0xBFFF}, UINT{0xC000}}) {
        ::PostMessageW(window.Handle(), message, 0, 0);
    }
    for (const WPARAM timer : {WPARAM{0}, WPARAM{1}, WPARAM{2}, WPARAM{4711}}) {
        ::PostMessageW(window.Handle(), WM_TIMER, timer, 0);
    }
    for (const int virtualKey : {VK_ESCAPE, VK_RETURN, VK_TAB, VK_SPACE, VK_F1}) {
        const auto key = static_cast<WPARAM>(virtualKey);
        ::PostMessageW(window.Handle(), WM_KEYDOWN, key, 0);
        ::PostMessageW(window.Handle(), WM_KEYUP, key, 0);
    }
    EXPECT_TRUE(window.AwaitIdle());
    EXPECT_TRUE(::IsWindowEnabled(window.Handle()));
    EXPECT_EQ(window.ShownButtons(), buttonsBefore);
    EXPECT_TRUE(bench::Await([&] { return window.Look() == before; }));
    EXPECT_THAT(RequestedNames(), IsEmpty());
}

}  // namespace
