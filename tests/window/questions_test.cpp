// What the tool asks before it empties the client folder and before it closes.

#include <gmock/gmock.h>

#include "bench_parts/message_boxes.h"
#include "bench_parts/waiting.h"
#include "window/player_input.h"
#include "window/tool_test.h"

namespace {

using bench::AwaitBox;
using testing::IsEmpty;

constexpr wchar_t kReinstallCaption[] = L"Confirm Reinstall";
constexpr wchar_t kCloseCaption[] = L"Close Repair Tool";

struct Refusal {
    const char* name;
    bool underWineOnly;  // On Windows a box with "Yes" and "No" cannot be left that way.
    void (*give)(HWND box);
};

constexpr Refusal kRefusals[] = {
    {"No", false,
     [](HWND box) {
         bench::Answer(box, IDNO);
     }},
    {"the return key: No is the default", false,
     [](HWND box) {
         bench::AnswerByKey(box, VK_RETURN);
     }},
    {"the escape key", true,
     [](HWND box) {
         bench::AnswerByKey(box, VK_ESCAPE);
     }},
    {"the caption's cross", true,
     [](HWND box) {
         bench::CloseByCaption(box);
     }},
};

class Questions : public bench::ToolTest {
protected:
    // Refuses the question that `ask` brings up in every way; the window stays as it was.
    template <typename Ask>
    void RefuseInEveryWay(const wchar_t* caption, Ask ask) {
        const bench::WindowShot before = Window().Look();
        const auto buttonsBefore = Window().ShownButtons();
        for (const Refusal& refusal : kRefusals) {
            if (!refusal.underWineOnly || bench::IsWine()) {
                SCOPED_TRACE(refusal.name);
                ask();
                refusal.give(AwaitBox(caption));
                Window().AwaitUsable();
                EXPECT_EQ(Window().ShownButtons(), buttonsBefore);
                Window().AwaitLook(before);
            }
        }
    }

    void ExpectCloseQuestion(HWND box) {
        ExpectBox(box,
                  L"Are you sure you want to close?\n\nAny current repair or reinstall will be "
                  L"stopped.",
                  {IDYES, IDNO}, IDNO, MB_ICONQUESTION);
    }
};

TEST_F(Questions, ARefusedReinstallChangesNothing) {
    bench::WriteFile(Client() / L"old.txt", "from an older client");
    const bench::Contents client = ClientContents();
    const bench::ToolWindow& window = StartTool();
    RefuseInEveryWay(kReinstallCaption, [&] { window.Press(ButtonId::ReinstallGame); });
    EXPECT_EQ(bench::FirstDifference(client, ClientContents()), "");
    EXPECT_THAT(RequestedNames(), IsEmpty());
}

// One question however fast the click is repeated.
TEST_F(Questions, TheReinstallsQuestionComesOnceAndBlocksTheWindow) {
    const bench::ToolWindow& window = StartTool();
    EXPECT_TRUE(bench::Await([&] {
        bench::ClickWithMouse(window.Button(ButtonId::ReinstallGame), 2);
        return bench::FindBox(kReinstallCaption) != nullptr;
    }));
    const HWND box = AwaitBox(kReinstallCaption);
    ExpectBox(box,
              L"This will delete the current client files in this folder, then reinstall from the "
              L"CDN package.\n\nContinue?",
              {IDYES, IDNO}, IDNO, MB_ICONWARNING);
    EXPECT_FALSE(::IsWindowEnabled(window.Handle()));
    // The box does not cover this button.
    bench::ClickWithMouse(window.Button(ButtonId::RepairClient));
    bench::AnswerByKey(box, VK_RETURN);
    window.AwaitUsable();
    EXPECT_EQ(bench::FindBox(kReinstallCaption), nullptr);
    EXPECT_TRUE(window.CanPress(ButtonId::RepairClient));
    EXPECT_THAT(RequestedNames(), IsEmpty());
}

TEST_F(Questions, ARefusalToCloseKeepsTheIdleTool) {
    const bench::ToolWindow& window = StartTool();
    RefuseInEveryWay(kCloseCaption, [&] { window.Press(ButtonId::CloseMark); });
    const HWND box = AskToClose();
    ExpectCloseQuestion(box);
    bench::Answer(box, IDNO);
    window.AwaitUsable();
    window.Press(ButtonId::CloseMark);
    bench::Answer(AwaitBox(kCloseCaption), IDYES);
    ExpectExit();
}

TEST_F(Questions, ARefusalToCloseKeepsTheFailureOnTheScreen) {
    Set("archiveUrl", server_.Url(L"status/404"));
    const bench::ToolWindow& window = StartTool();
    StartRepair();
    window.AwaitCanPress(ButtonId::Close);
    RefuseInEveryWay(kCloseCaption, [&] { window.Press(ButtonId::Close); });
    window.Press(ButtonId::Close);
    bench::Answer(AwaitBox(kCloseCaption), IDYES);
    ExpectExit();
}

TEST_F(Questions, ARefusalToCloseLetsTheJobGoOn) {
    const bench::ToolWindow& window = StartTool();
    HoldRepair();
    window.Press(ButtonId::CloseMark);
    const HWND box = AwaitBox(kCloseCaption);
    ExpectCloseQuestion(box);
    bench::Answer(box, IDNO);
    window.AwaitUsable();
    EXPECT_FALSE(window.CanPress(ButtonId::RepairClient));
    LetItSucceed();
    window.AwaitJobEnd();
    ExpectRepaired();
}

}  // namespace
