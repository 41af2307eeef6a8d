#include <gtest/gtest.h>

#include "window/tool_test.h"

namespace {

void MoveTo(const bench::ToolWindow& window, int x, int y) {
    ::SetWindowPos(window.Handle(), nullptr, x, y, 0, 0,
                   SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
    window.AwaitIdle();
}

// Covers the tool with another program's window, and takes that away again.
void CoverAndUncover(const bench::ToolWindow& window, const RECT& place) {
    const HWND cover = ::CreateWindowExW(
        WS_EX_NOACTIVATE | WS_EX_TOPMOST, L"STATIC", L"", WS_POPUP | WS_VISIBLE | SS_WHITERECT,
        place.left + 100, place.top + 30, 500, 450, nullptr, nullptr, nullptr, nullptr);
    ::UpdateWindow(cover);
    bench::ExpectColor(window.Screen(), 0xFFFFFFFF, {{300, 300}});
    ::DestroyWindow(cover);
}

class WindowRepaint : public bench::ToolTest {};

TEST_F(WindowRepaint, ShowsTheSamePictureAgainWhateverHidTheWindow) {
    UseBrandPictures();
    const bench::ToolWindow& window = StartTool();
    POINT formerPointer{};
    ::GetCursorPos(&formerPointer);
    ::SetCursorPos(0, 0);
    const bench::Pixels before = window.Look();
    window.Minimize();
    window.Restore();
    window.AwaitLook(before);
    RECT place{};
    ::GetWindowRect(window.Handle(), &place);
    const int below = ::GetSystemMetrics(SM_CYSCREEN) + 10;
    for (const POINT away :
         {POINT{-500, -300}, POINT{place.right, place.bottom}, POINT{0, below}}) {
        SCOPED_TRACE(testing::Message() << "from " << away.x << ", " << away.y);
        MoveTo(window, away.x, away.y);
        MoveTo(window, place.left, place.top);
        window.AwaitLook(before);
    }
    CoverAndUncover(window, place);
    window.AwaitLook(before);
    for (const ButtonId id : {ButtonId::RepairClient, ButtonId::CloseMark}) {
        SCOPED_TRACE(static_cast<int>(id));
        RECT button{};
        ::GetWindowRect(window.Button(id), &button);
        ::SetCursorPos((button.left + button.right) / 2, (button.top + button.bottom) / 2);
        ::SendMessageW(window.Button(id), WM_MOUSEMOVE, 0, MAKELPARAM(10, 10));
        EXPECT_TRUE(window.Look() == before) << "under the pointer";
    }
    ::SetCursorPos(formerPointer.x, formerPointer.y);
}

}  // namespace
