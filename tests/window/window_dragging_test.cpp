#include <gtest/gtest.h>

#include "bench_parts/waiting.h"
#include "window/backdrop.h"
#include "window/picture_files.h"
#include "window/tool_test.h"

namespace {

void MouseButton(DWORD action) {
    INPUT input{};
    input.type = INPUT_MOUSE;
    input.mi.dwFlags = action;
    EXPECT_EQ(::SendInput(1, &input, sizeof input), 1U);
}

POINT OriginOf(HWND window) {
    RECT place{};
    ::GetWindowRect(window, &place);
    return {place.left, place.top};
}

bool IsBeingDragged(HWND window) {
    GUITHREADINFO info{};
    info.cbSize = sizeof info;
    return ::GetGUIThreadInfo(::GetWindowThreadProcessId(window, nullptr), &info) &&
           (info.flags & GUI_INMOVESIZE) != 0;
}

class WindowDragging : public ToolTest {
protected:
    WindowDragging() {
        ::GetCursorPos(&formerPointer_);
    }
    ~WindowDragging() override {
        ::SetCursorPos(formerPointer_.x, formerPointer_.y);
    }

    // Presses the mouse at a point of the window, moves it in steps, lets go; gives how far the
    // window has come. `moves`: whether it should.
    POINT Drag(int x, int y, int byX, int byY, bool moves) {
        constexpr int kSteps = 8;
        const HWND window = Window().Handle();
        // The system does not let a window be dragged before it has become the active one.
        EXPECT_TRUE(bench::Await([window] { return ::GetForegroundWindow() == window; }));
        const POINT start = OriginOf(window);
        ::SetCursorPos(start.x + x, start.y + y);
        MouseButton(MOUSEEVENTF_LEFTDOWN);
        if (moves) {
            EXPECT_TRUE(bench::Await([window] { return IsBeingDragged(window); }));
        }
        for (int step = 1; step <= kSteps; ++step) {
            ::SetCursorPos(start.x + x + byX * step / kSteps, start.y + y + byY * step / kSteps);
            Window().AwaitIdle();
        }
        MouseButton(MOUSEEVENTF_LEFTUP);
        EXPECT_TRUE(bench::Await([window] { return !IsBeingDragged(window); }));
        Window().AwaitIdle();
        const POINT end = OriginOf(window);
        return {end.x - start.x, end.y - start.y};
    }

private:
    POINT formerPointer_{};
};

struct DragCase {
    const char* where;
    POINT from;
    POINT by;
    bool moves;
};

TEST_F(WindowDragging, MovesTheWindowByTheTitleBarAlone) {
    constexpr DragCase kCases[] = {
        {"the middle of the title bar", {430, 20}, {57, -33}, true},
        {"its lower right end", {771, 47}, {-101, 64}, true},
        {"the strip with the marks", {778, 24}, {40, 40}, false},
        {"its lower edge", {772, 47}, {40, 40}, false},
        {"below the title bar", {430, 48}, {40, 40}, false},
        {"the panel", {430, 300}, {-40, -40}, false},
        // Input is taken in its order, so what this drag finds, the ones before have left.
        {"the title bar's left end", {14, 10}, {13, 5}, true},
    };
    StartTool();
    for (const DragCase& drag : kCases) {
        SCOPED_TRACE(drag.where);
        const POINT moved = Drag(drag.from.x, drag.from.y, drag.by.x, drag.by.y, drag.moves);
        EXPECT_EQ(moved.x, drag.moves ? drag.by.x : 0);
        EXPECT_EQ(moved.y, drag.moves ? drag.by.y : 0);
    }
}

TEST_F(WindowDragging, TakesThePictureAlong) {
    const Backdrop behind(WholeScreen(), 0xFF00FF);
    const ToolWindow& window = StartTool();
    const WindowShot before = window.Look();
    Drag(430, 20, 61, 47, true);
    ::SetCursorPos(0, 0);
    EXPECT_EQ(AwaitPicture(window, before), "");
}

}  // namespace
