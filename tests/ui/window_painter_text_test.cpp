#include <gtest/gtest.h>

#include <functional>

#include "ui/painted_window.h"

// The texts of the window. Glyphs belong to the font of the machine, so nothing here knows their
// shapes: a picture with the text is compared with one without.

namespace {

// A text's strokes reach its color up to a little smoothing.
constexpr int kSmoothing = 3;

struct TextPlace {
    const char* name;
    Box box;
    Argb color;
    std::function<void(WindowPicture&, const std::wstring&)> write;
};

const TextPlace kTitlePlace{"title",
                            {22, 16, 860 - 22, 31},
                            0xFFBAB9BE,
                            [](WindowPicture& picture, const std::wstring& text) {
                                picture.toolName = text;
                            }};
const TextPlace kClientFolderPlace{"client folder",
                                   {84, 276, 692, 26},
                                   0xFFBEBBC4,
                                   [](WindowPicture& picture, const std::wstring& text) {
                                       picture.clientFolder = text;
                                   }};
const TextPlace kStatusPlace{"status",
                             {114, 356, 632, 24},
                             0xFFF8F8FA,
                             [](WindowPicture& picture, const std::wstring& text) {
                                 picture.job.statusLine = text;
                             }};
const TextPlace kDetailPlace{
    "detail", {84, 380, 692, 24}, 0xFF888490, [](WindowPicture& picture, const std::wstring& text) {
        picture.job.detailLine = text;
    }};
const TextPlace kPlaces[] = {kTitlePlace, kClientFolderPlace, kStatusPlace, kDetailPlace};

Pixels PaintText(const TextPlace& place, const std::wstring& text) {
    WindowPicture picture = BarePicture();
    place.write(picture, text);
    return Paint(picture);
}

// Where the text shows.
Box InkOf(const TextPlace& place, const std::wstring& text) {
    const auto ink = DifferingArea(Paint(BarePicture()), PaintText(place, text));
    EXPECT_TRUE(ink.has_value()) << place.name;
    return ink.value_or(Box{});
}

class WindowPainterText : public PaintingTest {};

TEST_F(WindowPainterText, StandsInItsBoxAndNowhereElse) {
    for (const TextPlace& place : kPlaces) {
        EXPECT_TRUE(Contains(place.box, InkOf(place, L"IlHg|_"))) << place.name;
    }
}

TEST_F(WindowPainterText, HasItsOwnColor) {
    for (const TextPlace& place : kPlaces) {
        const Argb color = StrongestColor(Paint(BarePicture()), PaintText(place, L"IIHH||__"));
        EXPECT_LE(ColorDistance(color, place.color), kSmoothing)
            << place.name << ' ' << std::hex << color;
    }
}

TEST_F(WindowPainterText, BeginsAtTheTopOfItsBox) {
    for (const TextPlace& place : kPlaces) {
        EXPECT_LE(InkOf(place, L"IlHg|_").y, place.box.y + 8) << place.name;
    }
}

TEST_F(WindowPainterText, IsCenteredFromSideToSideBelowTheTitleBar) {
    for (const TextPlace& place : {kClientFolderPlace, kStatusPlace, kDetailPlace}) {
        EXPECT_NEAR(CenterX(InkOf(place, L"HoH")), 430, 2) << place.name;
        EXPECT_NEAR(CenterX(InkOf(place, L"HHHHHHHHHHHHHHHHH")), 430, 2) << place.name;
    }
}

TEST_F(WindowPainterText, StartsTheTitleAtTheLeft) {
    EXPECT_NEAR(InkOf(kTitlePlace, L"H").x, 22 + 3, 3);
    EXPECT_NEAR(InkOf(kTitlePlace, L"HHHHHHHHHHHHHHHH").x, 22 + 3, 3);
}

TEST_F(WindowPainterText, IsLargerForTheStatusThanForTheDetail) {
    const int title = InkOf(kTitlePlace, L"HHHHHHHHHH").width;
    const int folder = InkOf(kClientFolderPlace, L"HHHHHHHHHH").width;
    const int status = InkOf(kStatusPlace, L"HHHHHHHHHH").width;
    const int detail = InkOf(kDetailPlace, L"HHHHHHHHHH").width;
    EXPECT_GT(status, title);
    EXPECT_GT(title, folder);
    EXPECT_EQ(folder, detail);
}

TEST_F(WindowPainterText, StaysOnOneLineInsideItsBoxHoweverLong) {
    std::wstring words;
    for (int count = 0; count < 100; ++count) {
        words += L"HHHH HHH\\";
    }
    for (const TextPlace& place : kPlaces) {
        const Box oneLine = InkOf(place, L"HHHH HHH\\");
        const Box ink = InkOf(place, words);
        EXPECT_TRUE(Contains(place.box, ink)) << place.name;
        EXPECT_GT(ink.width, 500) << place.name;
        // An ellipsis may reach a little lower.
        EXPECT_NEAR(ink.y, oneLine.y, 1) << place.name;
        EXPECT_NEAR(ink.height, oneLine.height, 2) << place.name;
    }
}

TEST_F(WindowPainterText, StaysInsideItsBoxWithoutAnyBlankToBreakAt) {
    for (const TextPlace& place : kPlaces) {
        const Box ink = InkOf(place, std::wstring(3000, L'H'));
        EXPECT_TRUE(Contains(place.box, ink)) << place.name;
        EXPECT_NEAR(ink.height, InkOf(place, L"H").height, 2) << place.name;
    }
}

TEST_F(WindowPainterText, PaintsNothingForAnEmptyTitleFolderAndDetail) {
    for (const TextPlace& place : {kTitlePlace, kClientFolderPlace, kDetailPlace}) {
        EXPECT_EQ(PaintText(place, L""), Paint(BarePicture())) << place.name;
    }
}

TEST_F(WindowPainterText, SaysReadyForAnEmptyStatus) {
    EXPECT_EQ(PaintText(kStatusPlace, L""), PaintText(kStatusPlace, L"Ready."));
    EXPECT_NE(PaintText(kStatusPlace, L""), Paint(BarePicture()));
}

TEST_F(WindowPainterText, ShowsAClientFolderOfAnotherLanguage) {
    EXPECT_NE(PaintText(kClientFolderPlace, L"D:\\Gr\u00f6\u00dfe"),
              PaintText(kClientFolderPlace, L"D:\\Gro\u00dfe"));
    EXPECT_TRUE(Contains(kClientFolderPlace.box,
                         InkOf(kClientFolderPlace, L"D:\\\u0418\u0433\u0440\u044b")));
}

// The picture of a job in one stage, without counters.
WindowPicture AtStage(JobStage stage, const wchar_t* statusLine) {
    WindowPicture picture = BarePicture();
    picture.job.stage = stage;
    picture.job.statusLine = statusLine;
    return picture;
}

TEST_F(WindowPainterText, ShowsTheSpeedBehindTheStatus) {
    WindowPicture picture = AtStage(JobStage::Downloading, L"Downloading...");
    EXPECT_EQ(Paint(picture), Paint(AtStage(JobStage::Idle, L"Downloading...  0 MB/s")));
    picture.job.bytesPerSecond = 1536.0;
    EXPECT_EQ(Paint(picture), Paint(AtStage(JobStage::Idle, L"Downloading...  1.5 KB/s")));
}

TEST_F(WindowPainterText, ShowsTheCountOfFilesBehindTheStatus) {
    WindowPicture picture = AtStage(JobStage::Finishing, L"Verifying...");
    picture.job.filesTotal = 12;
    EXPECT_EQ(Paint(picture), Paint(AtStage(JobStage::Idle, L"Verifying...  0/12 files")));
}

TEST_F(WindowPainterText, PaintsTheDetailInTheAccentOnlyOfAFailure) {
    for (const JobStage stage :
         {JobStage::Idle, JobStage::Downloading, JobStage::VerifyingPackage, JobStage::Extracting,
          JobStage::Finishing, JobStage::Done, JobStage::Failed}) {
        WindowPicture picture = AtStage(stage, L" ");
        const Pixels without = Paint(picture);
        picture.job.detailLine = L"IIHH||__";
        const Argb color = StrongestColor(without, Paint(picture));
        const Argb expected = stage == JobStage::Failed ? kTestAccent : 0xFF888490;
        EXPECT_LE(ColorDistance(color, expected), kSmoothing)
            << static_cast<int>(stage) << ' ' << std::hex << color;
    }
}

TEST_F(WindowPainterText, PaintsTheHeadingInTheAccentIntoItsBox) {
    constexpr Box kHeadingBox{72, 214, 716, 40};
    const Pixels window = Paint(BarePicture());
    EXPECT_GT(window.Count(kHeadingBox, kTestAccent), 500);
    // Bare panel between the placeholder and the heading, beside it and below.
    EXPECT_EQ(window.Count({49, 203, 763, 11}, 0xFF111215), 763 * 11);
    EXPECT_EQ(window.Count({49, 214, 23, 40}, 0xFF111215), 23 * 40);
    EXPECT_EQ(window.Count({788, 214, 24, 40}, 0xFF111215), 24 * 40);
    EXPECT_EQ(window.Count({49, 254, 763, 70}, 0xFF111215), 763 * 70);
}

TEST_F(WindowPainterText, CentersTheHeading) {
    WindowPicture other = BarePicture();
    other.accentColor = 0xFFFFFFFF;
    const auto ink = DifferingArea(Paint(BarePicture()), Paint(other), {72, 214, 716, 40});
    ASSERT_TRUE(ink.has_value());
    EXPECT_NEAR(CenterX(*ink), 430, 2);
    // Bold and 28 pixels high: by far the largest text of the window.
    EXPECT_GT(ink->width, 300);
}

}  // namespace
