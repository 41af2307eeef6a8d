#include <gtest/gtest.h>

#include "bench_parts/message_boxes.h"
#include "window/tool_on_client.h"

namespace {

class ReadyWindow : public ToolOnClient {};

TEST_F(ReadyWindow, RepairsTheClientAtAClick) {
    ToolWindow& window = StartTool();
    window.Press(ButtonId::RepairClient);
    window.AwaitJobStart();
    window.AwaitJobEnd();
    EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
}

TEST_F(ReadyWindow, EndsWithCodeZeroAfterTheCloseQuestion) {
    ToolWindow& window = StartTool();
    window.Press(ButtonId::CloseMark);
    const HWND question = bench::AwaitBox(L"Close Repair Tool");
    EXPECT_EQ(bench::DefaultButton(question), IDNO);
    EXPECT_EQ(bench::BoxIcon(question), UINT{MB_ICONQUESTION});
    bench::Answer(question, IDYES);
    EXPECT_EQ(window.AwaitExitCode(), 0U);
}

}  // namespace
