#include <gtest/gtest.h>

#include <sstream>

#include "resource_ids.h"
#include "window/picture_files.h"
#include "window/tool_test.h"

// What the window shows apart from its buttons, color by color.

namespace {

constexpr uint32_t kAccent = 0x33CC66;
constexpr uint32_t kTitleFill = 0x0C0D0E;
constexpr uint32_t kPanelFill = 0x111215;
constexpr uint32_t kOutline = 0x302D36;
constexpr uint32_t kTrack = 0x0B0C0F;
constexpr uint32_t kWindowFill = 0x0A0B0C;
constexpr uint32_t kHeadingColor = kAccent;
constexpr uint32_t kFolderColor = 0xBEBBC4;
constexpr uint32_t kStatusColor = 0xF8F8FA;
constexpr uint32_t kTitleTextColor = 0xBAB9BE;

// The first pixel of the box that has another color; empty when there is none.
std::string FirstOther(const WindowShot& shot, const Box& box, uint32_t color) {
    for (int y = box.y; y < box.y + box.height; ++y) {
        for (int x = box.x; x < box.x + box.width; ++x) {
            if (shot.At(x, y) != color) {
                std::ostringstream text;
                text << std::hex << shot.At(x, y) << std::dec << " at " << x << ", " << y;
                return text.str();
            }
        }
    }
    return "";
}

class PaintedParts : public ToolTest {
protected:
    PaintedParts() {
        Set("accentHex", L"33CC66");
        Embed(ID_BACKGROUND_IMAGE, "no picture");
    }
};

TEST_F(PaintedParts, TitleBarHasItsFillAndTheAccentLineOverItsFullWidth) {
    const WindowShot shot = StartTool().Look();
    EXPECT_EQ(FirstOther(shot, {0, 47, 860, 1}, kAccent), "");
    EXPECT_EQ(FirstOther(shot, {0, 20, 22, 27}, kTitleFill), "");
    EXPECT_EQ(FirstOther(shot, {200, 0, 592, 47}, kTitleFill), "");
    EXPECT_EQ(FirstOther(shot, {850, 14, 10, 33}, kTitleFill), "");
    EXPECT_EQ(FirstOther(shot, {0, 48, 860, 24}, kWindowFill), "");
}

TEST_F(PaintedParts, TitleTextStandsAtItsPlace) {
    const WindowShot shot = StartTool().Look();
    EXPECT_TRUE(shot.Holds({22, 16, 120, 20}, kTitleTextColor));
    EXPECT_EQ(FirstOther(shot, {14, 0, 8, 47}, kTitleFill), "");
    EXPECT_EQ(FirstOther(shot, {22, 0, 200, 16}, kTitleFill), "");
    EXPECT_EQ(FirstOther(shot, {22, 36, 200, 11}, kTitleFill), "");
}

TEST_F(PaintedParts, PanelHasItsFillAndAnOutlineOfOnePixel) {
    const WindowShot shot = StartTool().Look();
    EXPECT_EQ(FirstOther(shot, {48, 72, 764, 1}, kOutline), "");
    EXPECT_EQ(FirstOther(shot, {48, 382, 765, 1}, kOutline), "");
    EXPECT_EQ(FirstOther(shot, {48, 72, 1, 311}, kOutline), "");
    EXPECT_EQ(FirstOther(shot, {812, 72, 1, 311}, kOutline), "");
    EXPECT_EQ(FirstOther(shot, {49, 73, 296, 140}, kPanelFill), "");
    EXPECT_EQ(FirstOther(shot, {516, 73, 296, 140}, kPanelFill), "");
    EXPECT_EQ(FirstOther(shot, {49, 381, 763, 1}, kPanelFill), "");
    EXPECT_EQ(FirstOther(shot, {0, 71, 860, 1}, kWindowFill), "");
    EXPECT_EQ(FirstOther(shot, {0, 383, 860, 13}, kWindowFill), "");
    EXPECT_EQ(FirstOther(shot, {0, 60, 48, 340}, kWindowFill), "");
    EXPECT_EQ(FirstOther(shot, {813, 60, 47, 340}, kWindowFill), "");
}

TEST_F(PaintedParts, ProgressBarHasAnOutlineAroundItsTrack) {
    const WindowShot shot = StartTool().Look();
    EXPECT_EQ(FirstOther(shot, {114, 328, 633, 1}, kOutline), "");
    EXPECT_EQ(FirstOther(shot, {114, 354, 633, 1}, kOutline), "");
    EXPECT_EQ(FirstOther(shot, {114, 328, 1, 27}, kOutline), "");
    EXPECT_EQ(FirstOther(shot, {746, 328, 1, 27}, kOutline), "");
    EXPECT_EQ(FirstOther(shot, {115, 329, 630, 24}, kTrack), "");
    EXPECT_EQ(FirstOther(shot, {49, 320, 65, 36}, kPanelFill), "");
    EXPECT_EQ(FirstOther(shot, {747, 320, 65, 36}, kPanelFill), "");
    EXPECT_EQ(FirstOther(shot, {114, 302, 633, 26}, kPanelFill), "");
}

TEST_F(PaintedParts, TextsHaveTheirColorsInTheirBoxes) {
    const WindowShot shot = StartTool().Look();
    EXPECT_TRUE(shot.Holds({72, 214, 716, 40}, kHeadingColor));
    EXPECT_LE(NearestDistance(shot, {84, 276, 692, 26}, kFolderColor), 20);
    EXPECT_TRUE(shot.Holds({114, 356, 632, 24}, kStatusColor));
    // Centered: nothing at the sides, something in the middle.
    EXPECT_EQ(FirstOther(shot, {72, 214, 150, 40}, kPanelFill), "");
    EXPECT_EQ(FirstOther(shot, {638, 214, 150, 40}, kPanelFill), "");
    EXPECT_TRUE(shot.Holds({400, 214, 60, 40}, kHeadingColor));
    EXPECT_LE(NearestDistance(shot, {400, 276, 60, 26}, kFolderColor), 20);
    EXPECT_TRUE(shot.Holds({405, 356, 50, 24}, kStatusColor));
    // Between them, and where the detail will stand.
    EXPECT_EQ(FirstOther(shot, {49, 254, 763, 22}, kPanelFill), "");
    EXPECT_EQ(FirstOther(shot, {49, 302, 763, 26}, kPanelFill), "");
    EXPECT_EQ(FirstOther(shot, {84, 383, 692, 13}, kWindowFill), "");
}

// Places without buttons, texts or the panel.
constexpr Point kOpenPlaces[] = {{4, 60},   {430, 60},  {855, 60},  {20, 300}, {840, 300},
                                 {30, 480}, {700, 520}, {430, 550}, {20, 550}, {840, 545}};

class Background : public ToolTest {
protected:
    // The picture's color under the veil, which lets through 50 parts of 255.
    static int Veiled(int picture, int veil) {
        return (picture * 50 + veil * 205) / 255;
    }
    static void ExpectVeiled(const WindowShot& shot, const Point& at, uint32_t picture,
                             int tolerance) {
        const auto channel = [](uint32_t color, int shift) {
            return static_cast<int>(color >> shift & 0xFF);
        };
        for (const int shift : {0, 8, 16}) {
            EXPECT_NEAR(channel(shot.At(at.x, at.y), shift),
                        Veiled(channel(picture, shift), channel(kWindowFill, shift)), tolerance)
                << "at " << at.x << ", " << at.y << ", bits from " << shift;
        }
    }
};

TEST_F(Background, LiesUnderAVeil) {
    Embed(ID_BACKGROUND_IMAGE, PlainPictureFile(PictureFormat::Png, 860, 560, 0xF0A050));
    const WindowShot shot = StartTool().Look();
    for (const Point& place : kOpenPlaces) {
        ExpectVeiled(shot, place, 0xF0A050, 1);
    }
    // What lies on it hides it.
    EXPECT_EQ(shot.At(60, 100), kPanelFill);
    EXPECT_EQ(shot.At(430, 10), kTitleFill);
}

TEST_F(Background, CanBeAJpeg) {
    Embed(ID_BACKGROUND_IMAGE, PlainPictureFile(PictureFormat::Jpeg, 640, 480, 0xF0A050));
    const WindowShot shot = StartTool().Look();
    for (const Point& place : kOpenPlaces) {
        // The veil takes most of what JPEG changes.
        ExpectVeiled(shot, place, 0xF0A050, 2);
    }
}

TEST_F(Background, CanBeABitmap) {
    Embed(ID_BACKGROUND_IMAGE, PlainPictureFile(PictureFormat::Bmp, 640, 480, 0xF0A050));
    const WindowShot shot = StartTool().Look();
    for (const Point& place : kOpenPlaces) {
        ExpectVeiled(shot, place, 0xF0A050, 1);
    }
}

TEST_F(Background, CoversTheWindowAndLosesItsSidesWhenItIsTooWide) {
    // At the window's height the red and blue quarters lie outside of it.
    Embed(ID_BACKGROUND_IMAGE, PictureFile(PictureFormat::Png, 1000, 280, [](int x, int) {
              return x < 275 ? 0xFF0000U : x < 725 ? 0x00FF00U : 0x0000FFU;
          }));
    const WindowShot shot = StartTool().Look();
    for (const Point& place : kOpenPlaces) {
        ExpectVeiled(shot, place, 0x00FF00, 1);
    }
}

TEST_F(Background, CoversTheWindowAndLosesTopAndBottomWhenItIsTooHigh) {
    Embed(ID_BACKGROUND_IMAGE, PictureFile(PictureFormat::Png, 430, 700, [](int, int y) {
              return y < 200 ? 0xFF0000U : y < 500 ? 0x00FF00U : 0x0000FFU;
          }));
    const WindowShot shot = StartTool().Look();
    for (const Point& place : kOpenPlaces) {
        ExpectVeiled(shot, place, 0x00FF00, 1);
    }
}

TEST_F(Background, StandsCentered) {
    // The boundary in the middle of the picture is the boundary in the middle of the window.
    Embed(ID_BACKGROUND_IMAGE, PictureFile(PictureFormat::Png, 1720, 560, [](int x, int) {
              return x < 860 ? 0xFF0000U : 0x0000FFU;
          }));
    const WindowShot shot = StartTool().Look();
    ExpectVeiled(shot, {427, 60}, 0xFF0000, 1);
    ExpectVeiled(shot, {433, 60}, 0x0000FF, 1);
}

TEST_F(Background, GivesWayToAPlainFillWhenItIsNoPicture) {
    Embed(ID_BACKGROUND_IMAGE, "no picture");
    const WindowShot shot = StartTool().Look();
    for (const Point& place : kOpenPlaces) {
        EXPECT_EQ(shot.At(place.x, place.y), kWindowFill) << place.x << ", " << place.y;
    }
}

TEST_F(Background, GivesWayToAPlainFillWhenThereIsNone) {
    UseBareTool();
    const WindowShot shot = StartTool().Look();
    for (const Point& place : kOpenPlaces) {
        EXPECT_EQ(shot.At(place.x, place.y), kWindowFill) << place.x << ", " << place.y;
    }
}

}  // namespace
