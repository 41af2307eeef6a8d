#pragma once

#include <cstdint>
#include <thread>

#include "common/windows_api.h"
#include "ui/layout.h"

// A window of one color with a thread of its own, as another program's would be: to lie behind the
// tool or to cover it.
class Backdrop {
public:
    // `place` in screen pixels, `color` as 0xRRGGBB. It is on the screen when this returns.
    Backdrop(const Box& place, uint32_t color);
    ~Backdrop();
    Backdrop(const Backdrop&) = delete;
    Backdrop& operator=(const Backdrop&) = delete;

private:
    HWND window_ = nullptr;
    std::thread thread_;
};

// As large as the screen.
Box WholeScreen();
