#include "window/player_input.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "bench_parts/waiting.h"

namespace bench {
namespace {

INPUT MouseInput(DWORD action, const POINT& place) {
    // The width and the height of the screen in these units.
    constexpr LONG kFullScale = 65'536;
    const LONG width = ::GetSystemMetrics(SM_CXSCREEN);
    const LONG height = ::GetSystemMetrics(SM_CYSCREEN);
    INPUT input{};
    input.type = INPUT_MOUSE;
    input.mi.dwFlags = action | MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE;
    // In the middle of the pixel.
    input.mi.dx = (2 * place.x + 1) * kFullScale / (2 * width);
    input.mi.dy = (2 * place.y + 1) * kFullScale / (2 * height);
    return input;
}

INPUT KeyStroke(WORD key, DWORD action) {
    INPUT input{};
    input.type = INPUT_KEYBOARD;
    input.ki.wVk = key;
    input.ki.dwFlags = action;
    return input;
}

void Send(std::vector<INPUT> inputs) {
    const auto count = static_cast<UINT>(inputs.size());
    EXPECT_EQ(::SendInput(count, inputs.data(), sizeof(INPUT)), count);
}

}  // namespace

void ClickWithMouse(HWND target, int times) {
    RECT bounds{};
    ASSERT_TRUE(::GetWindowRect(target, &bounds));
    const POINT middle{(bounds.left + bounds.right) / 2, (bounds.top + bounds.bottom) / 2};
    // Each input has the position: the display can report an earlier move of the pointer late.
    std::vector<INPUT> inputs;
    for (int click = 0; click < times; ++click) {
        inputs.push_back(MouseInput(MOUSEEVENTF_LEFTDOWN, middle));
        inputs.push_back(MouseInput(MOUSEEVENTF_LEFTUP, middle));
    }
    Send(std::move(inputs));
}

void AwaitClicksTaken(const ToolWindow& window) {
    constexpr int kLooksPerClick = 50;
    int looks = 0;
    EXPECT_TRUE(Await([&] {
        if (looks++ % kLooksPerClick == 0) {
            ClickWithMouse(window.Button(ButtonId::Minimize));
        }
        return ::IsIconic(window.Handle()) != FALSE;
    }));
    window.Restore();
}

void AnswerByKey(HWND box, WORD key) {
    EXPECT_TRUE(Await([box] { return ::GetForegroundWindow() == box; }));
    Send({KeyStroke(key, 0), KeyStroke(key, KEYEVENTF_KEYUP)});
    EXPECT_TRUE(Await([box] { return !::IsWindow(box); })) << "the box stays open";
}

}  // namespace bench
