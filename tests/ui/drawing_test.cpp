#include "ui/drawing.h"

#include <gtest/gtest.h>

#include <vector>

#include "bench_parts/call_hook.h"
#include "ui/canvas.h"

using namespace Gdiplus::DllExports;

namespace {

using namespace bench;

constexpr Argb kBehind = 0xFF203040;
constexpr Argb kInk = 0xFF33CC99;
constexpr Box kWhole{0, 0, 60, 40};

class Drawing : public PaintingTest {};

// Boxes, lines, discs and texts are drawn and checked by the painters' tests.

// Both kinds of scaling, in this order.
std::pair<bool, bool> DrawScaled(Gdiplus::GpImage* image) {
    const Canvas target(60, 40, kBehind);
    return {DrawImageCovering(target.Graphics(), image, kWhole),
            DrawImageFitting(target.Graphics(), image, kWhole)};
}

TEST_F(Drawing, ReportsWhetherAPictureWasDrawn) {
    const Canvas picture(10, 10, kInk);
    EXPECT_EQ(DrawScaled(picture.Bitmap()), std::pair(true, true));
    EXPECT_EQ(DrawScaled(nullptr), std::pair(false, false));
    const auto damaged = HookCall<decltype(&GdipDrawImageRect)>(
        L"gdiplus.dll", "GdipDrawImageRect", [](auto...) { return Gdiplus::GenericError; });
    EXPECT_EQ(DrawScaled(picture.Bitmap()), std::pair(false, false));
}

Gdiplus::InterpolationMode InterpolationOf(Gdiplus::GpGraphics* graphics) {
    auto mode = Gdiplus::InterpolationModeInvalid;
    GdipGetInterpolationMode(graphics, &mode);
    return mode;
}

// Wine ignores the mode, so pixels do not show it.
TEST_F(Drawing, UsesTheBestInterpolationForAFittedPictureOnly) {
    std::vector<Gdiplus::InterpolationMode> modes;
    const auto hook = HookCall<decltype(&GdipDrawImageRect)>(
        L"gdiplus.dll", "GdipDrawImageRect", [&](Gdiplus::GpGraphics* graphics, auto...) {
            modes.push_back(InterpolationOf(graphics));
            return Gdiplus::Ok;
        });
    const Canvas picture(480, 320, kInk);
    const Canvas target(60, 40, kBehind);
    const auto usual = InterpolationOf(target.Graphics());
    DrawImageFitting(target.Graphics(), picture.Bitmap(), kWhole);
    DrawImageCovering(target.Graphics(), picture.Bitmap(), kWhole);
    EXPECT_EQ(modes, std::vector({Gdiplus::InterpolationModeHighQualityBicubic, usual}));
}

TEST_F(Drawing, CopiesAPicturePixelByPixelWithItsTransparency) {
    const OwnedBitmap picture = MakeBitmap(20, 10);
    FillBox(MakeGraphics(picture.get()).get(), {3, 4, 5, 1}, kInk);
    const Canvas target(60, 40, kBehind);
    EXPECT_TRUE(CopyImage(target.Graphics(), picture.get(), {30, 20, 20, 10}));
    const Pixels pixels = target.Read();
    EXPECT_EQ(pixels.Count({33, 24, 5, 1}, kInk), 5);
    EXPECT_EQ(pixels.Count({30, 20, 20, 10}, 0), 200 - 5);
    EXPECT_EQ(pixels.Count(kWhole, kBehind), 60 * 40 - 200);
}

TEST_F(Drawing, MixesColorsAgainAfterACopy) {
    const Canvas target(60, 40, 0xFF000000);
    CopyImage(target.Graphics(), Canvas(1, 1, kInk).Bitmap(), {0, 0, 1, 1});
    FillBox(target.Graphics(), kWhole, 0x80FFFFFF);
    ExpectColor(target.Read(), 0xFF808080, {{30, 20}}, 1);
}

// The other functions are called without graphics in window_painter_test.cpp.
TEST_F(Drawing, DrawsNoPictureWithoutGraphics) {
    const Canvas picture(10, 10, kInk);
    EXPECT_FALSE(DrawImageCovering(nullptr, picture.Bitmap(), kWhole));
    EXPECT_FALSE(DrawImageFitting(nullptr, picture.Bitmap(), kWhole));
    EXPECT_FALSE(CopyImage(nullptr, picture.Bitmap(), kWhole));
    EXPECT_FALSE(CopyImage(picture.Graphics(), nullptr, kWhole));
    EXPECT_EQ(picture.Read().Count({0, 0, 10, 10}, kInk), 100);
}

TEST_F(Drawing, CopiesThePixelsOfABitmapOfTheSameSize) {
    const Canvas source(60, 40, 0x80FF4020);
    FillBox(source.Graphics(), {7, 5, 20, 10}, kInk);
    const Canvas target(60, 40, kBehind);
    EXPECT_TRUE(CopyPixels(source.Bitmap(), target.Bitmap(), kWhole));
    EXPECT_EQ(target.Read(), source.Read());
}

TEST_F(Drawing, CopiesNoPixelsOfAnotherSize) {
    const Canvas target(60, 40, kBehind);
    for (const auto& [width, height] : {std::pair(61, 40), std::pair(60, 39), std::pair(40, 60)}) {
        const Canvas source(width, height, kInk);
        EXPECT_FALSE(CopyPixels(source.Bitmap(), target.Bitmap(), kWhole));
    }
    EXPECT_FALSE(CopyPixels(nullptr, target.Bitmap(), kWhole));
    EXPECT_FALSE(CopyPixels(target.Bitmap(), nullptr, kWhole));
    EXPECT_EQ(target.Read(), Canvas(60, 40, kBehind).Read());
}

}  // namespace
