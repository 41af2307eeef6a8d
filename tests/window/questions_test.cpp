// What the tool asks before it empties the client folder. Both questions' texts and answers are
// tested in tests/ui.

#include <gmock/gmock.h>

#include "bench_parts/message_boxes.h"
#include "bench_parts/waiting.h"
#include "window/player_input.h"
#include "window/tool_test.h"

namespace {

using testing::IsEmpty;

constexpr wchar_t kReinstallCaption[] = L"Confirm Reinstall";

class Questions : public bench::ToolTest {};

// One question however fast the click is repeated.
TEST_F(Questions, ARefusedReinstallAsksOnceAndChangesNothing) {
    bench::WriteFile(Client() / L"old.txt", "from an older client");
    const bench::Contents client = ClientContents();
    const bench::ToolWindow& window = StartTool();
    const bench::Pixels before = window.Look();
    const auto buttonsBefore = window.ShownButtons();
    EXPECT_TRUE(bench::Await([&] {
        bench::ClickWithMouse(window.Button(ButtonId::ReinstallGame), 2);
        return bench::FindBox(kReinstallCaption) != nullptr;
    }));
    const HWND box = bench::AwaitBox(kReinstallCaption);
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
    EXPECT_EQ(window.ShownButtons(), buttonsBefore);
    window.AwaitLook(before);
    EXPECT_EQ(bench::FirstDifference(client, ClientContents()), "");
    EXPECT_THAT(RequestedNames(), IsEmpty());
}

}  // namespace
