#include <gtest/gtest.h>

#include <ostream>

#include "resource_ids.h"
#include "window/picture_files.h"
#include "window/tool_test.h"

namespace {

constexpr uint32_t kAccent = 0x33CC66;
constexpr uint32_t kLogoColor = 0xD040E0;
constexpr uint32_t kPanelFill = 0x111215;
constexpr uint32_t kDiscFill = 0x121316;
// Where scaling blends the picture's edge with what lies behind.
constexpr int kBlurPx = 3;

class Logo : public ToolTest {
protected:
    Logo() {
        Set("accentHex", L"33CC66");
    }

    // The picture fills `place`, and nothing of it lies outside.
    static void ExpectLogoAt(const WindowShot& shot, const Box& place) {
        const int middleX = place.x + place.width / 2;
        const int middleY = place.y + place.height / 2;
        const int right = place.x + place.width - 1;
        const int bottom = place.y + place.height - 1;
        for (const Point& inside :
             {Point{middleX, middleY}, Point{place.x + kBlurPx, middleY},
              Point{right - kBlurPx, middleY}, Point{middleX, place.y + kBlurPx},
              Point{middleX, bottom - kBlurPx}}) {
            EXPECT_EQ(shot.At(inside.x, inside.y), kLogoColor) << inside.x << ", " << inside.y;
        }
        for (const Point& outside :
             {Point{place.x - kBlurPx, middleY}, Point{right + kBlurPx, middleY},
              Point{middleX, place.y - kBlurPx}, Point{middleX, bottom + kBlurPx}}) {
            EXPECT_EQ(shot.At(outside.x, outside.y), kPanelFill) << outside.x << ", " << outside.y;
        }
    }

    static void ExpectPlaceholder(const WindowShot& shot) {
        // The disc has its middle at (429, 144) and a radius of 56.
        for (const Point& disc : {Point{429, 96}, Point{429, 192}, Point{381, 144}, Point{477, 144},
                                  Point{395, 110}, Point{463, 178}}) {
            EXPECT_EQ(shot.At(disc.x, disc.y), kDiscFill) << disc.x << ", " << disc.y;
        }
        // The ring of two pixels lies on its edge.
        for (const Box& ring :
             {Box{425, 87, 8, 2}, Box{425, 199, 8, 2}, Box{372, 140, 2, 8}, Box{484, 140, 2, 8}}) {
            EXPECT_TRUE(shot.Holds(ring, kAccent)) << ring.x << ", " << ring.y;
        }
        for (const Point& outside : {Point{429, 84}, Point{429, 204}, Point{369, 144},
                                     Point{489, 144}, Point{380, 95}, Point{478, 193}}) {
            EXPECT_EQ(shot.At(outside.x, outside.y), kPanelFill) << outside.x << ", " << outside.y;
        }
        // The monogram, in the middle both ways.
        EXPECT_TRUE(shot.Holds({404, 124, 25, 40}, kAccent));
        EXPECT_TRUE(shot.Holds({429, 124, 25, 40}, kAccent));
        EXPECT_FALSE(shot.Holds({404, 108, 50, 14}, kAccent));
        EXPECT_FALSE(shot.Holds({404, 166, 50, 14}, kAccent));
        EXPECT_FALSE(shot.Holds({384, 130, 12, 28}, kAccent));
        EXPECT_FALSE(shot.Holds({462, 130, 12, 28}, kAccent));
    }
};

struct LogoCase {
    const char* name;
    int width;
    int height;
    Box place;
};

std::ostream& operator<<(std::ostream& out, const LogoCase& logo) {
    return out << logo.name;
}

class LogoSizes : public Logo, public testing::WithParamInterface<LogoCase> {};

TEST_P(LogoSizes, AreFittedIntoTheBoxAndCentered) {
    Embed(ID_LOGO_IMAGE,
          PlainPictureFile(PictureFormat::Png, GetParam().width, GetParam().height, kLogoColor));
    ExpectLogoAt(StartTool().Look(), GetParam().place);
}

INSTANTIATE_TEST_SUITE_P(Sizes, LogoSizes,
                         testing::Values(LogoCase{"WideScaledDown", 340, 120, {345, 121, 170, 60}},
                                         LogoCase{"WideScaledUp", 85, 30, {345, 121, 170, 60}},
                                         LogoCase{"HighScaledDown", 100, 252, {405, 88, 50, 126}},
                                         LogoCase{"HighScaledUp", 25, 63, {405, 88, 50, 126}},
                                         LogoCase{"Square", 126, 126, {367, 88, 126, 126}},
                                         LogoCase{"AsTheBox", 170, 126, {345, 88, 170, 126}}),
                         [](const auto& logo) { return logo.param.name; });

TEST_F(Logo, GivesWayToThePlaceholderWhenTheBrandShowsNone) {
    Set("showLogo", L"0");
    Embed(ID_LOGO_IMAGE, PlainPictureFile(PictureFormat::Png, 126, 126, kLogoColor));
    ExpectPlaceholder(StartTool().Look());
}

TEST_F(Logo, GivesWayToThePlaceholderWhenItIsNoPicture) {
    Embed(ID_LOGO_IMAGE, "no picture");
    ExpectPlaceholder(StartTool().Look());
}

TEST_F(Logo, GivesWayToThePlaceholderWhenThereIsNone) {
    UseBareTool();
    Set("accentHex", L"33CC66");
    ExpectPlaceholder(StartTool().Look());
}

}  // namespace
