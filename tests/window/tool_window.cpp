#include "window/tool_window.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <sstream>

#include "bench_parts/waiting.h"
#include "ui/layout.h"

namespace bench {
namespace {

constexpr wchar_t kClassName[] = L"Quellstone.RepairTool";
constexpr UINT kAnswerLimitMs = 20'000;

HWND WindowOfProcess(DWORD processId) {
    HWND window = nullptr;
    while ((window = ::FindWindowExW(nullptr, window, kClassName, nullptr)) != nullptr) {
        DWORD owner = 0;
        ::GetWindowThreadProcessId(window, &owner);
        if (owner == processId && ::IsWindowVisible(window)) {
            return window;
        }
    }
    return nullptr;
}

// Makes a button look pressed, or not, by a posted message; waits until it has been handled.
bool PostState(HWND button, bool pressed) {
    ::PostMessageW(button, BM_SETSTATE, pressed ? TRUE : FALSE, 0);
    return Await(
        [&] { return ((::SendMessageW(button, BM_GETSTATE, 0, 0) & BST_PUSHED) != 0) == pressed; });
}

BITMAPINFO WindowSizedPicture() {
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = kWindow.width;
    info.bmiHeader.biHeight = -kWindow.height;  // Top-down.
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    return info;
}

// Calls `visit(x, y)` for each pixel of the box.
template <class Visit>
void ForEachPixel(const Box& box, Visit visit) {
    for (int y = box.y; y < box.y + box.height; ++y) {
        for (int x = box.x; x < box.x + box.width; ++x) {
            visit(x, y);
        }
    }
}

int ColorDistance(uint32_t one, uint32_t other) {
    int distance = 0;
    for (const int shift : {0, 8, 16}) {
        const int difference =
            static_cast<int>(one >> shift & 0xFF) - static_cast<int>(other >> shift & 0xFF);
        distance = std::max(distance, std::abs(difference));
    }
    return distance;
}

}  // namespace

WindowShot::WindowShot(HWND window) {
    POINT origin{0, 0};
    ::ClientToScreen(window, &origin);
    const HDC screen = ::GetDC(nullptr);
    const HDC memory = ::CreateCompatibleDC(screen);
    const BITMAPINFO info = WindowSizedPicture();
    void* bits = nullptr;
    const HBITMAP bitmap = ::CreateDIBSection(memory, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    const HGDIOBJ former = ::SelectObject(memory, bitmap);
    ::BitBlt(memory, 0, 0, kWindow.width, kWindow.height, screen, origin.x, origin.y, SRCCOPY);
    ::GdiFlush();
    const auto* pixels = static_cast<const uint32_t*>(bits);
    pixels_.assign(pixels, pixels + kWindow.width * kWindow.height);
    for (uint32_t& pixel : pixels_) {
        pixel &= 0xFFFFFF;  // The fourth byte is undefined.
    }
    ::SelectObject(memory, former);
    ::DeleteObject(bitmap);
    ::DeleteDC(memory);
    ::ReleaseDC(nullptr, screen);
}

uint32_t WindowShot::At(int x, int y) const {
    return pixels_.at(static_cast<size_t>(y) * static_cast<size_t>(kWindow.width) +
                      static_cast<size_t>(x));
}

int WindowShot::Distance(const Box& box, uint32_t color) const {
    int smallest = 255;
    ForEachPixel(
        box, [&](int x, int y) { smallest = std::min(smallest, ColorDistance(At(x, y), color)); });
    return smallest;
}

std::string WindowShot::Difference(const WindowShot& other, const Box& box) const {
    int count = 0;
    std::ostringstream first;
    ForEachPixel(box, [&](int x, int y) {
        if (At(x, y) != other.At(x, y) && ++count == 1) {
            first << x << ", " << y << std::hex << ": " << At(x, y) << " and " << other.At(x, y);
        }
    });
    return count == 0 ? "" : std::to_string(count) + " pixels differ, first at " + first.str();
}

ToolWindow::ToolWindow(const std::filesystem::path& exe,
                       const std::filesystem::path& currentFolder) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    if (!::CreateProcessW(exe.c_str(), nullptr, nullptr, nullptr, FALSE, 0, nullptr,
                          currentFolder.c_str(), &startup, &started)) {
        ADD_FAILURE() << "the tool does not start: " << ::GetLastError();
        return;
    }
    process_.reset(started.hProcess);
    ::CloseHandle(started.hThread);
    window_ = Await([&] { return WindowOfProcess(started.dwProcessId); });
    EXPECT_NE(window_, nullptr) << "the tool shows no window";
}

ToolWindow::~ToolWindow() {
    if (process_ && ::WaitForSingleObject(process_.get(), 0) == WAIT_TIMEOUT) {
        ::TerminateProcess(process_.get(), 1);
        ::WaitForSingleObject(process_.get(), INFINITE);
    }
}

HWND ToolWindow::Button(ButtonId id) const {
    return ::GetDlgItem(window_, static_cast<int>(id));
}

ButtonSeen ToolWindow::See(ButtonId id) const {
    const HWND button = Button(id);
    std::array<wchar_t, 200> text{};
    ::SendMessageW(button, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()));
    RECT place{};
    ::GetWindowRect(button, &place);
    ::MapWindowPoints(nullptr, window_, reinterpret_cast<POINT*>(&place), 2);
    return {.text = text.data(),
            .visible = ::IsWindowVisible(button) != FALSE,
            .enabled = ::IsWindowEnabled(button) != FALSE,
            .place = {place.left, place.top, place.right - place.left, place.bottom - place.top}};
}

std::vector<std::wstring> ToolWindow::ShownButtons() const {
    std::vector<std::wstring> shown;
    for (const ButtonSpec& spec : Buttons()) {
        const ButtonSeen button = See(spec.id);
        if (button.visible) {
            shown.push_back(button.enabled ? button.text : L"(" + button.text + L")");
        }
    }
    return shown;
}

bool ToolWindow::CanPress(ButtonId id) const {
    return ::IsWindowVisible(Button(id)) && ::IsWindowEnabled(Button(id));
}

void ToolWindow::Press(ButtonId id) const {
    ASSERT_TRUE(::IsWindowEnabled(window_)) << "a box is open";
    ASSERT_TRUE(CanPress(id)) << "button " << static_cast<int>(id) << " cannot be pressed";
    ::PostMessageW(Button(id), BM_CLICK, 0, 0);
}

void ToolWindow::PostCommand(ButtonId id, WORD notification) const {
    ::PostMessageW(window_, WM_COMMAND, MAKEWPARAM(static_cast<WORD>(id), notification),
                   reinterpret_cast<LPARAM>(Button(id)));
}

void ToolWindow::PostClose() const {
    ::PostMessageW(window_, WM_CLOSE, 0, 0);
}

void ToolWindow::PostTick() const {
    ::PostMessageW(window_, WM_TIMER, 1, 0);
}

void ToolWindow::Minimize() const {
    Press(ButtonId::Minimize);
    EXPECT_TRUE(Await([this] { return ::IsIconic(window_) != FALSE; }));
}

void ToolWindow::Restore() const {
    ::PostMessageW(window_, WM_SYSCOMMAND, SC_RESTORE, 0);
    EXPECT_TRUE(Await([this] { return ::IsIconic(window_) == FALSE; }));
    AwaitIdle();
}

void ToolWindow::AwaitIdle() const {
    // A sent message overtakes posted ones. So post a state change to a hidden button first: once
    // it shows, everything posted before it has been handled.
    const HWND hidden =
        Button(::IsWindowVisible(Button(ButtonId::ReinstallGame)) ? ButtonId::PrimaryServer
                                                                  : ButtonId::ReinstallGame);
    ASSERT_TRUE(PostState(hidden, true) && PostState(hidden, false)) << "the tool hangs";
    ::RedrawWindow(window_, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
    DWORD_PTR ignored = 0;
    EXPECT_NE(::SendMessageTimeoutW(window_, WM_NULL, 0, 0, SMTO_NORMAL, kAnswerLimitMs, &ignored),
              0);
}

void ToolWindow::AwaitCanPress(ButtonId id) const {
    EXPECT_TRUE(Await([&] { return CanPress(id); })) << "button " << static_cast<int>(id);
    AwaitIdle();  // The buttons are enabled and shown one by one.
}

void ToolWindow::AwaitJobEnd() const {
    const bool ended =
        Await([this] { return CanPress(ButtonId::Retry) || CanPress(ButtonId::RepairClient); });
    EXPECT_TRUE(ended) << "the job does not end";
    AwaitIdle();
}

void ToolWindow::AwaitUsable() const {
    EXPECT_TRUE(Await([this] { return ::IsWindowEnabled(window_) != FALSE; })) << "a box is open";
    AwaitIdle();
    EXPECT_EQ(::WaitForSingleObject(process_.get(), 0), DWORD{WAIT_TIMEOUT});
}

std::optional<DWORD> ToolWindow::AwaitExitCode() const {
    constexpr DWORD kLimitMs = 60'000;
    DWORD code = 0;
    if (::WaitForSingleObject(process_.get(), kLimitMs) != WAIT_OBJECT_0 ||
        !::GetExitCodeProcess(process_.get(), &code)) {
        return std::nullopt;
    }
    return code;
}

WindowShot ToolWindow::Look() const {
    AwaitIdle();
    // Wine copies painted pixels to the screen only when the painting thread is about to wait,
    // which is shortly after it has answered.
    constexpr int kEqualShots = 3;
    WindowShot shot(window_);
    int equalShots = 1;
    const bool settled = Await([&] {
        WindowShot next(window_);
        equalShots = next == shot ? equalShots + 1 : 1;
        shot = std::move(next);
        return equalShots >= kEqualShots;
    });
    EXPECT_TRUE(settled) << "the picture keeps changing";
    return shot;
}

void ToolWindow::AwaitPixel(int x, int y, uint32_t color) const {
    uint32_t seen = 0;
    Await([&] { return (seen = WindowShot(window_).At(x, y)) == color; });
    EXPECT_EQ(seen, color) << "at " << x << ", " << y;
}

void ToolWindow::AwaitLook(const WindowShot& expected) const {
    std::string difference;
    Await([&] { return (difference = expected.Difference(Look())).empty(); });
    EXPECT_EQ(difference, "");
}

}  // namespace bench
