#include "ui/memory_device.h"

MemoryDevice::MemoryDevice(int width, int height)
    : width_(width), height_(height), dc_(::CreateCompatibleDC(nullptr)) {
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = -height;  // The first row is the topmost.
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    void* bits = nullptr;
    bitmap_ = ::CreateDIBSection(dc_, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    former_ = ::SelectObject(dc_, bitmap_);
    bits_ = static_cast<const Argb*>(bits);
}

MemoryDevice::~MemoryDevice() {
    ::SelectObject(dc_, former_);
    ::DeleteObject(bitmap_);
    ::DeleteDC(dc_);
}

Pixels MemoryDevice::Read() const {
    ::GdiFlush();
    Pixels pixels{width_, height_, {}};
    for (int index = 0; index < width_ * height_; ++index) {
        pixels.values.push_back(bits_[index] | 0xFF000000);
    }
    return pixels;
}
