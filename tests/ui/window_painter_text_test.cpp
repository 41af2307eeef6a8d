#include <gtest/gtest.h>

#include "ui/painted_window.h"

// How the texts look. Fonts differ between machines, so pictures with and without a text are
// compared; which font is asked for, and where, is in fonts_and_pens_test.cpp.

namespace {

using namespace bench;

constexpr int kSmoothing = 3;  // What smoothing may change a text's strongest color by.

struct TextPlace {
    const char* name;
    Box box;
    Argb color;
    std::wstring& (*text)(WindowPicture&);
};

std::wstring& Title(WindowPicture& picture) {
    return picture.toolName;
}
std::wstring& Folder(WindowPicture& picture) {
    return picture.clientFolder;
}
std::wstring& Status(WindowPicture& picture) {
    return picture.job.statusLine;
}
std::wstring& Detail(WindowPicture& picture) {
    return picture.job.detailLine;
}

constexpr TextPlace kTitle{"title", {22, 16, 860 - 22, 31}, 0xFFBAB9BE, Title};
constexpr TextPlace kFolder{"folder", {84, 276, 692, 26}, 0xFFBEBBC4, Folder};
constexpr TextPlace kStatus{"status", {114, 356, 632, 24}, 0xFFF8F8FA, Status};
constexpr TextPlace kDetail{"detail", {84, 380, 692, 24}, 0xFF888490, Detail};
constexpr TextPlace kPlaces[] = {kTitle, kFolder, kStatus, kDetail};

Pixels PaintText(const TextPlace& place, const std::wstring& text) {
    WindowPicture picture = BarePicture();
    place.text(picture) = text;
    return Paint(picture);
}

class WindowPainterText : public PaintingTest {
protected:
    // Where the text shows.
    Box InkOf(const TextPlace& place, const std::wstring& text) const {
        const auto ink = DifferingArea(bare_, PaintText(place, text));
        EXPECT_TRUE(ink.has_value()) << place.name;
        return ink.value_or(Box{});
    }

    Pixels bare_ = Paint(BarePicture());
};

TEST_F(WindowPainterText, HasItsColor) {
    for (const TextPlace& place : kPlaces) {
        SCOPED_TRACE(place.name);
        const Pixels painted = PaintText(place, L"IIHH||__");
        const Argb color = StrongestColor(bare_, painted);
        EXPECT_LE(ColorDistance(color, place.color), kSmoothing) << std::hex << color;
    }
}

TEST_F(WindowPainterText, StaysOnOneLineInsideItsBoxHoweverLong) {
    std::wstring words;
    for (int count = 0; count < 100; ++count) {
        words += L"HHHH HHH\\";
    }
    for (const TextPlace& place : kPlaces) {
        SCOPED_TRACE(place.name);
        const Box oneLine = InkOf(place, L"HHHH HHH\\");
        // With blanks to break at and without.
        for (const std::wstring& text : {words, std::wstring(3000, L'H')}) {
            const Box ink = InkOf(place, text);
            EXPECT_TRUE(Contains(place.box, ink));
            // An ellipsis may reach a little lower.
            EXPECT_NEAR(ink.y, oneLine.y, 1);
            EXPECT_NEAR(ink.height, oneLine.height, 2);
        }
        EXPECT_GT(InkOf(place, words).width, 500);
    }
    // Some messages contain a line break.
    for (const TextPlace& place : {kFolder, kStatus, kDetail}) {
        EXPECT_NEAR(InkOf(place, L"HHHH\nHHHH").height, InkOf(place, L"HHHH").height, 2)
            << place.name;
    }
}

TEST_F(WindowPainterText, IsNotThereWhenEmptyButForTheStatus) {
    for (const TextPlace& place : {kTitle, kFolder, kDetail}) {
        EXPECT_EQ(PaintText(place, L""), bare_) << place.name;
    }
    EXPECT_EQ(PaintText(kStatus, L""), PaintText(kStatus, L"Ready."));
    EXPECT_NE(PaintText(kStatus, L""), bare_);
}

WindowPicture AtStage(JobStage stage, const wchar_t* statusLine) {
    WindowPicture picture = BarePicture();
    picture.job.stage = stage;
    picture.job.statusLine = statusLine;
    return picture;
}

// The texts themselves are in status_text_test.cpp.
TEST_F(WindowPainterText, ShowsTheCounterBehindTheStatus) {
    WindowPicture picture = AtStage(JobStage::Downloading, L"Downloading...");
    picture.job.bytesPerSecond = 1536.0;
    EXPECT_EQ(Paint(picture), Paint(AtStage(JobStage::Idle, L"Downloading...  1.5 KB/s")));
}

TEST_F(WindowPainterText, PaintsTheDetailInTheAccentOnlyOfAFailure) {
    for (const JobStage stage : {JobStage::Idle, JobStage::Done, JobStage::Failed}) {
        WindowPicture picture = AtStage(stage, L" ");
        const Pixels without = Paint(picture);
        picture.job.detailLine = L"IIHH||__";
        const Argb color = StrongestColor(without, Paint(picture));
        const Argb expected = stage == JobStage::Failed ? kTestAccent : 0xFF888490;
        EXPECT_LE(ColorDistance(color, expected), kSmoothing)
            << static_cast<int>(stage) << ' ' << std::hex << color;
    }
}

TEST_F(WindowPainterText, PaintsTheHeadingInTheAccent) {
    EXPECT_GT(bare_.Count({72, 214, 716, 40}, kTestAccent), 500);
}

}  // namespace
