#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "common/windows_api.h"
#include "ui/gdiplus_objects.h"
#include "ui/layout.h"
#include "ui/palette.h"

// Bitmaps to paint on, and what tests ask about their pixels.

namespace bench {

// Keeps GDI+ running during the test.
class PaintingTest : public testing::Test {
private:
    GdiplusSession gdiplus_;
};

struct Pixels {
    int width = 0;
    int height = 0;
    std::vector<Argb> values;  // Row by row.

    [[nodiscard]] Argb Value(int x, int y) const {
        return values.at(static_cast<size_t>(y) * static_cast<size_t>(width) +
                         static_cast<size_t>(x));
    }
    // How many pixels of `area` have this color.
    [[nodiscard]] int Count(const Box& area, Argb color) const;

    bool operator==(const Pixels&) const = default;
};

// A GDI+ bitmap, filled with a color at first.
class Canvas {
public:
    Canvas(int width, int height, Argb color);

    // As large as the window.
    explicit Canvas(Argb color = 0xFF203040) : Canvas(kWindow.width, kWindow.height, color) {}

    [[nodiscard]] Gdiplus::GpGraphics* Graphics() const {
        return graphics_.get();
    }
    [[nodiscard]] Gdiplus::GpBitmap* Bitmap() const {
        return bitmap_.get();
    }
    [[nodiscard]] const Pixels& Read() const {
        return pixels_;
    }

private:
    Pixels pixels_;
    OwnedBitmap bitmap_;
    OwnedGraphics graphics_;
};

// A GDI device context with a bitmap, black at first.
class MemoryDevice {
public:
    MemoryDevice(int width, int height);
    ~MemoryDevice();
    MemoryDevice(const MemoryDevice&) = delete;
    MemoryDevice& operator=(const MemoryDevice&) = delete;

    [[nodiscard]] HDC Dc() const {
        return dc_;
    }
    // Opaque: GDI has no alpha.
    [[nodiscard]] Pixels Read() const;

private:
    int width_;
    int height_;
    HDC dc_;
    HBITMAP bitmap_ = nullptr;
    HGDIOBJ former_ = nullptr;
    const Argb* bits_ = nullptr;
};

// A piece of the window's size of what a device shows.
Pixels WindowSizedPart(HDC device, const POINT& origin);

// The picture as the bytes of a file, by one of these encoders that Windows brings along.
std::string EncodedPicture(Gdiplus::GpBitmap* bitmap, const CLSID& encoder);
inline constexpr CLSID kJpegEncoder{
    0x557CF401, 0x1A04, 0x11D3, {0x9A, 0x73, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};
inline constexpr CLSID kPngEncoder{
    0x557CF406, 0x1A04, 0x11D3, {0x9A, 0x73, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};

// The smallest box around all pixels that differ, inside `area` or anywhere. Empty when none does.
std::optional<Box> DifferingArea(const Pixels& one, const Pixels& other,
                                 std::optional<Box> area = std::nullopt);

bool Contains(const Box& outer, const Box& inner);

// A text's color: that of the pixel which the text changed most. Smoothing mixes the others with
// the background.
Argb StrongestColor(const Pixels& without, const Pixels& with);

// The largest difference between two colors in any of red, green and blue.
int ColorDistance(Argb one, Argb other);

// Checks the color at each point, up to `tolerance` in each of red, green and blue.
void ExpectColor(const Pixels& pixels, Argb color, std::initializer_list<Point> points,
                 int tolerance = 0);

}  // namespace bench
