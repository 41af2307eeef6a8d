#include "window/backdrop.h"

#include <future>

namespace bench {
namespace {

HWND ShowWhiteWindow(const Box& place) {
    const HWND window = ::CreateWindowExW(WS_EX_NOACTIVATE | WS_EX_TOOLWINDOW, L"STATIC", L"",
                                          WS_POPUP | SS_WHITERECT, place.x, place.y, place.width,
                                          place.height, nullptr, nullptr, nullptr, nullptr);
    ::SetWindowPos(window, HWND_TOP, 0, 0, 0, 0,
                   SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE | SWP_SHOWWINDOW);
    ::UpdateWindow(window);
    return window;
}

void RunUntilClosed(HWND window) {
    MSG message{};
    while (::IsWindow(window) && ::GetMessageW(&message, nullptr, 0, 0) > 0) {
        ::DispatchMessageW(&message);
    }
}

}  // namespace

Backdrop::Backdrop(const Box& place) {
    std::promise<HWND> shown;
    std::future<HWND> window = shown.get_future();
    thread_ = std::thread([place, &shown] {
        const HWND own = ShowWhiteWindow(place);
        shown.set_value(own);
        RunUntilClosed(own);
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
