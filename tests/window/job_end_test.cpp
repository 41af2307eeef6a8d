// What the end of a job brings about: the buttons and the question about the shortcut. What it
// starts is in job_launch_test.cpp.

#include <gtest/gtest.h>

#include "bench_parts/message_boxes.h"
#include "bench_parts/waiting.h"
#include "window/desktop_link.h"
#include "window/held_job.h"

namespace {

using bench::Answer;
using bench::AwaitBox;

constexpr wchar_t kOfferCaption[] = L"Create Game Shortcut";

class ShortcutOffer : public HeldJob {
protected:
    ShortcutOffer() {
        HoldNoMore();
        Set("offerDesktopShortcut", L"1");
        Set("shortcutName", DesktopLink::Name());
        PutStartupProgram();
    }

    void StartReinstall() {
        Window().Press(ButtonId::ReinstallGame);
        Answer(AwaitBox(L"Confirm Reinstall"), IDYES);
        Window().AwaitJobStart();
    }

    HWND ReinstallUpToTheOffer() {
        StartReinstall();
        return AwaitBox(kOfferCaption);
    }

    // A question would keep the launch that follows it waiting.
    void ExpectLaunchWithoutAQuestion() {
        EXPECT_TRUE(bench::Await([this] { return StartsOfTheGame() == 1; }));
        EXPECT_EQ(bench::FindBox(kOfferCaption), nullptr);
        EXPECT_TRUE(::IsWindowEnabled(Window().Handle()));
    }

    void ExpectNoQuestion() {
        for (int tick = 0; tick < 5; ++tick) {
            Window().PostTick();
        }
        EXPECT_TRUE(Window().AwaitIdle());
        EXPECT_EQ(bench::FindBox(kOfferCaption), nullptr);
        EXPECT_TRUE(::IsWindowEnabled(Window().Handle()));
    }

    DesktopLink link_;
};

TEST_F(ShortcutOffer, IsAQuestionAfterAReinstall) {
    ToolWindow& window = StartTool();
    const HWND box = ReinstallUpToTheOffer();
    EXPECT_EQ(bench::BoxText(box),
              L"Re-install is complete.\n\nCreate a desktop game shortcut now?");
    EXPECT_EQ(bench::BoxButtons(box), (std::vector{IDYES, IDNO}));
    EXPECT_EQ(bench::DefaultButton(box), IDYES);
    EXPECT_EQ(bench::BoxIcon(box), UINT{MB_ICONQUESTION});
    EXPECT_EQ(::GetWindow(box, GW_OWNER), window.Handle());
    EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
    EXPECT_FALSE(link_.Exists());
}

TEST_F(ShortcutOffer, ComesWhenTheJobButtonsAreEnabledAgain) {
    ToolWindow& window = StartTool();
    ReinstallUpToTheOffer();
    EXPECT_TRUE(window.See(ButtonId::RepairClient).enabled);
    EXPECT_TRUE(window.See(ButtonId::ReinstallGame).enabled);
}

TEST_F(ShortcutOffer, MakesTheShortcutAtYes) {
    ToolWindow& window = StartTool();
    Answer(ReinstallUpToTheOffer(), IDYES);
    EXPECT_TRUE(bench::Await(
        [&] { return window.HasText(ButtonId::CreateShortcut, L"Game Shortcut Created"); }));
    EXPECT_TRUE(window.AwaitIdle());
    EXPECT_FALSE(window.See(ButtonId::CreateShortcut).enabled);
    EXPECT_TRUE(window.See(ButtonId::CreateShortcut).visible);
    EXPECT_EQ(link_.Target(), (machine_.Root() / L"game" / L"game.exe").native());
    ExpectNoQuestion();
}

TEST_F(ShortcutOffer, MakesNoneAtNo) {
    ToolWindow& window = StartTool();
    Answer(ReinstallUpToTheOffer(), IDNO);
    ExpectNoQuestion();
    EXPECT_FALSE(link_.Exists());
    EXPECT_TRUE(window.HasText(ButtonId::CreateShortcut, L"Create Game Shortcut"));
    EXPECT_TRUE(window.CanPress(ButtonId::CreateShortcut));
}

TEST_F(ShortcutOffer, TellsAtYesWhenTheStartupProgramIsMissing) {
    Set("startupExe", L"missing.exe");
    Set("runAfterInstall", L"1");
    ToolWindow& window = StartTool();
    Answer(ReinstallUpToTheOffer(), IDYES);
    const HWND box = AwaitBox(kOfferCaption);
    EXPECT_EQ(bench::BoxText(box),
              L"Could not find the shortcut target: " + (Client() / L"missing.exe").native());
    EXPECT_EQ(bench::BoxButtons(box), std::vector{IDOK});
    EXPECT_EQ(bench::BoxIcon(box), UINT{MB_ICONWARNING});
    Answer(box, IDOK);
    ExpectNoQuestion();
    EXPECT_TRUE(window.CanPress(ButtonId::CreateShortcut));
    EXPECT_FALSE(link_.Exists());
}

TEST_F(ShortcutOffer, ComesOnceHoweverManyTicksPass) {
    ToolWindow& window = StartTool();
    const HWND box = ReinstallUpToTheOffer();
    for (int tick = 0; tick < 5; ++tick) {
        window.PostTick();
    }
    EXPECT_TRUE(window.AwaitIdle());
    EXPECT_EQ(::FindWindowExW(nullptr, box, L"#32770", kOfferCaption), nullptr);
    Answer(box, IDNO);
    ExpectNoQuestion();
}

TEST_F(ShortcutOffer, ComesAgainAfterTheNextReinstall) {
    StartTool();
    Answer(ReinstallUpToTheOffer(), IDNO);
    ExpectNoQuestion();
    Answer(ReinstallUpToTheOffer(), IDYES);
    EXPECT_TRUE(bench::Await([this] { return link_.Exists(); }));
    ExpectNoQuestion();
    // Also when the shortcut is there already.
    Answer(ReinstallUpToTheOffer(), IDNO);
    ExpectNoQuestion();
}

TEST_F(ShortcutOffer, DoesNotComeWhenTheBrandDoesNotWantIt) {
    Set("offerDesktopShortcut", L"0");
    Set("runAfterInstall", L"1");
    StartTool();
    StartReinstall();
    ExpectLaunchWithoutAQuestion();
}

TEST_F(ShortcutOffer, DoesNotComeAfterARepair) {
    Set("runAfterInstall", L"1");
    StartRepair();
    ExpectLaunchWithoutAQuestion();
}

TEST_F(ShortcutOffer, DoesNotComeAfterAFailedReinstall) {
    Set("archiveUrl", server_.Url(L"status/404"));
    ToolWindow& window = StartTool();
    StartReinstall();
    EXPECT_TRUE(bench::Await([&] { return window.CanPress(ButtonId::Retry); }));
    ExpectNoQuestion();
}

class JobEnd : public HeldJob {};

TEST_F(JobEnd, GivesTheJobButtonsBack) {
    ToolWindow& window = StartTool();
    const auto ready = window.ShownButtons();
    HoldRepair();
    EXPECT_NE(window.ShownButtons(), ready);
    LetItSucceed();
    EXPECT_TRUE(bench::Await([&] { return window.ShownButtons() == ready; }));
}

TEST_F(JobEnd, GivesTheServerChoiceBack) {
    OfferSeveralServers(PackageUrl(L"zip_small_client.zip"));
    ToolWindow& window = StartTool();
    const auto ready = window.ShownButtons();
    HoldRepair();
    EXPECT_FALSE(window.CanPress(ButtonId::SecondServer));
    LetItSucceed();
    EXPECT_TRUE(bench::Await([&] { return window.ShownButtons() == ready; }));
}

// The message tells the window to paint; only the job's own end ends a job.
TEST_F(JobEnd, IsNotBroughtAboutByItsMessageAlone) {
    ToolWindow& window = StartTool();
    HoldRepair();
    for (int message = 0; message < 5; ++message) {
        ::PostMessageW(window.Handle(), WM_APP + 1, 0, 0);
        window.PostTick();
    }
    EXPECT_TRUE(window.AwaitIdle());
    EXPECT_FALSE(window.See(ButtonId::RepairClient).enabled);
    EXPECT_EQ(::WaitForSingleObject(Tar().get(), 0), DWORD{WAIT_TIMEOUT});
    LetItSucceed();
    window.AwaitJobEnd();
    EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
}

TEST_F(JobEnd, AllowsTheNextJob) {
    ToolWindow& window = StartTool();
    HoldRepair();
    LetItSucceed();
    window.AwaitJobEnd();
    bench::WriteFile(Client() / L"old.txt", "from an older client");
    HoldReinstall();
    LetItSucceed();
    window.AwaitJobEnd();
    EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
    EXPECT_EQ(RequestedNames().size(), 2U);
}

TEST_F(JobEnd, IsReachedWhileTheWindowIsMinimized) {
    ToolWindow& window = StartTool();
    HoldRepair();
    window.Press(ButtonId::Minimize);
    EXPECT_TRUE(bench::Await([&] { return ::IsIconic(window.Handle()) != FALSE; }));
    LetItSucceed();
    EXPECT_TRUE(bench::Await([&] { return window.See(ButtonId::RepairClient).enabled; }));
    EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
}

}  // namespace
