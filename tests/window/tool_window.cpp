#include "window/tool_window.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "bench_parts/waiting.h"
#include "ui/layout.h"

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

struct ReleaseWindowDc {
    void operator()(HDC dc) const noexcept {
        ::ReleaseDC(nullptr, dc);
    }
};
struct DeleteDcAlone {
    void operator()(HDC dc) const noexcept {
        ::DeleteDC(dc);
    }
};
struct DeleteGdiObject {
    void operator()(HBITMAP bitmap) const noexcept {
        ::DeleteObject(bitmap);
    }
};
using ScreenDc = std::unique_ptr<std::remove_pointer_t<HDC>, ReleaseWindowDc>;
using MemoryDc = std::unique_ptr<std::remove_pointer_t<HDC>, DeleteDcAlone>;
using Bitmap = std::unique_ptr<std::remove_pointer_t<HBITMAP>, DeleteGdiObject>;

// Makes a button look pressed, or not, by a posted message; waits until it has been handled.
bool PostState(HWND button, bool pressed) {
    ::PostMessageW(button, BM_SETSTATE, pressed ? TRUE : FALSE, 0);
    return bench::Await(
        [&] { return ((::SendMessageW(button, BM_GETSTATE, 0, 0) & BST_PUSHED) != 0) == pressed; });
}

BITMAPINFO WindowSizedPicture() {
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = kWindow.width;
    info.bmiHeader.biHeight = -kWindow.height;  // The first row is the upper one.
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    return info;
}

}  // namespace

WindowShot::WindowShot(HWND window) : pixels_(static_cast<size_t>(kWindow.width * kWindow.height)) {
    POINT origin{0, 0};
    ::ClientToScreen(window, &origin);
    const ScreenDc screen(::GetDC(nullptr));
    const MemoryDc memory(::CreateCompatibleDC(screen.get()));
    const BITMAPINFO info = WindowSizedPicture();
    void* bits = nullptr;
    const Bitmap bitmap(::CreateDIBSection(memory.get(), &info, DIB_RGB_COLORS, &bits, nullptr, 0));
    const HGDIOBJ former = ::SelectObject(memory.get(), bitmap.get());
    ::BitBlt(memory.get(), 0, 0, kWindow.width, kWindow.height, screen.get(), origin.x, origin.y,
             SRCCOPY);
    ::GdiFlush();
    const auto* pixels = static_cast<const uint32_t*>(bits);
    // The fourth byte says nothing.
    std::transform(pixels, pixels + pixels_.size(), pixels_.begin(),
                   [](uint32_t pixel) { return pixel & 0xFFFFFF; });
    ::SelectObject(memory.get(), former);
}

uint32_t WindowShot::At(int x, int y) const {
    return pixels_.at(static_cast<size_t>(y) * static_cast<size_t>(kWindow.width) +
                      static_cast<size_t>(x));
}

bool WindowShot::Holds(const Box& box, uint32_t color) const {
    for (int y = box.y; y < box.y + box.height; ++y) {
        for (int x = box.x; x < box.x + box.width; ++x) {
            if (At(x, y) == color) {
                return true;
            }
        }
    }
    return false;
}

bool WindowShot::Equals(const WindowShot& other, const Box& box) const {
    for (int y = box.y; y < box.y + box.height; ++y) {
        for (int x = box.x; x < box.x + box.width; ++x) {
            if (At(x, y) != other.At(x, y)) {
                return false;
            }
        }
    }
    return true;
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
    processId_ = started.dwProcessId;
    window_ = bench::Await([this] { return WindowOfProcess(processId_); });
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

bool ToolWindow::HasText(ButtonId id, std::wstring_view text) const {
    return See(id).text == text;
}

bool ToolWindow::CanPress(ButtonId id) const {
    return ::IsWindowVisible(Button(id)) && ::IsWindowEnabled(Button(id));
}

void ToolWindow::Press(ButtonId id) const {
    ASSERT_TRUE(::IsWindowEnabled(window_)) << "a box is open";
    ASSERT_TRUE(CanPress(id)) << "button " << static_cast<int>(id) << " cannot be pressed";
    ::PostMessageW(Button(id), BM_CLICK, 0, 0);
}

void ToolWindow::PostCommand(ButtonId id) const {
    ::PostMessageW(window_, WM_COMMAND, static_cast<WPARAM>(id), 0);
}

void ToolWindow::PostClose() const {
    ::PostMessageW(window_, WM_CLOSE, 0, 0);
}

void ToolWindow::PostTick() const {
    ::PostMessageW(window_, WM_TIMER, 1, 0);
}

void ToolWindow::AwaitJobEnd() const {
    const bool ended = bench::Await(
        [this] { return CanPress(ButtonId::Retry) || CanPress(ButtonId::RepairClient); });
    EXPECT_TRUE(ended) << "the job does not end";
    // The buttons are enabled and shown one by one.
    EXPECT_TRUE(AwaitIdle());
}

void ToolWindow::AwaitJobStart() const {
    EXPECT_TRUE(AwaitIdle());
}

WindowShot ToolWindow::Look() const {
    EXPECT_TRUE(AwaitIdle());
    // Wine brings to the screen what was painted only when the painting thread is about to wait, a
    // moment after it has answered.
    constexpr int kEqualShots = 3;
    WindowShot shot(window_);
    int equalShots = 1;
    const bool settled = bench::Await([&] {
        WindowShot next(window_);
        equalShots = next == shot ? equalShots + 1 : 1;
        shot = std::move(next);
        return equalShots >= kEqualShots;
    });
    EXPECT_TRUE(settled) << "the picture does not come to rest";
    return shot;
}

bool ToolWindow::AwaitPixel(int x, int y, uint32_t color) const {
    return bench::Await([&] { return WindowShot(window_).At(x, y) == color; });
}

bool ToolWindow::AwaitIdle() const {
    // A sent message overtakes those that were posted, so posted ones go ahead, and show that they
    // have been handled by what they do to a button that is not shown.
    const HWND hidden =
        Button(::IsWindowVisible(Button(ButtonId::ReinstallGame)) ? ButtonId::PrimaryServer
                                                                  : ButtonId::ReinstallGame);
    if (!PostState(hidden, true) || !PostState(hidden, false)) {
        return false;
    }
    ::RedrawWindow(window_, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
    DWORD_PTR ignored = 0;
    return ::SendMessageTimeoutW(window_, WM_NULL, 0, 0, SMTO_NORMAL, kAnswerLimitMs, &ignored) !=
           0;
}

std::optional<DWORD> ToolWindow::AwaitExitCode(std::chrono::milliseconds limit) const {
    DWORD code = 0;
    const auto limitMs = static_cast<DWORD>(limit.count());
    if (::WaitForSingleObject(process_.get(), limitMs) != WAIT_OBJECT_0 ||
        !::GetExitCodeProcess(process_.get(), &code)) {
        return std::nullopt;
    }
    return code;
}

void StampResource(const std::filesystem::path& exe, int id, std::string_view bytes) {
    const HANDLE update = ::BeginUpdateResourceW(exe.c_str(), FALSE);
    ASSERT_NE(update, nullptr) << ::GetLastError();
    std::string copy(bytes);
    for (const WORD language : {WORD{MAKELANGID(LANG_NEUTRAL, SUBLANG_NEUTRAL)},
                                WORD{MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US)}}) {
        ASSERT_TRUE(::UpdateResourceW(update, RT_RCDATA, MAKEINTRESOURCEW(id), language,
                                      copy.data(), static_cast<DWORD>(copy.size())));
    }
    ASSERT_TRUE(::EndUpdateResourceW(update, FALSE));
}
