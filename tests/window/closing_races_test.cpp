// Closing the tool while something else happens: a job ends, another question is open.

#include <gmock/gmock.h>

#include "bench_parts/message_boxes.h"
#include "bench_parts/waiting.h"
#include "window/desktop_link.h"
#include "window/held_job.h"

namespace {

using bench::Answer;
using bench::AwaitBox;
using testing::IsEmpty;

constexpr wchar_t kCloseCaption[] = L"Close Repair Tool";
constexpr wchar_t kReinstallCaption[] = L"Confirm Reinstall";
constexpr wchar_t kOfferCaption[] = L"Create Game Shortcut";

class ClosingRace : public HeldJob {
protected:
    ClosingRace() {
        Set("shortcutName", DesktopLink::Name());
        PutStartupProgram();
    }

    // For a question below another one, which goes when that one is answered as well.
    static void AnswerBelow(HWND box, int button) {
        ::PostMessageW(box, WM_COMMAND, static_cast<WPARAM>(button), 0);
        EXPECT_TRUE(bench::Await([box] { return !::IsWindowVisible(box); }));
    }

    void ExpectEnd() {
        EXPECT_EQ(Window().AwaitExitCode(), 0U);
        EXPECT_THAT(TempFolder(), IsEmpty());
    }

    void ExpectSuccessCollected() {
        EXPECT_TRUE(bench::Await([this] { return Window().See(ButtonId::RepairClient).enabled; }));
        EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
    }

    void ExpectOpenAndUsable() {
        EXPECT_TRUE(bench::Await([this] { return ::IsWindowEnabled(Window().Handle()) != FALSE; }));
        EXPECT_TRUE(Window().AwaitIdle());
        EXPECT_EQ(::WaitForSingleObject(Window().Process(), 0), DWORD{WAIT_TIMEOUT});
    }

    DesktopLink link_;
};

TEST_F(ClosingRace, ASuccessIsCollectedUnderTheQuestion) {
    for (const int answer : {IDNO, IDYES}) {
        Set("runAfterInstall", L"1");
        const size_t starts = StartsOfTheGame();
        StartTool();
        HoldRepair();
        const HWND question = AskToClose();
        LetItSucceed();
        ExpectSuccessCollected();
        EXPECT_TRUE(bench::Await([&] { return StartsOfTheGame() == starts + 1; }))
            << "the launch does not wait for the answer";
        Answer(question, answer);
        if (answer == IDNO) {
            ExpectOpenAndUsable();
            CloseTool();
        }
        if (answer == IDYES) {
            ExpectEnd();
        }
    }
}

TEST_F(ClosingRace, AFailureIsShownUnderTheQuestion) {
    for (const int answer : {IDNO, IDYES}) {
        ToolWindow& window = StartTool();
        HoldRepair();
        const HWND question = AskToClose();
        LetItFail();
        EXPECT_TRUE(bench::Await([&] { return window.See(ButtonId::Retry).visible; }));
        Answer(question, answer);
        if (answer == IDNO) {
            ExpectOpenAndUsable();
            EXPECT_TRUE(window.CanPress(ButtonId::Retry));
            CloseTool();
        }
        if (answer == IDYES) {
            ExpectEnd();
        }
    }
}

// A reinstall that ends under the close question brings up the offer of the shortcut above it.
class OfferAboveCloseQuestion : public ClosingRace {
protected:
    void BringUpBoth() {
        Set("offerDesktopShortcut", L"1");
        StartTool();
        HoldReinstall();
        question_ = AskToClose();
        LetItSucceed();
        offer_ = AwaitBox(kOfferCaption);
        EXPECT_TRUE(::IsWindow(question_));
    }

    HWND question_ = nullptr;
    HWND offer_ = nullptr;
};

TEST_F(OfferAboveCloseQuestion, CanBeAcceptedAndTheToolKept) {
    BringUpBoth();
    Answer(offer_, IDYES);
    Answer(question_, IDNO);
    ExpectOpenAndUsable();
    EXPECT_TRUE(link_.Exists());
    EXPECT_TRUE(Window().HasText(ButtonId::CreateShortcut, L"Game Shortcut Created"));
}

TEST_F(OfferAboveCloseQuestion, CanBeRefusedAndTheToolClosed) {
    BringUpBoth();
    Answer(offer_, IDNO);
    Answer(question_, IDYES);
    ExpectEnd();
    EXPECT_FALSE(link_.Exists());
}

TEST_F(OfferAboveCloseQuestion, IsStillOpenAfterTheQuestionBelowWasAnsweredNo) {
    BringUpBoth();
    AnswerBelow(question_, IDNO);
    EXPECT_TRUE(::IsWindowVisible(offer_));
    Answer(offer_, IDYES);
    ExpectOpenAndUsable();
    EXPECT_TRUE(link_.Exists());
}

TEST_F(OfferAboveCloseQuestion, IsStillOpenAfterTheQuestionBelowWasAnsweredYes) {
    BringUpBoth();
    AnswerBelow(question_, IDYES);
    EXPECT_TRUE(::IsWindowVisible(offer_));
    Answer(offer_, IDYES);
    ExpectEnd();
    EXPECT_TRUE(link_.Exists());
}

// Refusing to close makes the window listen again, so the player can go on with the offer still
// open.
TEST_F(OfferAboveCloseQuestion, IsTooLateWhenTheNextJobIsUnderWay) {
    Set("runAfterInstall", L"1");
    BringUpBoth();
    AnswerBelow(question_, IDNO);
    HoldRepair();
    Answer(offer_, IDYES);
    EXPECT_TRUE(Window().AwaitIdle());
    EXPECT_FALSE(Window().See(ButtonId::RepairClient).enabled);
    EXPECT_FALSE(link_.Exists());
    LetItSucceed();
    ExpectSuccessCollected();
    EXPECT_TRUE(bench::Await([this] { return StartsOfTheGame() == 1; })) << "the next job's launch";
}

TEST_F(ClosingRace, TheReinstallsQuestionGoesWithTheTool) {
    ToolWindow& window = StartTool();
    window.Press(ButtonId::ReinstallGame);
    const HWND question = AwaitBox(kReinstallCaption);
    bench::WriteFile(Client() / L"old.txt", "from an older client");
    Answer(AskToClose(), IDYES);
    ExpectEnd();
    EXPECT_FALSE(::IsWindow(question));
    EXPECT_THAT(RequestedNames(), IsEmpty());
    EXPECT_EQ(ClientContents().size(), 1U) << "nothing was deleted";
}

TEST_F(ClosingRace, TheReinstallsQuestionStaysWhenTheToolDoes) {
    ToolWindow& window = StartTool();
    HoldNoMore();
    window.Press(ButtonId::ReinstallGame);
    const HWND question = AwaitBox(kReinstallCaption);
    Answer(AskToClose(), IDNO);
    EXPECT_TRUE(::IsWindowVisible(question));
    Answer(question, IDYES);
    window.AwaitJobStart();
    ExpectSuccessCollected();
}

TEST_F(ClosingRace, TheOfferGoesWithTheTool) {
    Set("offerDesktopShortcut", L"1");
    StartTool();
    HoldReinstall();
    LetItSucceed();
    const HWND offer = AwaitBox(kOfferCaption);
    Answer(AskToClose(), IDYES);
    ExpectEnd();
    EXPECT_FALSE(::IsWindow(offer));
    EXPECT_FALSE(link_.Exists());
}

TEST_F(ClosingRace, TheGameIsNotStartedWhenTheOfferGoesWithTheTool) {
    Set("offerDesktopShortcut", L"1");
    Set("runAfterInstall", L"1");
    StartTool();
    HoldReinstall();
    LetItSucceed();
    AwaitBox(kOfferCaption);
    Answer(AskToClose(), IDYES);
    ExpectEnd();
    EXPECT_EQ(SettledStartsOfTheGame(), 0U);
}

// As a program can do that wants all windows of a thread gone.
TEST_F(ClosingRace, AnEndFromOutsideStopsTheJobToo) {
    machine_.PutRecorder(machine_.CurrentFolder() / L"powershell.exe", "hold");
    ToolWindow& window = StartTool();
    HoldRepair();
    EXPECT_TRUE(
        ::PostThreadMessageW(::GetWindowThreadProcessId(window.Handle(), nullptr), WM_QUIT, 0, 0));
    ExpectEnd();
    EXPECT_EQ(bench::AwaitExitCode(Tar()), 1U);
    EXPECT_THAT(ClientContents(), IsEmpty());
}

TEST_F(ClosingRace, TheShortcutsFailureGoesWithTheTool) {
    Set("offerDesktopShortcut", L"1");
    Set("startupExe", L"missing.exe");
    StartTool().Press(ButtonId::CreateShortcut);
    AwaitBox(kOfferCaption);
    Answer(AskToClose(), IDYES);
    ExpectEnd();
}

// Another program can ask to close although the window is disabled.
TEST_F(ClosingRace, TwoQuestionsAreAnsweredByOneYes) {
    StartTool();
    HoldRepair();
    const HWND first = AskToClose();
    Window().PostClose();
    const HWND second = bench::Await([first]() -> HWND {
        const HWND found = bench::FindBox(kCloseCaption);
        return found != first ? found : nullptr;
    });
    ASSERT_NE(second, nullptr);
    Answer(second, IDYES);
    ExpectEnd();
    EXPECT_FALSE(::IsWindow(first));
}

}  // namespace
