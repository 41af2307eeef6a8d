#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "ui/gdiplus_objects.h"
#include "ui/layout.h"
#include "ui/palette.h"

// Tests that paint: GDI+ runs as long as one of them does.
class PaintingTest : public testing::Test {
private:
    GdiplusSession gdiplus_;
};

// Pixels as they were read from a bitmap.
struct Pixels {
    int width = 0;
    int height = 0;
    std::vector<Argb> values;  // Row by row.

    [[nodiscard]] Argb Value(int x, int y) const {
        return values.at(static_cast<size_t>(y) * static_cast<size_t>(width) +
                         static_cast<size_t>(x));
    }
    // As eight hexadecimal digits, alpha first, for readable failures.
    [[nodiscard]] std::string At(int x, int y) const;
    // How many pixels of `area` have this color.
    [[nodiscard]] int Count(const Box& area, Argb color) const;

    bool operator==(const Pixels&) const = default;
};

// A bitmap to paint on, filled with a color at first.
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
    [[nodiscard]] Pixels Read() const;

private:
    int width_;
    int height_;
    OwnedBitmap bitmap_;
    OwnedGraphics graphics_;
};

// The smallest box around all pixels inside `area` that differ; none when there is no difference.
std::optional<Box> DifferingArea(const Pixels& one, const Pixels& other, const Box& area);
// In the whole picture.
std::optional<Box> DifferingArea(const Pixels& one, const Pixels& other);

bool Contains(const Box& outer, const Box& inner);

constexpr int CenterX(const Box& box) {
    return box.x + box.width / 2;
}
constexpr int CenterY(const Box& box) {
    return box.y + box.height / 2;
}

// The color of a text: among the pixels that painting the text has changed, the one that changed
// most. Smooth glyphs mix with what lies behind them, their strokes' middles hardly.
Argb StrongestColor(const Pixels& without, const Pixels& with);

// The largest difference between two colors in any of red, green and blue.
int ColorDistance(Argb one, Argb other);
