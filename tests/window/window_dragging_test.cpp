#include <gtest/gtest.h>

#include "bench_parts/waiting.h"
#include "window/backdrop.h"
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

class WindowDragging : public bench::ToolTest {
protected:
    WindowDragging() {
        ::GetCursorPos(&formerPointer_);
    }
    ~WindowDragging() override {
        ::SetCursorPos(formerPointer_.x, formerPointer_.y);
    }

    // Presses the mouse at a point of the window, moves it in steps, releases it; returns how far
    // the window has moved. `moves`: whether it should.
    POINT Drag(const POINT& from, const POINT& by, bool moves) {
        constexpr int kSteps = 8;
        const HWND window = Window().Handle();
        // The system lets only the active window be dragged.
        EXPECT_TRUE(bench::Await([window] { return ::GetForegroundWindow() == window; }));
        const POINT start = OriginOf(window);
        ::SetCursorPos(start.x + from.x, start.y + from.y);
        MouseButton(MOUSEEVENTF_LEFTDOWN);
        if (moves) {
            EXPECT_TRUE(bench::Await([window] { return IsBeingDragged(window); }));
        }
        for (int step = 1; step <= kSteps; ++step) {
            ::SetCursorPos(start.x + from.x + by.x * step / kSteps,
                           start.y + from.y + by.y * step / kSteps);
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

TEST_F(WindowDragging, MovesTheWindowWithItsPictureByTheTitleBarAlone) {
    const struct {
        const char* where;
        POINT from;
        POINT by;
        bool moves;
    } rows[] = {
        {"the middle of the title bar", {430, 20}, {57, -33}, true},
        {"its lower right end", {771, 47}, {-101, 64}, true},
        {"the strip with the marks", {778, 24}, {40, 40}, false},
        {"its lower edge", {772, 47}, {40, 40}, false},
        {"below the title bar", {430, 48}, {40, 40}, false},
        {"the panel", {430, 300}, {-40, -40}, false},
        // Input is handled in order, so a late effect of the drags before shows here.
        {"the title bar's left end", {14, 10}, {13, 5}, true},
    };
    const bench::Backdrop behind(bench::WholeScreen());
    const bench::Pixels before = StartTool().Look();
    for (const auto& [where, from, by, moves] : rows) {
        SCOPED_TRACE(where);
        const POINT moved = Drag(from, by, moves);
        EXPECT_EQ(moved.x, moves ? by.x : 0);
        EXPECT_EQ(moved.y, moves ? by.y : 0);
    }
    ::SetCursorPos(0, 0);
    Window().AwaitLook(before);
}

}  // namespace
