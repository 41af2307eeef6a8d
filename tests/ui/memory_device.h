#pragma once

#include "common/windows_api.h"
#include "ui/canvas.h"

// A device with pixels of its own, as a window has them, to be read back. Black at first.
class MemoryDevice {
public:
    MemoryDevice(int width, int height);
    ~MemoryDevice();
    MemoryDevice(const MemoryDevice&) = delete;
    MemoryDevice& operator=(const MemoryDevice&) = delete;

    [[nodiscard]] HDC Dc() const {
        return dc_;
    }
    // As opaque pixels: a device has no alpha.
    [[nodiscard]] Pixels Read() const;

private:
    int width_;
    int height_;
    HDC dc_;
    HBITMAP bitmap_ = nullptr;
    HGDIOBJ former_ = nullptr;
    const Argb* bits_ = nullptr;
};
