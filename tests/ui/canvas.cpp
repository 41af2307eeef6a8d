#include "ui/canvas.h"

#include <algorithm>
#include <cstdlib>

#include "common/handles.h"
using namespace Gdiplus::DllExports;

namespace bench {

int Pixels::Count(const Box& area, Argb color) const {
    int count = 0;
    for (int y = area.y; y < area.y + area.height; ++y) {
        for (int x = area.x; x < area.x + area.width; ++x) {
            count += Value(x, y) == color ? 1 : 0;
        }
    }
    return count;
}

Canvas::Canvas(int width, int height, Argb color)
    : pixels_{width, height, std::vector<Argb>(static_cast<size_t>(width * height), color)},
      bitmap_(MakeBitmap(width, height, pixels_.values)),
      graphics_(MakeGraphics(bitmap_.get())) {}

MemoryDevice::MemoryDevice(int width, int height)
    : width_(width), height_(height), dc_(::CreateCompatibleDC(nullptr)) {
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = -height;  // Top-down.
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

Pixels WindowSizedPart(HDC device, const POINT& origin) {
    const MemoryDevice copy(kWindow.width, kWindow.height);
    ::BitBlt(copy.Dc(), 0, 0, kWindow.width, kWindow.height, device, origin.x, origin.y, SRCCOPY);
    return copy.Read();
}

std::string EncodedPicture(Gdiplus::GpBitmap* bitmap, const CLSID& encoder) {
    IStream* stream = nullptr;
    EXPECT_EQ(::CreateStreamOnHGlobal(nullptr, TRUE, &stream), S_OK);
    const ComPointer<IStream> owner(stream);
    EXPECT_EQ(GdipSaveImageToStream(bitmap, stream, &encoder, nullptr), Gdiplus::Ok);
    HGLOBAL memory = nullptr;
    ::GetHGlobalFromStream(stream, &memory);
    STATSTG facts{};
    stream->Stat(&facts, STATFLAG_NONAME);
    std::string bytes(static_cast<const char*>(::GlobalLock(memory)), facts.cbSize.QuadPart);
    ::GlobalUnlock(memory);
    return bytes;
}

std::optional<Box> DifferingArea(const Pixels& one, const Pixels& other, std::optional<Box> area) {
    const Box within = area.value_or(Box{0, 0, one.width, one.height});
    int left = within.x + within.width;
    int top = within.y + within.height;
    int right = within.x;
    int bottom = within.y;
    for (int y = within.y; y < within.y + within.height; ++y) {
        for (int x = within.x; x < within.x + within.width; ++x) {
            if (one.Value(x, y) != other.Value(x, y)) {
                left = std::min(left, x);
                top = std::min(top, y);
                right = std::max(right, x + 1);
                bottom = std::max(bottom, y + 1);
            }
        }
    }
    if (left >= right) {
        return std::nullopt;
    }
    return Box{left, top, right - left, bottom - top};
}

bool Contains(const Box& outer, const Box& inner) {
    return inner.x >= outer.x && inner.y >= outer.y &&
           inner.x + inner.width <= outer.x + outer.width &&
           inner.y + inner.height <= outer.y + outer.height;
}

Argb StrongestColor(const Pixels& without, const Pixels& with) {
    Argb strongest = 0;
    int largestChange = 0;
    for (size_t index = 0; index < with.values.size(); ++index) {
        const int change = ColorDistance(without.values[index], with.values[index]);
        if (change > largestChange) {
            largestChange = change;
            strongest = with.values[index];
        }
    }
    return strongest;
}

int ColorDistance(Argb one, Argb other) {
    int distance = 0;
    for (const int bits : {16, 8, 0}) {
        distance = std::max(distance, std::abs(static_cast<int>(one >> bits & 0xFF) -
                                               static_cast<int>(other >> bits & 0xFF)));
    }
    return distance;
}

void ExpectColor(const Pixels& pixels, Argb color, std::initializer_list<Point> points,
                 int tolerance) {
    for (const auto& [x, y] : points) {
        const Argb found = pixels.Value(x, y);
        EXPECT_TRUE(found >> 24 == color >> 24 && ColorDistance(found, color) <= tolerance)
            << x << ',' << y << ": " << std::hex << found << " instead of " << color;
    }
}

}  // namespace bench
