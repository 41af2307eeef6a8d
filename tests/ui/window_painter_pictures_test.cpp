#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "bench_parts/call_hook.h"
#include "ui/drawing.h"
#include "ui/painted_window.h"

// The background and the logo.

namespace {

using namespace bench;

constexpr Argb kRed = 0xFFFF0000;
constexpr Argb kGreen = 0xFF00FF00;
constexpr Argb kBlue = 0xFF0000FF;
constexpr Argb kWhite = 0xFFFFFFFF;
constexpr Argb kBlack = 0xFF000000;
constexpr Argb kPanelColor = 0xFF111215;
constexpr int kScaling = 2;  // What scaling and mixing may change a color by.

class WindowPainterPictures : public PaintingTest {};

Pixels PaintWithBackdrop(Gdiplus::GpBitmap* backdrop) {
    WindowPicture picture = BarePicture();
    picture.backdrop = backdrop;
    return Paint(picture);
}

Pixels PaintOver(Gdiplus::GpBitmap* background) {
    return PaintWithBackdrop(MakeBackdrop(background).get());
}

// A color under the veil, whose alpha is 205 of 255.
Argb Veiled(Argb color) {
    Argb veiled = 0xFF;
    for (const int bits : {16, 8, 0}) {
        const Argb below = color >> bits & 0xFF;
        const Argb veil = 0xFF0A0B0C >> bits & 0xFF;
        veiled = veiled << 8 | (below * 50 + veil * 205 + 127) / 255;
    }
    return veiled;
}

TEST_F(WindowPainterPictures, VeilTheBackground) {
    for (const Argb color : {kWhite, kRed, kGreen, kBlue}) {
        const Canvas background(1720, 1120, color);
        const Pixels window = PaintOver(background.Bitmap());
        ExpectColor(window, Veiled(color), {{20, 60}, {840, 60}, {20, 540}, {840, 540}, {430, 460}},
                    kScaling);
        ExpectColor(window, 0xFF0C0D0E, {{430, 10}});
        ExpectColor(window, kPanelColor, {{430, 265}});
    }
}

// Bands of color from left to right, or from top to bottom, each up to its end.
struct Band {
    int end;
    Argb color;
};

Canvas Bands(bool fromLeftToRight, int breadth, const std::vector<Band>& bands) {
    const int length = bands.back().end;
    Canvas canvas(fromLeftToRight ? length : breadth, fromLeftToRight ? breadth : length, kBlack);
    int start = 0;
    for (const auto& [end, color] : bands) {
        FillBox(canvas.Graphics(),
                fromLeftToRight ? Box{start, 0, end - start, breadth}
                                : Box{0, start, breadth, end - start},
                color);
        start = end;
    }
    return canvas;
}

TEST_F(WindowPainterPictures, CoverTheWindowWithTheBackgroundsMiddle) {
    for (const int scale : {1, 2}) {
        // At the window's height 170 pixels too wide on each side.
        const Canvas wide = Bands(true, 560 / scale,
                                  {{166 / scale, kRed},
                                   {600 / scale, kGreen},
                                   {1034 / scale, kBlue},
                                   {1200 / scale, kRed}});
        Pixels window = PaintOver(wide.Bitmap());
        ExpectColor(window, Veiled(kGreen), {{1, 450}, {200, 450}, {426, 450}, {5, 557}}, kScaling);
        ExpectColor(window, Veiled(kBlue), {{433, 450}, {700, 450}, {857, 450}, {855, 557}},
                    kScaling);
        // At the window's width 220 pixels too high above and below.
        const Canvas tall = Bands(false, 860 / scale,
                                  {{216 / scale, kRed},
                                   {500 / scale, kGreen},
                                   {784 / scale, kBlue},
                                   {1000 / scale, kRed}});
        window = PaintOver(tall.Bitmap());
        ExpectColor(window, Veiled(kGreen), {{20, 49}, {20, 276}, {840, 276}}, kScaling);
        ExpectColor(window, Veiled(kBlue), {{20, 284}, {840, 284}, {20, 557}, {430, 557}},
                    kScaling);
    }
}

TEST_F(WindowPainterPictures, FillTheWindowPlainlyWithoutABackground) {
    ExpectColor(PaintOver(nullptr), 0xFF0A0B0C, {{20, 500}});
    for (const auto& [width, height] : {std::pair(0, 0), std::pair(100, 0), std::pair(0, 100)}) {
        ExpectColor(PaintOver(MakeBitmap(width, height).get()), 0xFF0A0B0C, {{20, 500}});
    }
}

Pixels PaintWithLogo(Gdiplus::GpImage* logo) {
    const OwnedBitmap panelLogo = MakePanelLogo(logo);
    WindowPicture picture = BarePicture();
    picture.logo = panelLogo.get();
    return Paint(picture);
}

TEST_F(WindowPainterPictures, FitTheLogoIntoItsBoxInItsProportions) {
    const struct {
        const char* shape;
        int width;
        int height;
        Box painted;
    } rows[] = {
        {"square, larger", 252, 252, {367, 88, 126, 126}},
        {"square, smaller", 63, 63, {367, 88, 126, 126}},
        {"wide", 340, 126, {345, 120, 170, 62}},
        {"tall", 50, 252, {418, 88, 24, 126}},
        {"of the box's shape", 340, 252, {345, 88, 170, 126}},
        {"a line", 680, 8, {345, 150, 170, 2}},
    };
    const Pixels withoutLogo = PaintWithLogo(MakeBitmap(126, 126).get());
    for (const auto& [shape, width, height, painted] : rows) {
        SCOPED_TRACE(shape);
        const Canvas logo(width, height, kWhite);
        const Pixels window = PaintWithLogo(logo.Bitmap());
        const Box reached = DifferingArea(withoutLogo, window).value_or(Box{});
        // Scaling smooths the edges.
        EXPECT_NEAR(reached.x, painted.x, 1);
        EXPECT_NEAR(reached.y, painted.y, 1);
        EXPECT_NEAR(reached.width, painted.width, 2);
        EXPECT_NEAR(reached.height, painted.height, 2);
        const Box inside = Shrunk(painted, 4);
        EXPECT_EQ(window.Count(inside, kWhite), std::max(inside.width * inside.height, 0));
    }
}

TEST_F(WindowPainterPictures, LeaveThePanelBehindATransparentLogo) {
    const OwnedBitmap logo = MakeBitmap(126, 126);
    const Pixels window = PaintWithLogo(logo.get());
    EXPECT_EQ(window.Count({345, 88, 170, 115}, kPanelColor), 170 * 115);
}

TEST_F(WindowPainterPictures, PutADiscWithAMonogramInPlaceOfALogo) {
    const Pixels window = PaintWithLogo(nullptr);
    ExpectColor(window, 0xFF121316, {{429, 100}, {429, 190}, {385, 144}, {473, 144}, {400, 115}},
                kScaling);
    ExpectColor(window, kTestAccent, {{429, 88}, {373, 144}, {485, 144}, {429, 200}}, kScaling);
    // The corners around the disc, and beyond its edges.
    ExpectColor(window, kPanelColor, {{378, 93}, {480, 93}, {378, 195}, {480, 195}}, kScaling);
    ExpectColor(window, kPanelColor, {{370, 144}, {488, 144}, {429, 85}, {429, 203}}, kScaling);
    EXPECT_EQ(PaintWithLogo(MakeBitmap(0, 0).get()), window);
    EXPECT_GT(window.Count({389, 104, 80, 80}, kTestAccent), 100) << "the monogram";
}

// Fine lines, some of them translucent, which scaling mixes.
Canvas FineLines(int width, int height) {
    Canvas canvas(width, height, kBlack);
    for (int x = 0; x < width; ++x) {
        const Argb color = static_cast<Argb>(x) * 0x9E3779B1;
        FillBox(canvas.Graphics(), {x, x % 7, 1, height}, color);
        FillBox(canvas.Graphics(), {0, x * height / width, x, 1}, ~color);
    }
    return canvas;
}

TEST_F(WindowPainterPictures, LookTheSameWhetherScaledOnceOrAtEachPaint) {
    for (const auto& [width, height] :
         {std::pair(860, 560), std::pair(860, 600), std::pair(900, 560), std::pair(1777, 909),
          std::pair(126, 126)}) {
        SCOPED_TRACE(testing::Message() << width << 'x' << height);
        const Canvas image = FineLines(width, height);
        const OwnedBitmap backdrop = MakeBackdrop(image.Bitmap());
        const OwnedBitmap logo = MakePanelLogo(image.Bitmap());
        WindowPicture picture = BarePicture();
        picture.backdrop = backdrop.get();
        picture.logo = logo.get();
        const MemoryDevice device(kWindow.width, kWindow.height);
        PaintWindow(device.Dc(), picture);

        const Canvas atOnce(0);
        DrawImageCovering(atOnce.Graphics(), image.Bitmap(), kWindow);
        FillBox(atOnce.Graphics(), kWindow, 0xCD0A0B0C);
        FillBox(atOnce.Graphics(), {0, 0, 860, 48}, 0xFF0C0D0E);
        FillBox(atOnce.Graphics(), {48, 72, 764, 310}, kPanelColor);
        picture.backdrop = atOnce.Bitmap();
        Pixels expected = Paint(picture);
        for (Argb& value : expected.values) {
            value |= 0xFF000000;  // The edges of an enlarged image are translucent.
        }
        EXPECT_EQ(DifferingArea(expected, device.Read()), std::nullopt);

        DrawImageFitting(atOnce.Graphics(), image.Bitmap(), {345, 88, 170, 126});
        EXPECT_EQ(DifferingArea(atOnce.Read(), expected, Box{345, 88, 170, 126}), std::nullopt);
    }
}

TEST_F(WindowPainterPictures, AreDrawnOnlyWhenTheirPixelsCannotBeCopied) {
    const Canvas image = FineLines(kWindow.width, kWindow.height);
    int draws = 0;
    const auto drawing = WatchCall<decltype(&Gdiplus::DllExports::GdipDrawImageRect)>(
        L"gdiplus.dll", "GdipDrawImageRect", [&](auto...) { ++draws; });
    const OwnedBitmap copied = MakeBackdrop(image.Bitmap());
    EXPECT_EQ(draws, 0);
    OwnedBitmap drawn;
    {
        const auto hook = HookCall<decltype(&Gdiplus::DllExports::GdipBitmapLockBits)>(
            L"gdiplus.dll", "GdipBitmapLockBits", [](auto...) { return Gdiplus::OutOfMemory; });
        drawn = MakeBackdrop(image.Bitmap());
    }
    EXPECT_EQ(PaintWithBackdrop(drawn.get()), PaintWithBackdrop(copied.get()));
}

}  // namespace
