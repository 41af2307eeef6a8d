#include "window/backdrop.h"

#include <future>
#include <string>

namespace bench {
namespace {

// A window class has one color.
std::wstring ClassName(uint32_t color) {
    return L"bench.backdrop." + std::to_wstring(color);
}

HWND ShowPlainWindow(const Box& place, uint32_t color) {
    const std::wstring className = ClassName(color);
    const HBRUSH brush =
        ::CreateSolidBrush(RGB(color >> 16 & 0xFF, color >> 8 & 0xFF, color & 0xFF));
    WNDCLASSW plain{};
    plain.lpfnWndProc = ::DefWindowProcW;
    plain.hbrBackground = brush;  // Owned by the class.
    plain.lpszClassName = className.c_str();
    ::RegisterClassW(&plain);
    const HWND window = ::CreateWindowExW(WS_EX_NOACTIVATE | WS_EX_TOOLWINDOW, className.c_str(),
                                          L"", WS_POPUP, place.x, place.y, place.width,
                                          place.height, nullptr, nullptr, nullptr, nullptr);
    ::SetWindowPos(window, HWND_TOP, 0, 0, 0, 0,
                   SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE | SWP_SHOWWINDOW);
    ::UpdateWindow(window);
    return window;
}

void RunUntilClosed(HWND window, uint32_t color) {
    MSG message{};
    while (::IsWindow(window) && ::GetMessageW(&message, nullptr, 0, 0) > 0) {
        ::DispatchMessageW(&message);
    }
    ::UnregisterClassW(ClassName(color).c_str(), nullptr);
}

}  // namespace

Backdrop::Backdrop(const Box& place, uint32_t color) {
    std::promise<HWND> shown;
    std::future<HWND> window = shown.get_future();
    thread_ = std::thread([place, color, &shown] {
        const HWND own = ShowPlainWindow(place, color);
        shown.set_value(own);
        RunUntilClosed(own, color);
    });
    window_ = window.get();
}

Backdrop::~Backdrop() {
    ::PostMessageW(window_, WM_CLOSE, 0, 0);
    thread_.join();
}

Box WholeScreen() {
    return {0, 0, ::GetSystemMetrics(SM_CXSCREEN), ::GetSystemMetrics(SM_CYSCREEN)};
}

}  // namespace bench
