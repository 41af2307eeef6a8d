// The design in literal numbers: each text's font and place, each pen's width.

#include <gmock/gmock.h>

#include "ui/button_painter.h"
#include "ui/paint_records.h"
#include "ui/painted_window.h"

namespace {

using namespace bench;
using testing::ElementsAre;

class FontsAndPens : public PaintingTest {
protected:
    Canvas canvas_;
};

WindowPicture FullPicture() {
    WindowPicture picture = BarePicture();
    picture.toolName = L"Repair.exe";
    picture.clientFolder = L"D:\\Gr\u00f6\u00dfe \u6e38";
    picture.job.statusLine = L"Extracting...";
    picture.job.detailLine = L"Preparing files...";
    return picture;
}

TEST_F(FontsAndPens, OfTheWindow) {
    EXPECT_THAT(
        RecordTexts([&] { PaintWindow(canvas_.Graphics(), FullPicture()); }),
        ElementsAre(
            "Repair.exe | Segoe UI 13 px regular | 22,16 0x0",
            "QS | Segoe UI 36 px bold | 373,88 112x112 center, middle, word ellipsis",
            "Repair or Reinstall the Game | Segoe UI 28 px bold | 72,214 716x40 center, top, word "
            "ellipsis",
            "D:\\Gr\xC3\xB6\xC3\x9F"
            "e \xE6\xB8\xB8 | Segoe UI 12 px regular | 84,276 692x26 center, top, "
            "word ellipsis",
            "Extracting... | Segoe UI 15 px bold | 114,356 632x24 center, top, word ellipsis",
            "Preparing files... | Segoe UI 12 px regular | 84,380 692x24 center, top, word "
            "ellipsis"));
    EXPECT_THAT(RecordOutlines([&] { PaintWindow(canvas_.Graphics(), FullPicture()); }),
                ElementsAre("lines from 0,47, 1 px", "rectangle 48,72 764x310, 1 px",
                            "ellipse 373,88 112x112, 2 px", "rectangle 114,328 632x26, 1 px"));
}

bool IsServer(ButtonId id) {
    return id == ButtonId::PrimaryServer || id == ButtonId::SecondServer;
}

TEST_F(FontsAndPens, OfEachButton) {
    for (const ButtonSpec& spec : Buttons()) {
        SCOPED_TRACE(static_cast<int>(spec.id));
        ButtonPicture button{.id = spec.id, .text = L"text"};
        const auto paint = [&] {
            PaintButton(canvas_.Graphics(), {40, 30, 300, 44}, button);
        };
        const std::string font =
            spec.id == ButtonId::CloseMark ? "Segoe UI 22 px bold" : "Segoe UI 14 px bold";
        const std::string place = IsServer(spec.id) ? "68,30 270x44" : "40,30 300x44";
        EXPECT_THAT(RecordTexts(paint), ElementsAre("text | " + font + " | " + place +
                                                    " center, middle, word ellipsis"));
        const char* const border = "rectangle 40,30 299x43, 1.5 px";
        const char* const square = "rectangle 48,44 16x16, 1.5 px";
        if (!IsServer(spec.id)) {
            EXPECT_THAT(RecordOutlines(paint), ElementsAre(border));
            continue;
        }
        EXPECT_THAT(RecordOutlines(paint), ElementsAre(border, square));
        button.selected = true;
        EXPECT_THAT(RecordOutlines(paint), ElementsAre(border, square, "lines from 51,52, 2.2 px"));
    }
}

// A leak of a few bytes at each paint, which no counter of the system shows soon.
TEST_F(FontsAndPens, AreReleasedWithEachPaint) {
    const MemoryDevice device(kWindow.width, kWindow.height);
    const auto counts = CountObjects([&] {
        PaintWindow(device.Dc(), FullPicture());
        PaintButton(MakeGraphics(device.Dc()).get(), {40, 30, 300, 34},
                    {.id = ButtonId::SecondServer, .text = L"text", .selected = true});
    });
    EXPECT_EQ(counts.size(), 7U);
    for (const auto& [kind, count] : counts) {
        EXPECT_GT(count.made, 0) << kind;
        EXPECT_EQ(count.left, 0) << kind;
    }
    EXPECT_EQ(counts.at("bitmap").made, 1) << "one off-screen bitmap";
}

}  // namespace
