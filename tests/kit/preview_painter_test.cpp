#include "kit/preview_painter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "kit/command_line.h"
#include "kit/picture_encoding.h"
#include "kit/picture_header.h"
#include "ui/canvas.h"
#include "ui/drawing.h"
#include "ui/layout.h"
#include "ui/paint_records.h"
#include "ui/palette.h"
#include "ui/window_painter.h"

namespace {

using testing::ElementsAreArray;

// The texts that are drawn, in their order.
std::vector<std::string> TextsOf(const std::function<void()>& paint) {
    std::vector<std::string> texts = bench::RecordTexts(paint);
    for (std::string& text : texts) {
        text.resize(text.find(" | "));
    }
    return texts;
}

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

TEST_F(PaintPreviewTest, TextsAreThoseOfTheStateAndTheBrand) {
    brand_.config.programsDisplayName = L"My Game: Part 2";
    brand_.config.repairToolName = L"MyRepair.exe";
    const std::vector<std::string> start{"Repair Client", "Reinstall Game", "Create Game Shortcut",
                                         "Run Patcher"};
    const struct {
        std::string_view state;
        const char* status;
        const char* detail;
        std::vector<std::string> buttons;
    } rows[] = {
        {"ready", "Ready.", "", start},
        {"download", "Downloading client package...  11.8 MB/s", "", start},
        {"verify", "Verifying package...", "Checking SHA-256 hash...", start},
        {"unpack", "Extracting package...", "Extracting with tar.exe...", start},
        {"files", "Verifying client files...  2814/4200 files", "Checking data\\maps\\harbor.pak",
         start},
        {"done", "Repair complete.", "Registering Programs and Features entry...", start},
        {"failed",
         "Repair failed.",
         "The server did not respond to the download request.",
         {"Retry", "Close"}},
        {"servers",
         "Ready.",
         "",
         {"Repair Client", "Repair game on Asia Download Server",
          "Repair game on EU Download Server", "Create Game Shortcut", "Run Patcher"}},
    };
    for (const auto& row : rows) {
        std::vector<std::string> expected{
            "MyRepair.exe", "QS",      "Repair or Reinstall the Game", "C:\\Games\\My Game_ Part 2",
            row.status,     row.detail};
        expected.insert(expected.end(), row.buttons.begin(), row.buttons.end());
        expected.insert(expected.end(), {"-", "x"});
        const auto paint = [&] {
            static_cast<void>(PaintPreview(brand_, row.state));
        };
        EXPECT_THAT(TextsOf(paint), ElementsAreArray(expected)) << row.state;
    }
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

TEST_F(PaintPreviewTest, TheContactSheetShowsEachStateWithItsName) {
    std::vector<OwnedBitmap> windows;
    std::vector<NamedPicture> pictures;
    std::vector<std::string> names;
    for (const std::string_view state : kPreviewStates) {
        windows.push_back(PaintPreview(brand_, state));
        pictures.push_back({state, windows.back().get()});
        names.emplace_back(state);
    }
    OwnedBitmap sheet;
    EXPECT_THAT(TextsOf([&] { sheet = PaintContactSheet(pictures); }), ElementsAreArray(names));
    UINT width = 0;
    UINT height = 0;
    Gdiplus::DllExports::GdipGetImageWidth(sheet.get(), &width);
    Gdiplus::DllExports::GdipGetImageHeight(sheet.get(), &height);
    const bench::Canvas shown(static_cast<int>(width), static_cast<int>(height), 0);
    CopyImage(shown.Graphics(), sheet.get(),
              {0, 0, static_cast<int>(width), static_cast<int>(height)});
    // Two columns of pictures at three quarters of their size.
    Box place{20, 20, 645, 420};
    for (const NamedPicture& named : pictures) {
        const bench::Canvas expected(static_cast<int>(width), static_cast<int>(height), 0xFFE8E8EC);
        DrawImageFitting(expected.Graphics(), named.picture, place);
        EXPECT_FALSE(bench::DifferingArea(shown.Read(), expected.Read(), place)) << named.name;
        place.y += place.x == 20 ? 0 : 470;
        place.x = place.x == 20 ? 685 : 20;
    }
}

}  // namespace
