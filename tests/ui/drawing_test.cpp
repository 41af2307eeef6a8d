#include "ui/drawing.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "bench_parts/call_hook.h"
#include "ui/canvas.h"

using namespace Gdiplus::DllExports;

namespace {

constexpr Argb kBehind = 0xFF203040;
constexpr Argb kInk = 0xFF33CC99;

Pixels Draw(const std::function<void(Gdiplus::GpGraphics*)>& draw) {
    const Canvas canvas(60, 40, kBehind);
    draw(canvas.Graphics());
    return canvas.Read();
}

class Drawing : public PaintingTest {};

TEST_F(Drawing, FillsUpToTheRightAndBottomEdges) {
    const Pixels pixels = Draw([](Gdiplus::GpGraphics* graphics) {
        FillBox(graphics, {10, 5, 20, 8}, kInk);
    });
    EXPECT_EQ(pixels.Count({10, 5, 20, 8}, kInk), 20 * 8);
    EXPECT_EQ(pixels.Count({0, 0, 60, 40}, kBehind), 60 * 40 - 20 * 8);
}

TEST_F(Drawing, FillsNothingInABoxWithoutSize) {
    const Pixels pixels = Draw([](Gdiplus::GpGraphics* graphics) {
        FillBox(graphics, {10, 5, 0, 8}, kInk);
        FillBox(graphics, {10, 5, 20, 0}, kInk);
    });
    EXPECT_EQ(pixels.Count({0, 0, 60, 40}, kBehind), 60 * 40);
}

TEST_F(Drawing, MixesATransparentFillWithWhatIsThere) {
    const Pixels pixels = Draw([](Gdiplus::GpGraphics* graphics) {
        FillBox(graphics, {0, 0, 60, 40}, 0x80FFFFFF);
    });
    EXPECT_LE(ColorDistance(pixels.Value(30, 20), 0xFF8F979F), 1) << pixels.At(30, 20);
    EXPECT_EQ(pixels.Value(30, 20) >> 24, 0xFFU);
}

TEST_F(Drawing, OutlinesOnTheRightAndBottomEdges) {
    const Pixels pixels = Draw([](Gdiplus::GpGraphics* graphics) {
        OutlineBox(graphics, {10, 5, 20, 8}, kInk, 1.0F);
    });
    EXPECT_EQ(pixels.Count({10, 5, 21, 1}, kInk), 21);
    EXPECT_EQ(pixels.Count({10, 13, 21, 1}, kInk), 21);
    EXPECT_EQ(pixels.Count({10, 5, 1, 9}, kInk), 9);
    EXPECT_EQ(pixels.Count({30, 5, 1, 9}, kInk), 9);
    EXPECT_EQ(pixels.Count({0, 0, 60, 40}, kInk), 2 * 21 + 2 * 7);
}

TEST_F(Drawing, FillsADiscAndLeavesTheCornersAlone) {
    const Pixels pixels = Draw([](Gdiplus::GpGraphics* graphics) {
        FillDisc(graphics, {10, 5, 30, 30}, kInk);
    });
    EXPECT_EQ(pixels.Value(25, 20), kInk);
    EXPECT_EQ(pixels.Value(12, 20), kInk);
    EXPECT_EQ(pixels.Value(37, 20), kInk);
    EXPECT_EQ(pixels.Value(25, 7), kInk);
    EXPECT_EQ(pixels.Value(25, 32), kInk);
    EXPECT_EQ(pixels.Value(12, 7), kBehind);
    EXPECT_EQ(pixels.Value(37, 32), kBehind);
    EXPECT_EQ(pixels.Value(43, 20), kBehind);
}

TEST_F(Drawing, OutlinesADiscAndLeavesItsInsideAlone) {
    const Pixels pixels = Draw([](Gdiplus::GpGraphics* graphics) {
        OutlineDisc(graphics, {10, 5, 30, 30}, kInk, 2.0F);
    });
    EXPECT_EQ(pixels.Value(10, 20), kInk);
    EXPECT_EQ(pixels.Value(40, 20), kInk);
    EXPECT_EQ(pixels.Value(25, 5), kInk);
    EXPECT_EQ(pixels.Value(25, 35), kInk);
    EXPECT_EQ(pixels.Value(25, 20), kBehind);
    EXPECT_EQ(pixels.Value(13, 20), kBehind);
}

TEST_F(Drawing, DrawsLinesFromPointToPointRelativeToTheirOrigin) {
    constexpr Point kCorner[] = {{0, 0}, {20, 0}, {20, 10}};
    const Pixels pixels = Draw([&](Gdiplus::GpGraphics* graphics) {
        DrawLines(graphics, {10, 5}, kCorner, kInk, 1.0F);
    });
    EXPECT_EQ(pixels.Count({11, 5, 19, 1}, kInk), 19);
    EXPECT_EQ(pixels.Count({30, 6, 1, 8}, kInk), 8);
    EXPECT_EQ(pixels.Value(20, 10), kBehind) << "the figure is not closed";
    EXPECT_EQ(pixels.Value(10, 12), kBehind);
}

TEST_F(Drawing, DrawsNoLinesWithoutPoints) {
    const Pixels pixels = Draw([](Gdiplus::GpGraphics* graphics) {
        DrawLines(graphics, {10, 5}, {}, kInk, 1.0F);
    });
    EXPECT_EQ(pixels.Count({0, 0, 60, 40}, kBehind), 60 * 40);
}

TEST_F(Drawing, WritesTextInABoxOrFromAPointOn) {
    const TextStyle style{{12, false}, kInk};
    const Pixels blank = Draw([](Gdiplus::GpGraphics*) {});
    const auto atPoint = DifferingArea(blank, Draw([&](Gdiplus::GpGraphics* graphics) {
                                           DrawTextAt(graphics, L"H", style, {20, 10});
                                       }));
    const auto top = DifferingArea(
        blank, Draw([&](Gdiplus::GpGraphics* graphics) {
            DrawTextInBox(graphics, L"H", style, {0, 0, 60, 40}, TextPlacement::TopLine);
        }));
    const auto middle = DifferingArea(
        blank, Draw([&](Gdiplus::GpGraphics* graphics) {
            DrawTextInBox(graphics, L"H", style, {0, 0, 60, 40}, TextPlacement::Middle);
        }));
    ASSERT_TRUE(atPoint && top && middle);
    EXPECT_GE(atPoint->x, 20);
    EXPECT_GE(atPoint->y, 10);
    EXPECT_LE(top->y + top->height, 20);
    EXPECT_NEAR(CenterY(*middle), 20, 3);
    EXPECT_EQ(top->x, middle->x);
}

TEST_F(Drawing, WritesOnlyTheTextsOwnCharacters) {
    constexpr std::wstring_view kWhole = L"Hxxx";
    const TextStyle style{{12, false}, kInk};
    EXPECT_EQ(Draw([&](Gdiplus::GpGraphics* graphics) {
                  DrawTextAt(graphics, kWhole.substr(0, 1), style, {5, 5});
              }),
              Draw([&](Gdiplus::GpGraphics* graphics) {
                  DrawTextAt(graphics, L"H", style, {5, 5});
              }));
}

TEST_F(Drawing, SaysWhetherThereWasAPictureToDraw) {
    const Canvas picture(10, 10, kInk);
    const Canvas target(60, 40, kBehind);
    EXPECT_TRUE(DrawImageCovering(target.Graphics(), picture.Bitmap(), {0, 0, 60, 40}));
    EXPECT_TRUE(DrawImageFitting(target.Graphics(), picture.Bitmap(), {0, 0, 60, 40}));
    EXPECT_FALSE(DrawImageCovering(target.Graphics(), nullptr, {0, 0, 60, 40}));
    EXPECT_FALSE(DrawImageFitting(target.Graphics(), nullptr, {0, 0, 60, 40}));
}

TEST_F(Drawing, SaysThatADamagedPictureWasNotDrawn) {
    const Canvas picture(10, 10, kInk);
    const Canvas target(60, 40, kBehind);
    const auto hook = bench::HookCall<decltype(&GdipDrawImageRect)>(
        L"gdiplus.dll", "GdipDrawImageRect", [](auto...) { return Gdiplus::GenericError; });
    EXPECT_FALSE(DrawImageCovering(target.Graphics(), picture.Bitmap(), {0, 0, 60, 40}));
    EXPECT_FALSE(DrawImageFitting(target.Graphics(), picture.Bitmap(), {0, 0, 60, 40}));
}

TEST_F(Drawing, CopiesTransparencyInPlaceOfWhatWasThere) {
    const OwnedBitmap picture = MakeBitmap(20, 10);
    const Pixels pixels = Draw([&](Gdiplus::GpGraphics* graphics) {
        CopyImage(graphics, picture.get(), {30, 20, 20, 10});
    });
    EXPECT_EQ(pixels.Count({30, 20, 20, 10}, 0), 200);
}

Gdiplus::InterpolationMode InterpolationOf(Gdiplus::GpGraphics* graphics) {
    auto mode = Gdiplus::InterpolationModeInvalid;
    GdipGetInterpolationMode(graphics, &mode);
    return mode;
}

// Wine knows the mode and draws as without it, so the pixels cannot tell.
TEST_F(Drawing, LooksAtAllPixelsOfAPictureThatItFitsAndOfNoOther) {
    std::vector<Gdiplus::InterpolationMode> modes;
    const auto hook = bench::HookCall<decltype(&GdipDrawImageRect)>(
        L"gdiplus.dll", "GdipDrawImageRect", [&](Gdiplus::GpGraphics* graphics, auto...) {
            modes.push_back(InterpolationOf(graphics));
            return Gdiplus::Ok;
        });
    const Canvas picture(480, 320, kInk);
    const Canvas target(60, 40, kBehind);
    const auto usual = InterpolationOf(target.Graphics());
    DrawImageFitting(target.Graphics(), picture.Bitmap(), {0, 0, 60, 40});
    DrawImageCovering(target.Graphics(), picture.Bitmap(), {0, 0, 60, 40});
    ASSERT_EQ(modes.size(), 2U);
    EXPECT_EQ(modes[0], Gdiplus::InterpolationModeHighQualityBicubic);
    EXPECT_EQ(modes[1], usual);
}

TEST_F(Drawing, CopiesAPicturePixelByPixel) {
    const Canvas picture(20, 10, kInk);
    FillBox(picture.Graphics(), {3, 4, 5, 1}, 0xFFCC2211);
    const Pixels pixels = Draw([&](Gdiplus::GpGraphics* graphics) {
        CopyImage(graphics, picture.Bitmap(), {30, 20, 20, 10});
    });
    EXPECT_EQ(pixels.Count({33, 24, 5, 1}, 0xFFCC2211), 5);
    EXPECT_EQ(pixels.Count({30, 20, 20, 10}, kInk), 200 - 5);
    EXPECT_EQ(pixels.Count({0, 0, 60, 40}, kBehind), 60 * 40 - 200);
}

TEST_F(Drawing, DoesNothingWithoutGraphics) {
    const Canvas picture(10, 10, kInk);
    const Box box{0, 0, 10, 10};
    constexpr Point kLine[] = {{0, 0}, {5, 5}};
    const TextStyle style{{12, false}, kInk};
    FillBox(nullptr, box, kInk);
    OutlineBox(nullptr, box, kInk, 1.0F);
    FillDisc(nullptr, box, kInk);
    OutlineDisc(nullptr, box, kInk, 1.0F);
    DrawLines(nullptr, {0, 0}, kLine, kInk, 1.0F);
    DrawTextInBox(nullptr, L"H", style, box, TextPlacement::Middle);
    DrawTextAt(nullptr, L"H", style, {0, 0});
    DrawImageCovering(nullptr, picture.Bitmap(), box);
    DrawImageFitting(nullptr, picture.Bitmap(), box);
    CopyImage(nullptr, picture.Bitmap(), box);
    CopyImage(picture.Graphics(), nullptr, box);
    EXPECT_EQ(picture.Read().Count(box, kInk), 100);
}

}  // namespace
