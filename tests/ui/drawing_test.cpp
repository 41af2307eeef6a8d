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

// Everything else is drawn and checked by the painters' tests.

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

}  // namespace
