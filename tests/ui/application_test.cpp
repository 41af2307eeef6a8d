#include "ui/application.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "bench_parts/call_hook.h"
#include "bench_parts/scratch_folder.h"
#include "common/tool_instance.h"
#include "config/tool_config.h"
#include "ui/controls_api.h"
#include "ui/window_state.h"

// Set-up and teardown around the window, in order.

namespace {

using namespace bench;
using testing::ElementsAre;

constexpr wchar_t kKernel32[] = L"kernel32.dll";
constexpr wchar_t kUser32[] = L"user32.dll";
constexpr wchar_t kOle32[] = L"ole32.dll";
constexpr wchar_t kGdiplus[] = L"gdiplus.dll";

std::vector<std::string>* steps = nullptr;
DPI_AWARENESS_CONTEXT awareness = nullptr;

BOOL WINAPI NoteDpiAwareness(DPI_AWARENESS_CONTEXT value) {
    steps->emplace_back("dpi");
    awareness = value;
    return TRUE;
}

class Application : public testing::Test {
protected:
    Application() {
        steps = &steps_;
        awareness = nullptr;
    }
    ~Application() override {
        steps = nullptr;
        toolConfig = ToolConfig{};
        toolExePath.clear();
        toolFolder.clear();
        ::DeleteObject(windowState.uiFont);
        windowState.uiFont = nullptr;
    }

    // Runs the program with a hook on each step of its set-up and teardown. The window is closed as
    // soon as the program waits for messages.
    int Run();

    FARPROC setDpiAwareness_ =
        reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&NoteDpiAwareness));
    std::vector<std::string> steps_;
    DWORD dllDirectories_ = 0;
    INITCOMMONCONTROLSEX controls_{};
    DWORD apartment_ = COINIT_MULTITHREADED;
    bool hadPicturesAtTheEnd_ = true;
};

int Application::Run() {
    const auto dlls = HookCall<decltype(&::SetDefaultDllDirectories)>(
        kKernel32, "SetDefaultDllDirectories", [this](DWORD flags) {
            steps_.emplace_back("dlls");
            dllDirectories_ = flags;
            return TRUE;
        });
    using Find = decltype(&::GetProcAddress);
    const auto find = RealFunction<Find>(kKernel32, "GetProcAddress");
    const auto dpi =
        HookCall<Find>(kKernel32, "GetProcAddress", [&](HMODULE module, LPCSTR name) -> FARPROC {
            return std::string_view(name) == "SetProcessDpiAwarenessContext" ? setDpiAwareness_
                                                                             : find(module, name);
        });
    const auto controls = WatchCall<decltype(&::InitCommonControlsEx)>(
        L"comctl32.dll", "InitCommonControlsEx", [this](const INITCOMMONCONTROLSEX* classes) {
            steps_.emplace_back("controls");
            controls_ = *classes;
        });
    const auto com = WatchCall<decltype(&::CoInitializeEx)>(kOle32, "CoInitializeEx",
                                                            [this](LPVOID, DWORD apartment) {
                                                                steps_.emplace_back("com");
                                                                apartment_ = apartment;
                                                            });
    const auto gdiplus = WatchCall<decltype(&Gdiplus::GdiplusStartup)>(
        kGdiplus, "GdiplusStartup", [this](auto...) { steps_.emplace_back("gdi+"); });
    const auto window = WatchCall<decltype(&::RegisterClassExW)>(
        kUser32, "RegisterClassExW", [this](auto...) { steps_.emplace_back("window"); });
    const auto messages =
        WatchCall<decltype(&::GetMessageW)>(kUser32, "GetMessageW", [this](auto...) {
            if (::IsWindow(mainWindow)) {
                steps_.emplace_back("messages");
                EXPECT_TRUE(windowState.panelLogo && windowState.backdrop);
                ::DestroyWindow(mainWindow);
            }
        });
    const auto gdiplusEnd = WatchCall<decltype(&Gdiplus::GdiplusShutdown)>(
        kGdiplus, "GdiplusShutdown", [this](ULONG_PTR) {
            steps_.emplace_back("gdi+ ends");
            hadPicturesAtTheEnd_ = windowState.panelLogo || windowState.backdrop;
        });
    const auto comEnd = WatchCall<decltype(&::CoUninitialize)>(
        kOle32, "CoUninitialize", [this] { steps_.emplace_back("com ends"); });
    return RunApplication(::GetModuleHandleW(nullptr), SW_SHOWNOACTIVATE);
}

TEST_F(Application, SetsUpTheProcessInOrderAndUndoesIt) {
    EXPECT_EQ(Run(), 0);
    EXPECT_THAT(steps_, ElementsAre("dlls", "dpi", "controls", "com", "gdi+", "window", "messages",
                                    "gdi+ ends", "com ends"));
    EXPECT_EQ(dllDirectories_, static_cast<DWORD>(LOAD_LIBRARY_SEARCH_SYSTEM32));
    EXPECT_EQ(awareness, DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE_V2);
    EXPECT_EQ(controls_.dwSize, sizeof(INITCOMMONCONTROLSEX));
    EXPECT_EQ(controls_.dwICC, 0x4020U);
    EXPECT_EQ(apartment_, static_cast<DWORD>(COINIT_APARTMENTTHREADED));
    EXPECT_FALSE(hadPicturesAtTheEnd_);
}

// Windows 10 before version 1703.
TEST_F(Application, DoesWithoutDpiAwarenessContexts) {
    setDpiAwareness_ = nullptr;
    EXPECT_EQ(Run(), 0);
    EXPECT_THAT(steps_, ElementsAre("dlls", "controls", "com", "gdi+", "window", "messages",
                                    "gdi+ ends", "com ends"));
}

TEST_F(Application, ReturnsTheExitCodeThatTheLoopEndedWith) {
    const auto messages =
        HookCall<decltype(&::GetMessageW)>(kUser32, "GetMessageW", [](MSG* message, auto...) {
            ::DestroyWindow(mainWindow);
            message->wParam = 7;
            return FALSE;
        });
    EXPECT_EQ(RunApplication(::GetModuleHandleW(nullptr), SW_HIDE), 7);
}

// No message would ever end the loop.
TEST_F(Application, ReturnsAtOnceWithoutAWindow) {
    const auto window = HookCall<decltype(&::CreateWindowExW)>(
        kUser32, "CreateWindowExW", [](auto...) -> HWND { return nullptr; });
    bool waited = false;
    const auto messages =
        HookCall<decltype(&::GetMessageW)>(kUser32, "GetMessageW", [&](MSG* message, auto...) {
            waited = true;
            message->wParam = 7;
            return FALSE;
        });
    EXPECT_EQ(RunApplication(::GetModuleHandleW(nullptr), SW_SHOW), 0);
    EXPECT_FALSE(waited);
}

}  // namespace
