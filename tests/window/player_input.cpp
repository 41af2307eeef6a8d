#include "window/player_input.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "bench_parts/waiting.h"

namespace {

INPUT MouseInput(DWORD action, const POINT& place) {
    // The whole screen is as wide and as high as this, in whatever pixels.
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

void ExpectGone(HWND box) {
    EXPECT_TRUE(bench::Await([box] { return !::IsWindow(box); })) << "the box stays open";
}

}  // namespace

void ClickWithMouse(HWND target, int times) {
    RECT bounds{};
    ASSERT_TRUE(::GetWindowRect(target, &bounds));
    const POINT middle{(bounds.left + bounds.right) / 2, (bounds.top + bounds.bottom) / 2};
    // Each input says where: the display can report an earlier move of the pointer late.
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
    EXPECT_TRUE(bench::Await([&] {
        if (looks++ % kLooksPerClick == 0) {
            ClickWithMouse(window.Button(ButtonId::Minimize));
        }
        return ::IsIconic(window.Handle()) != FALSE;
    }));
    ::PostMessageW(window.Handle(), WM_SYSCOMMAND, SC_RESTORE, 0);
    EXPECT_TRUE(bench::Await([&] { return ::IsIconic(window.Handle()) == FALSE; }));
    EXPECT_TRUE(window.AwaitIdle());
}

void AnswerByKey(HWND box, WORD key) {
    EXPECT_TRUE(bench::Await([box] { return ::GetForegroundWindow() == box; }));
    Send({KeyStroke(key, 0), KeyStroke(key, KEYEVENTF_KEYUP)});
    ExpectGone(box);
}

void CloseByCaption(HWND box) {
    ::PostMessageW(box, WM_SYSCOMMAND, SC_CLOSE, 0);
    ExpectGone(box);
}
