#include "kit/preview_painter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "kit/command_line.h"
#include "kit/picture_encoding.h"
#include "kit/picture_header.h"
#include "ui/drawing.h"
#include "ui/layout.h"
#include "ui/palette.h"
#include "ui/window_painter.h"

namespace {

constexpr Argb kAccent = 0xFF40C080;

class PaintPreviewTest : public testing::Test {
protected:
    PaintPreviewTest() {
        brand_.config.accentHex = L"40C080";
        brand_.config.startupExe = L"patcher.exe";
    }

    [[nodiscard]] Argb Pixel(std::string_view state, int x, int y) {
        Gdiplus::ARGB color = 0;
        Gdiplus::DllExports::GdipBitmapGetPixel(PaintPreview(brand_, state).get(), x, y, &color);
        return static_cast<Argb>(color);
    }
    // In the middle of the left border and of the inside below the text.
    [[nodiscard]] Argb Border(std::string_view state, const Box& button) {
        return Pixel(state, button.x, button.y + button.height / 2);
    }
    [[nodiscard]] Argb Inside(std::string_view state, const Box& button) {
        return Pixel(state, button.x + button.width / 2, button.y + button.height - 5);
    }

    GdiplusSession gdiplus_;
    PreviewBrand brand_;
};

TEST_F(PaintPreviewTest, EveryStateLooksDifferent) {
    std::set<std::string> files;
    for (const std::string_view state : kPreviewStates) {
        const std::string file = EncodePicture(PaintPreview(brand_, state).get(), kPngEncoder);
        const auto size = ReadPictureSize(file);
        ASSERT_TRUE(size) << state;
        EXPECT_EQ(size->width, 860U);
        EXPECT_EQ(size->height, 560U);
        EXPECT_TRUE(files.insert(file).second) << state;
    }
}

TEST_F(PaintPreviewTest, TheBarShowsTheProgress) {
    const auto bar = [&](std::string_view state, int percent) {
        return Pixel(state, kProgressTrack.x + kProgressTrack.width * percent / 100,
                     kProgressTrack.y + kProgressTrack.height / 2);
    };
    EXPECT_EQ(bar("ready", 1), kProgressTrackFill);
    EXPECT_EQ(bar("download", 41), kAccent);
    EXPECT_EQ(bar("download", 43), kProgressTrackFill);
    EXPECT_EQ(bar("files", 66), kAccent);
    EXPECT_EQ(bar("files", 68), kProgressTrackFill);
    EXPECT_EQ(bar("verify", 99), kAccent);
    EXPECT_EQ(bar("unpack", 99), kAccent);
    EXPECT_EQ(bar("done", 99), kAccent);
    EXPECT_EQ(bar("failed", 1), kProgressTrackFill);
}

TEST_F(PaintPreviewTest, ButtonsAreThoseOfTheState) {
    EXPECT_EQ(Inside("ready", kRepairButton), kAccent);
    EXPECT_EQ(Inside("done", kRepairButton), kAccent);
    for (const char* state : {"download", "verify", "unpack", "files"}) {
        EXPECT_EQ(Inside(state, kRepairButton), kPrimaryButtonDisabledFill) << state;
    }
    EXPECT_EQ(Inside("failed", kRetryButton), kButtonFill);
    EXPECT_NE(Inside("failed", kRepairButton), kAccent);
    EXPECT_EQ(Inside("servers", kRepairButtonWithServers), kAccent);
    EXPECT_EQ(Inside("servers", kSecondServerButton), kButtonFill);
}

TEST_F(PaintPreviewTest, ABrandWithTwoServersShowsThemInEveryState) {
    brand_.config.multiRepairTool = true;
    brand_.config.archiveMirrorUrls = {L"https://example.com/1.zip"};
    EXPECT_EQ(Inside("ready", kRepairButtonWithServers), kAccent);
}

TEST_F(PaintPreviewTest, LinksAreShownIfTheBrandHasThem) {
    EXPECT_NE(Inside("ready", kWebsiteButton), kQuietButtonFill);
    brand_.config.websiteUrl = L"https://example.com";
    EXPECT_EQ(Inside("ready", kWebsiteButton), kQuietButtonFill);
}

TEST_F(PaintPreviewTest, TheBrandsPicturesAreShown) {
    constexpr Argb kRed = 0xFFFF0000;
    const OwnedBitmap red = MakeBitmap(126, 126);
    FillBox(MakeGraphics(red.get()).get(), {0, 0, 126, 126}, kRed);
    const int x = kLogo.x + kLogo.width / 2 + 40;
    const int y = kLogo.y + kLogo.height / 2;
    EXPECT_NE(Pixel("ready", x, y), kRed);
    const Argb plain = Pixel("ready", 10, 300);
    brand_.panelLogo = MakePanelLogo(red.get());
    brand_.backdrop = MakeBackdrop(red.get());
    EXPECT_EQ(Pixel("ready", x, y), kRed);
    EXPECT_NE(Pixel("ready", 10, 300), plain);
}

TEST_F(PaintPreviewTest, TheContactSheetHasRoomForAllPictures) {
    const OwnedBitmap ready = PaintPreview(brand_, "ready");
    const auto sizeOf = [&](size_t count) {
        const std::vector<NamedPicture> pictures(count, {"ready", ready.get()});
        return ReadPictureSize(EncodePicture(PaintContactSheet(pictures).get(), kPngEncoder))
            .value();
    };
    EXPECT_GE(sizeOf(1).width, 645U);
    EXPECT_LT(sizeOf(1).width, 860U);
    EXPECT_EQ(sizeOf(2).height, sizeOf(1).height);
    EXPECT_GT(sizeOf(2).width, sizeOf(1).width);
    EXPECT_GT(sizeOf(3).height, sizeOf(2).height);
}

}  // namespace
