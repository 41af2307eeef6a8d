#pragma once

#include <cstdint>
#include <thread>

#include "common/windows_api.h"
#include "ui/layout.h"

namespace bench {

// A window of one color on another thread, like another program's, to be behind the tool or to
// cover it.
class Backdrop {
public:
    // `place` in screen pixels, `color` as 0xRRGGBB. On the screen when this returns.
    Backdrop(const Box& place, uint32_t color);
    ~Backdrop();
    Backdrop(const Backdrop&) = delete;
    Backdrop& operator=(const Backdrop&) = delete;

private:
    HWND window_ = nullptr;
    std::thread thread_;
};

Box WholeScreen();

}  // namespace bench
