#pragma once

#include <gtest/gtest.h>

#include "common/windows_api.h"

namespace bench {

// Counts how often a window of this thread is erased.
class EraseCounter {
public:
    explicit EraseCounter(HWND window) : window_(window) {
        EXPECT_TRUE(::SetPropW(window_, kProperty, this));
        former_ = Replace(&Count);
    }
    ~EraseCounter() {
        Replace(former_);
        ::RemovePropW(window_, kProperty);
    }
    EraseCounter(const EraseCounter&) = delete;
    EraseCounter& operator=(const EraseCounter&) = delete;

    [[nodiscard]] int Erasures() const {
        return erasures_;
    }

private:
    static constexpr wchar_t kProperty[] = L"EraseCounter";

    static LRESULT CALLBACK Count(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        auto* const counter = static_cast<EraseCounter*>(::GetPropW(window, kProperty));
        counter->erasures_ += message == WM_ERASEBKGND ? 1 : 0;
        return ::CallWindowProcW(counter->former_, window, message, wParam, lParam);
    }

    WNDPROC Replace(WNDPROC procedure) const {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): the system keeps the address as a number.
        return reinterpret_cast<WNDPROC>(
            ::SetWindowLongPtrW(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(procedure)));
    }

    HWND window_;
    WNDPROC former_ = nullptr;
    int erasures_ = 0;
};

}  // namespace bench
