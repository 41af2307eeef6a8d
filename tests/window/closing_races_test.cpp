// Closing the tool while something else happens: a job ends, another question is open.

#include <gmock/gmock.h>

#include "bench_parts/message_boxes.h"
#include "bench_parts/waiting.h"
#include "window/tool_test.h"

namespace {

using bench::Answer;
using bench::AwaitBox;
using testing::IsEmpty;

constexpr wchar_t kCloseCaption[] = L"Close Repair Tool";
constexpr wchar_t kReinstallCaption[] = L"Confirm Reinstall";
constexpr wchar_t kOfferCaption[] = L"Create Game Shortcut";

// Answers a question that is below another one. It stays open until that one is answered as well.
void AnswerBelow(HWND box, int button) {
    ::PostMessageW(box, WM_COMMAND, static_cast<WPARAM>(button), 0);
    EXPECT_TRUE(bench::Await([box] { return !::IsWindowVisible(box); }));
}

class ClosingRace : public bench::ToolTest {
protected:
    ClosingRace() {
        PutStartupProgram();
    }

    void ExpectSuccessCollected() {
        EXPECT_TRUE(bench::Await([this] { return Window().See(ButtonId::RepairClient).enabled; }));
        ExpectRepaired();
    }

    void AnswerToClose(HWND question, int answer) {
        Answer(question, answer);
        ExpectOutcome(answer);
    }

    void ExpectOutcome(int answerToClose) {
        if (answerToClose == IDYES) {
            ExpectExit();
        } else {
            Window().AwaitUsable();
        }
    }
};

TEST_F(ClosingRace, ASuccessIsCollectedUnderTheQuestion) {
    Set("runAfterInstall", L"1");
    StartTool();
    for (const int answer : {IDNO, IDYES}) {
        const size_t starts = StartsOfTheGame();
        HoldRepair();
        const HWND question = AskToClose();
        LetItSucceed();
        ExpectSuccessCollected();
        EXPECT_TRUE(bench::Await([&] { return StartsOfTheGame() == starts + 1; }))
            << "the launch does not wait for the answer";
        AnswerToClose(question, answer);
    }
}

TEST_F(ClosingRace, AFailureIsShownUnderTheQuestion) {
    const bench::ToolWindow& window = StartTool();
    for (const int answer : {IDNO, IDYES}) {
        HoldRepair();
        const HWND question = AskToClose();
        LetItFail();
        EXPECT_TRUE(bench::Await([&] { return window.See(ButtonId::Retry).visible; }));
        AnswerToClose(question, answer);
        if (answer == IDNO) {
            window.Press(ButtonId::Retry);
            window.AwaitCanPress(ButtonId::RepairClient);
        }
    }
}

// A reinstall that ends under the close question opens the offer of the shortcut above it.
class OfferAboveCloseQuestion : public ClosingRace {
protected:
    void OpenBoth() {
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

TEST_F(OfferAboveCloseQuestion, BothAnswersCountInEitherOrder) {
    const struct {
        const char* name;
        bool offerFirst;
        int close;
        int offer;
    } rows[] = {
        {"shortcut, then the tool stays", true, IDNO, IDYES},
        {"no shortcut, then the tool closes", true, IDYES, IDNO},
        {"the tool stays, then a shortcut", false, IDNO, IDYES},
        {"the tool closes, after a shortcut", false, IDYES, IDYES},
    };
    for (const auto& [name, offerFirst, close, offer] : rows) {
        SCOPED_TRACE(name);
        OpenBoth();
        if (offerFirst) {
            Answer(offer_, offer);
            Answer(question_, close);
        } else {
            AnswerBelow(question_, close);
            EXPECT_TRUE(::IsWindowVisible(offer_));
            Answer(offer_, offer);
        }
        ExpectOutcome(close);
        EXPECT_EQ(std::filesystem::remove(ShortcutFile()), offer == IDYES);
    }
}

// Refusing to close re-enables the window, so the player can continue with the offer still open.
TEST_F(OfferAboveCloseQuestion, TheOfferComesTooLateOnceTheNextJobRuns) {
    Set("runAfterInstall", L"1");
    OpenBoth();
    AnswerBelow(question_, IDNO);
    HoldRepair();
    Answer(offer_, IDYES);
    Window().AwaitIdle();
    EXPECT_FALSE(Window().See(ButtonId::RepairClient).enabled);
    EXPECT_FALSE(std::filesystem::exists(ShortcutFile()));
    LetItSucceed();
    ExpectSuccessCollected();
    EXPECT_TRUE(bench::Await([this] { return StartsOfTheGame() == 1; })) << "the next job's launch";
}

TEST_F(ClosingRace, TheReinstallsQuestionStaysOrClosesWithTheTool) {
    const bench::ToolWindow& window = StartTool();
    window.Press(ButtonId::ReinstallGame);
    HWND question = AwaitBox(kReinstallCaption);
    Answer(AskToClose(), IDNO);
    EXPECT_TRUE(::IsWindowVisible(question));
    Answer(question, IDYES);
    window.AwaitIdle();
    ExpectSuccessCollected();
    bench::WriteFile(Client() / L"own.txt", "of the player");
    window.AwaitUsable();
    window.Press(ButtonId::ReinstallGame);
    question = AwaitBox(kReinstallCaption);
    AnswerToClose(AskToClose(), IDYES);
    EXPECT_FALSE(::IsWindow(question));
    EXPECT_EQ(RequestedNames().size(), 1U);
    EXPECT_TRUE(std::filesystem::exists(Client() / L"own.txt"));
}

// A program that wants to close all windows of a thread can do that.
TEST_F(ClosingRace, AQuitMessageStopsTheJobToo) {
    machine_.PutRecorder(machine_.CurrentFolder() / L"powershell.exe", "hold");
    const bench::ToolWindow& window = StartTool();
    HoldRepair();
    EXPECT_TRUE(
        ::PostThreadMessageW(::GetWindowThreadProcessId(window.Handle(), nullptr), WM_QUIT, 0, 0));
    ExpectExit();
    EXPECT_EQ(bench::AwaitExitCode(Tar()), 1U);
    EXPECT_THAT(ClientContents(), IsEmpty());
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
    AnswerToClose(second, IDYES);
    EXPECT_FALSE(::IsWindow(first));
}

}  // namespace
