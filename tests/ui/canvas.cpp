#include "ui/canvas.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "ui/drawing.h"

using namespace Gdiplus::DllExports;

namespace {

constexpr int kColorBits[] = {16, 8, 0};

int Part(Argb color, int bits) {
    return static_cast<int>(color >> bits & 0xFF);
}

Box WholeOf(const Pixels& pixels) {
    return {0, 0, pixels.width, pixels.height};
}

}  // namespace

std::string Pixels::At(int x, int y) const {
    char text[9];
    std::snprintf(text, sizeof text, "%08X", static_cast<unsigned>(Value(x, y)));
    return text;
}

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
    : width_(width),
      height_(height),
      bitmap_(MakeBitmap(width, height)),
      graphics_(MakeGraphics(bitmap_.get())) {
    FillBox(graphics_.get(), {0, 0, width, height}, color);
}

Pixels Canvas::Read() const {
    Pixels pixels{width_, height_, {}};
    const Gdiplus::Rect whole(0, 0, width_, height_);
    Gdiplus::BitmapData data{};
    const auto status = GdipBitmapLockBits(bitmap_.get(), &whole, Gdiplus::ImageLockModeRead,
                                           PixelFormat32bppARGB, &data);
    EXPECT_EQ(status, Gdiplus::Ok);
    for (int y = 0; status == Gdiplus::Ok && y < height_; ++y) {
        const auto* row = reinterpret_cast<const Argb*>(static_cast<const std::byte*>(data.Scan0) +
                                                        static_cast<ptrdiff_t>(y) * data.Stride);
        pixels.values.insert(pixels.values.end(), row, row + width_);
    }
    GdipBitmapUnlockBits(bitmap_.get(), &data);
    return pixels;
}

std::optional<Box> DifferingArea(const Pixels& one, const Pixels& other, const Box& area) {
    int left = area.x + area.width;
    int top = area.y + area.height;
    int right = area.x;
    int bottom = area.y;
    for (int y = area.y; y < area.y + area.height; ++y) {
        for (int x = area.x; x < area.x + area.width; ++x) {
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

std::optional<Box> DifferingArea(const Pixels& one, const Pixels& other) {
    return DifferingArea(one, other, WholeOf(one));
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
    for (const int bits : kColorBits) {
        distance = std::max(distance, std::abs(Part(one, bits) - Part(other, bits)));
    }
    return distance;
}
