#pragma once

#include <thread>

#include "common/windows_api.h"
#include "ui/layout.h"

namespace bench {

// A white window on another thread, like another program's, to be behind the tool or to cover it.
class Backdrop {
public:
    // `place` in screen pixels. On the screen when this returns.
    explicit Backdrop(const Box& place);
    ~Backdrop();
    Backdrop(const Backdrop&) = delete;
    Backdrop& operator=(const Backdrop&) = delete;

private:
    HWND window_ = nullptr;
    std::thread thread_;
};

Box WholeScreen();

}  // namespace bench
