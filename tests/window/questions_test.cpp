// What the tool asks before it empties the client folder and before it closes.

#include <gtest/gtest.h>

#include "bench_parts/message_boxes.h"
#include "bench_parts/waiting.h"
#include "window/held_job.h"
#include "window/player_input.h"

namespace {

using bench::Answer;
using bench::AwaitBox;

constexpr wchar_t kReinstallCaption[] = L"Confirm Reinstall";
constexpr wchar_t kCloseCaption[] = L"Close Repair Tool";

// A way to refuse.
struct Refusal {
    const char* name;
    bool underWineOnly;  // Windows does not let a box with "Yes" and "No" be left that way.
    void (*give)(HWND box);
};

constexpr Refusal kRefusals[] = {
    {"No", false,
     [](HWND box) {
         Answer(box, IDNO);
     }},
    {"the return key, for No is the default", false,
     [](HWND box) {
         AnswerByKey(box, VK_RETURN);
     }},
    {"the escape key", true,
     [](HWND box) {
         AnswerByKey(box, VK_ESCAPE);
     }},
    {"the caption's cross", true,
     [](HWND box) {
         CloseByCaption(box);
     }},
};

// Refuses the question that `ask` brings up in every way, and expects the window to be afterwards
// as it was before.
template <typename Ask>
void RefuseInEveryWay(const ToolWindow& window, const wchar_t* caption, Ask ask) {
    const WindowShot before = window.Look();
    const auto buttonsBefore = window.ShownButtons();
    for (const Refusal& refusal : kRefusals) {
        if (refusal.underWineOnly && !bench::IsWine()) {
            continue;
        }
        SCOPED_TRACE(refusal.name);
        ask();
        refusal.give(AwaitBox(caption));
        EXPECT_TRUE(bench::Await([&] { return ::IsWindowEnabled(window.Handle()) != FALSE; }));
        EXPECT_TRUE(window.AwaitIdle());
        EXPECT_EQ(window.ShownButtons(), buttonsBefore);
        EXPECT_TRUE(bench::Await([&] { return window.Look() == before; }));
    }
}

class ReinstallQuestion : public ToolTest {};

TEST_F(ReinstallQuestion, TellsWhatWillBeLost) {
    ToolWindow& window = StartTool();
    window.Press(ButtonId::ReinstallGame);
    const HWND box = AwaitBox(kReinstallCaption);
    EXPECT_EQ(bench::BoxText(box),
              L"This will delete the current client files in this folder, then reinstall from the "
              L"CDN package.\n\nContinue?");
    EXPECT_EQ(bench::BoxButtons(box), (std::vector{IDYES, IDNO}));
    EXPECT_EQ(bench::DefaultButton(box), IDNO);
    EXPECT_EQ(bench::BoxIcon(box), UINT{MB_ICONWARNING});
    EXPECT_EQ(::GetWindow(box, GW_OWNER), window.Handle());
}

TEST_F(ReinstallQuestion, ChangesNothingWhenRefused) {
    bench::WriteFile(Client() / L"old.txt", "from an older client");
    const bench::Contents client = ClientContents();
    ToolWindow& window = StartTool();
    RefuseInEveryWay(window, kReinstallCaption, [&] { window.Press(ButtonId::ReinstallGame); });
    EXPECT_EQ(bench::FirstDifference(client, ClientContents()), "");
    EXPECT_EQ(RequestedNames(), std::vector<std::string>());
}

TEST_F(ReinstallQuestion, StartsTheReinstallAtYes) {
    bench::WriteFile(Client() / L"old.txt", "from an older client");
    ToolWindow& window = StartTool();
    window.Press(ButtonId::ReinstallGame);
    Answer(AwaitBox(kReinstallCaption), IDYES);
    window.AwaitJobStart();
    window.AwaitJobEnd();
    EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
}

TEST_F(ReinstallQuestion, IsAskedAgainAfterARefusal) {
    ToolWindow& window = StartTool();
    window.Press(ButtonId::ReinstallGame);
    Answer(AwaitBox(kReinstallCaption), IDNO);
    EXPECT_TRUE(window.AwaitIdle());
    window.Press(ButtonId::ReinstallGame);
    Answer(AwaitBox(kReinstallCaption), IDYES);
    window.AwaitJobStart();
    window.AwaitJobEnd();
    EXPECT_EQ(RequestedNames().size(), 1U);
}

TEST_F(ReinstallQuestion, KeepsTheWindowFromBeingPressed) {
    ToolWindow& window = StartTool();
    window.Press(ButtonId::ReinstallGame);
    const HWND box = AwaitBox(kReinstallCaption);
    EXPECT_FALSE(::IsWindowEnabled(window.Handle()));
    // "Repair Client" is not covered by the box.
    ClickWithMouse(window.Button(ButtonId::RepairClient));
    AnswerByKey(box, VK_RETURN);
    EXPECT_TRUE(window.AwaitIdle());
    EXPECT_TRUE(window.CanPress(ButtonId::RepairClient));
    EXPECT_EQ(RequestedNames(), std::vector<std::string>());
}

// A press of the mouse is answered by one question, however fast it is repeated.
TEST_F(ReinstallQuestion, IsAskedOnceAtADoubleClick) {
    ToolWindow& window = StartTool();
    EXPECT_TRUE(bench::Await([&] {
        ClickWithMouse(window.Button(ButtonId::ReinstallGame), 2);
        return bench::FindBox(kReinstallCaption) != nullptr;
    }));
    AnswerByKey(AwaitBox(kReinstallCaption), VK_RETURN);
    EXPECT_TRUE(window.AwaitIdle());
    EXPECT_EQ(bench::FindBox(kReinstallCaption), nullptr);
    EXPECT_TRUE(::IsWindowEnabled(window.Handle()));
}

class CloseQuestion : public HeldJob {};

void ExpectCloseQuestion(HWND box, const ToolWindow& window) {
    EXPECT_EQ(bench::BoxText(box),
              L"Are you sure you want to close?\n\nAny current repair or reinstall will be "
              L"stopped.");
    EXPECT_EQ(bench::BoxButtons(box), (std::vector{IDYES, IDNO}));
    EXPECT_EQ(bench::DefaultButton(box), IDNO);
    EXPECT_EQ(bench::BoxIcon(box), UINT{MB_ICONQUESTION});
    EXPECT_EQ(::GetWindow(box, GW_OWNER), window.Handle());
}

TEST_F(CloseQuestion, IsAskedByTheCrossWhileIdle) {
    ToolWindow& window = StartTool();
    window.Press(ButtonId::CloseMark);
    ExpectCloseQuestion(AwaitBox(kCloseCaption), window);
}

TEST_F(CloseQuestion, IsAskedByTheTaskbarWhileIdle) {
    ToolWindow& window = StartTool();
    window.PostClose();
    ExpectCloseQuestion(AwaitBox(kCloseCaption), window);
}

TEST_F(CloseQuestion, IsAskedByTheCloseButtonAfterAFailure) {
    Set("archiveUrl", server_.Url(L"status/404"));
    ToolWindow& window = StartRepair();
    window.AwaitJobEnd();
    window.Press(ButtonId::Close);
    ExpectCloseQuestion(AwaitBox(kCloseCaption), window);
}

TEST_F(CloseQuestion, IsAskedDuringAJob) {
    ToolWindow& window = StartTool();
    HoldRepair();
    window.Press(ButtonId::CloseMark);
    ExpectCloseQuestion(AwaitBox(kCloseCaption), window);
}

TEST_F(CloseQuestion, LeavesTheIdleWindowOpenWhenRefused) {
    ToolWindow& window = StartTool();
    RefuseInEveryWay(window, kCloseCaption, [&] { window.Press(ButtonId::CloseMark); });
    RefuseInEveryWay(window, kCloseCaption, [&] { window.PostClose(); });
}

TEST_F(CloseQuestion, LeavesTheFailureOnTheScreenWhenRefused) {
    Set("archiveUrl", server_.Url(L"status/404"));
    ToolWindow& window = StartRepair();
    window.AwaitJobEnd();
    RefuseInEveryWay(window, kCloseCaption, [&] { window.Press(ButtonId::Close); });
    EXPECT_TRUE(window.CanPress(ButtonId::Retry));
}

TEST_F(CloseQuestion, LetsTheJobRunToItsEndWhenRefused) {
    ToolWindow& window = StartTool();
    HoldRepair();
    RefuseInEveryWay(window, kCloseCaption, [&] { window.Press(ButtonId::CloseMark); });
    LetItSucceed();
    window.AwaitJobEnd();
    EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
    EXPECT_EQ(RequestedNames().size(), 1U);
}

TEST_F(CloseQuestion, EndsTheToolAtYes) {
    const struct {
        const char* name;
        void (*ask)(const ToolWindow& window);
    } ways[] = {
        {"cross",
         [](const ToolWindow& window) {
             window.Press(ButtonId::CloseMark);
         }},
        {"taskbar",
         [](const ToolWindow& window) {
             window.PostClose();
         }},
    };
    for (const auto& way : ways) {
        ToolWindow& window = StartTool();
        way.ask(window);
        Answer(AwaitBox(kCloseCaption), IDYES);
        EXPECT_EQ(window.AwaitExitCode(), 0U) << way.name;
    }
}

}  // namespace
