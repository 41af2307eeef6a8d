#include "window/tool_window.h"

#include <gtest/gtest.h>

#include <array>
#include <utility>

#include "bench_parts/waiting.h"

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

}  // namespace

ToolWindow::ToolWindow(const std::filesystem::path& exe, const std::filesystem::path& currentFolder,
                       WORD showCommand) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESHOWWINDOW;
    startup.wShowWindow = showCommand;
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
    return {.text = text.data(),
            .visible = ::IsWindowVisible(button) != FALSE,
            .enabled = ::IsWindowEnabled(button) != FALSE};
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

Pixels ToolWindow::Look() const {
    AwaitIdle();
    // Wine copies painted pixels to the screen only when the painting thread is about to wait,
    // which is shortly after it has answered.
    constexpr int kEqualShots = 3;
    Pixels shot = Screen();
    int equalShots = 1;
    const bool settled = Await([&] {
        Pixels next = Screen();
        equalShots = next == shot ? equalShots + 1 : 1;
        shot = std::move(next);
        return equalShots >= kEqualShots;
    });
    EXPECT_TRUE(settled) << "the picture keeps changing";
    return shot;
}

Pixels ToolWindow::Screen() const {
    POINT origin{0, 0};
    ::ClientToScreen(window_, &origin);
    const HDC screen = ::GetDC(nullptr);
    Pixels pixels = WindowSizedPart(screen, origin);
    ::ReleaseDC(nullptr, screen);
    return pixels;
}

void ToolWindow::AwaitPixel(int x, int y, Argb color) const {
    Await([&] { return Screen().Value(x, y) == color; });
    ExpectColor(Screen(), color, {{x, y}});
}

void ToolWindow::AwaitLook(const Pixels& expected) const {
    EXPECT_TRUE(Await([&] { return Look() == expected; })) << "the picture differs";
}

}  // namespace bench
