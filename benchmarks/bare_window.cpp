// The least program with a window of the tool's size: it fills the window with one color. It waits
// to be ended from outside.

#include "common/windows_api.h"

namespace {

constexpr COLORREF kFill = RGB(0xFF, 0xA6, 0x40);
constexpr int kWidth = 860;
constexpr int kHeight = 560;

LRESULT CALLBACK BareProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    if (message == WM_DESTROY) {
        ::PostQuitMessage(0);
        return 0;
    }
    return ::DefWindowProcW(window, message, wParam, lParam);
}

}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR, int showCommand) {
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = BareProcedure;
    windowClass.hInstance = instance;
    windowClass.hbrBackground = ::CreateSolidBrush(kFill);
    windowClass.lpszClassName = L"BareWindow";
    ::RegisterClassExW(&windowClass);
    const HWND window = ::CreateWindowExW(WS_EX_APPWINDOW, windowClass.lpszClassName, L"", WS_POPUP,
                                          (::GetSystemMetrics(SM_CXSCREEN) - kWidth) / 2,
                                          (::GetSystemMetrics(SM_CYSCREEN) - kHeight) / 2, kWidth,
                                          kHeight, nullptr, nullptr, instance, nullptr);
    ::ShowWindow(window, showCommand);
    ::UpdateWindow(window);
    MSG message{};
    while (::GetMessageW(&message, nullptr, 0, 0) > 0) {
        ::DispatchMessageW(&message);
    }
    return 0;
}
