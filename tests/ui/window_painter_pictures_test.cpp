#include <gtest/gtest.h>

#include <vector>

#include "ui/drawing.h"
#include "ui/painted_window.h"

// The background and the logo.

namespace {

constexpr Argb kRed = 0xFFFF0000;
constexpr Argb kGreen = 0xFF00FF00;
constexpr Argb kBlue = 0xFF0000FF;
constexpr Argb kWhite = 0xFFFFFFFF;
constexpr Argb kBlack = 0xFF000000;
constexpr Argb kPanelColor = 0xFF111215;

class WindowPainterPictures : public PaintingTest {};

Pixels PaintOver(Gdiplus::GpImage* background) {
    WindowPicture picture = BarePicture();
    picture.background = background;
    return Paint(picture);
}

// A color below the veil, of which 205 parts in 255 hide it.
Argb Veiled(Argb color) {
    Argb veiled = 0xFF;
    for (const int bits : {16, 8, 0}) {
        const Argb below = color >> bits & 0xFF;
        const Argb veil = 0xFF0A0B0C >> bits & 0xFF;
        veiled = veiled << 8 | (below * 50 + veil * 205 + 127) / 255;
    }
    return veiled;
}

void ExpectNear(const Pixels& window, Argb color, std::initializer_list<Point> points) {
    for (const auto& [x, y] : points) {
        EXPECT_LE(ColorDistance(window.Value(x, y), color), 2)
            << x << ',' << y << ' ' << window.At(x, y) << " instead of " << std::hex << color;
    }
}

TEST_F(WindowPainterPictures, VeilTheBackground) {
    for (const Argb color : {kWhite, kBlack, kRed, kGreen, kBlue, 0xFF808080U}) {
        const Canvas background(1720, 1120, color);
        const Pixels window = PaintOver(background.Bitmap());
        ExpectNear(window, Veiled(color), {{20, 60}, {840, 60}, {20, 540}, {840, 540}, {430, 460}});
        EXPECT_EQ(window.At(430, 10), "FF0C0D0E") << "title bar";
        EXPECT_EQ(window.At(430, 265), "FF111215") << "panel";
    }
}

// Bands of color from left to right, or from top to bottom. The length of a picture is where its
// last band ends.
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

TEST_F(WindowPainterPictures, CropAWideBackgroundAtBothSides) {
    // At the window's height 170 pixels are too many on each side.
    for (const int scale : {1, 2}) {
        const Canvas background = Bands(true, 560 / scale,
                                        {{166 / scale, kRed},
                                         {600 / scale, kGreen},
                                         {1034 / scale, kBlue},
                                         {1200 / scale, kRed}});
        const Pixels window = PaintOver(background.Bitmap());
        ExpectNear(window, Veiled(kGreen), {{1, 450}, {200, 450}, {426, 450}, {5, 557}});
        ExpectNear(window, Veiled(kBlue), {{433, 450}, {700, 450}, {857, 450}, {855, 557}});
    }
}

TEST_F(WindowPainterPictures, CropATallBackgroundAboveAndBelow) {
    // At the window's width 220 pixels are too many above and below.
    for (const int scale : {1, 2}) {
        const Canvas background = Bands(false, 860 / scale,
                                        {{216 / scale, kRed},
                                         {500 / scale, kGreen},
                                         {784 / scale, kBlue},
                                         {1000 / scale, kRed}});
        const Pixels window = PaintOver(background.Bitmap());
        ExpectNear(window, Veiled(kGreen), {{20, 49}, {20, 276}, {840, 276}});
        ExpectNear(window, Veiled(kBlue), {{20, 284}, {840, 284}, {20, 557}, {430, 557}});
    }
}

TEST_F(WindowPainterPictures, FillTheWindowPlainlyWithoutABackground) {
    EXPECT_EQ(PaintOver(nullptr).At(20, 500), "FF0A0B0C");
}

TEST_F(WindowPainterPictures, FillTheWindowPlainlyForABackgroundWithoutPixels) {
    EXPECT_EQ(PaintOver(MakeBitmap(0, 0).get()).At(20, 500), "FF0A0B0C");
    EXPECT_EQ(PaintOver(MakeBitmap(100, 0).get()).At(20, 500), "FF0A0B0C");
    EXPECT_EQ(PaintOver(MakeBitmap(0, 100).get()).At(20, 500), "FF0A0B0C");
}

Pixels PaintWithLogo(Gdiplus::GpImage* logo) {
    WindowPicture picture = BarePicture();
    picture.logo = logo;
    return Paint(picture);
}

struct LogoRow {
    const char* shape;
    int width;
    int height;
    Box painted;
};

constexpr LogoRow kLogos[] = {
    {"square, larger", 252, 252, {367, 88, 126, 126}},
    {"square, smaller", 63, 63, {367, 88, 126, 126}},
    {"wide", 340, 126, {345, 120, 170, 62}},
    {"tall", 50, 252, {418, 88, 24, 126}},
    {"of the box's shape", 340, 252, {345, 88, 170, 126}},
    {"a line", 680, 8, {345, 150, 170, 2}},
};

// Points just inside each edge, apart from the smoothing where the picture ends.
void ExpectLogoReaches(const Pixels& window, const Box& box) {
    const int middleX = box.x + box.width / 2;
    const int middleY = box.y + box.height / 2;
    ExpectNear(window, kWhite,
               {{middleX, middleY}, {box.x + 4, middleY}, {box.x + box.width - 5, middleY}});
    if (box.height > 10) {
        ExpectNear(window, kWhite, {{middleX, box.y + 4}, {middleX, box.y + box.height - 5}});
    }
}

void ExpectPanelAround(const Pixels& window, const Box& box) {
    const int middleX = box.x + box.width / 2;
    const int middleY = box.y + box.height / 2;
    ExpectNear(window, kPanelColor,
               {{box.x - 3, middleY}, {box.x + box.width + 2, middleY}, {middleX, box.y - 3}});
    if (box.y + box.height < 210) {
        ExpectNear(window, kPanelColor, {{middleX, box.y + box.height + 2}});
    }
}

TEST_F(WindowPainterPictures, FitTheLogoIntoItsBoxInItsProportions) {
    for (const auto& [shape, width, height, painted] : kLogos) {
        SCOPED_TRACE(shape);
        const Canvas logo(width, height, kWhite);
        const Pixels window = PaintWithLogo(logo.Bitmap());
        ExpectLogoReaches(window, painted);
        ExpectPanelAround(window, painted);
    }
}

TEST_F(WindowPainterPictures, LeaveThePanelBehindATransparentLogo) {
    const OwnedBitmap logo = MakeBitmap(126, 126);
    const Pixels window = PaintWithLogo(logo.get());
    EXPECT_EQ(window.Count({345, 88, 170, 115}, kPanelColor), 170 * 115);
}

TEST_F(WindowPainterPictures, PutADiscInPlaceOfALogo) {
    const Pixels window = PaintWithLogo(nullptr);
    ExpectNear(window, 0xFF121316, {{429, 100}, {429, 190}, {385, 144}, {473, 144}, {400, 115}});
    ExpectNear(window, kTestAccent, {{429, 88}, {373, 144}, {485, 144}, {429, 200}});
    // The corners around the disc.
    ExpectNear(window, kPanelColor, {{378, 93}, {480, 93}, {378, 195}, {480, 195}});
    ExpectNear(window, kPanelColor, {{370, 144}, {488, 144}, {429, 85}, {429, 203}});
}

TEST_F(WindowPainterPictures, PutTheDiscInPlaceOfALogoWithoutPixels) {
    EXPECT_EQ(PaintWithLogo(MakeBitmap(0, 0).get()), PaintWithLogo(nullptr));
}

TEST_F(WindowPainterPictures, CenterTheMonogramInTheDisc) {
    WindowPicture other = BarePicture();
    other.accentColor = kWhite;
    constexpr Box kInnerDisc{389, 104, 80, 80};
    const Pixels window = Paint(BarePicture());
    const auto ink = DifferingArea(window, Paint(other), kInnerDisc);
    ASSERT_TRUE(ink.has_value());
    EXPECT_NEAR(CenterX(*ink), 429, 4);
    EXPECT_NEAR(CenterY(*ink), 144, 6);
    EXPECT_GT(ink->height, 20);
    EXPECT_GT(window.Count(kInnerDisc, kTestAccent), 100);
}

TEST_F(WindowPainterPictures, ShowNoDiscBehindALogo) {
    const Canvas logo(340, 126, kWhite);
    ExpectNear(PaintWithLogo(logo.Bitmap()), kPanelColor, {{429, 88}, {429, 200}, {400, 100}});
}

}  // namespace
