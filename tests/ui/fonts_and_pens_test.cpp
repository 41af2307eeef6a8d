// The design in literal numbers: each text's font and place, each pen's width.

#include <gmock/gmock.h>

#include "ui/button_painter.h"
#include "ui/paint_records.h"
#include "ui/painted_window.h"

namespace {

using testing::ElementsAre;

class FontsAndPens : public PaintingTest {};

TEST_F(FontsAndPens, OfTheWindowsTexts) {
    WindowPicture picture = BarePicture();
    picture.toolName = L"Repair.exe";
    picture.clientFolder = L"D:\\Karvoth";
    picture.job.statusLine = L"Extracting...";
    picture.job.detailLine = L"Preparing files...";
    const Canvas canvas;
    EXPECT_THAT(
        RecordTexts([&] { PaintWindow(canvas.Graphics(), picture); }),
        ElementsAre(
            "Repair.exe | Segoe UI 13 px regular | 22,16 0x0",
            "QS | Segoe UI 36 px bold | 373,88 112x112 center, middle, word ellipsis",
            "Repair or Reinstall the Game | Segoe UI 28 px bold | 72,214 716x40 center, top, word "
            "ellipsis",
            "D:\\Karvoth | Segoe UI 12 px regular | 84,276 692x26 center, top, word ellipsis",
            "Extracting... | Segoe UI 15 px bold | 114,356 632x24 center, top, word ellipsis",
            "Preparing files... | Segoe UI 12 px regular | 84,380 692x24 center, top, word "
            "ellipsis"));
}

TEST_F(FontsAndPens, OfTheWindowsOutlines) {
    const Canvas canvas;
    EXPECT_THAT(RecordOutlines([&] { PaintWindow(canvas.Graphics(), BarePicture()); }),
                ElementsAre("lines from 0,47, 1 px", "rectangle 48,72 764x310, 1 px",
                            "ellipse 373,88 112x112, 2 px", "rectangle 114,328 632x26, 1 px"));
}

constexpr Box kButtonBox{40, 30, 300, 44};

std::function<void()> PaintingOf(const Canvas& canvas, ButtonId id, bool selected = false) {
    return [&canvas, id, selected] {
        PaintButton(canvas.Graphics(), kButtonBox,
                    {.id = id, .text = L"text", .selected = selected});
    };
}

bool IsServer(ButtonId id) {
    return id == ButtonId::PrimaryServer || id == ButtonId::SecondServer;
}

TEST_F(FontsAndPens, OfAButton) {
    const Canvas canvas;
    for (const ButtonSpec& spec : Buttons()) {
        SCOPED_TRACE(static_cast<int>(spec.id));
        const char* const font =
            spec.id == ButtonId::CloseMark ? "Segoe UI 22 px bold" : "Segoe UI 14 px bold";
        const char* const place = IsServer(spec.id) ? "68,30 270x44" : "40,30 300x44";
        EXPECT_THAT(RecordTexts(PaintingOf(canvas, spec.id)),
                    ElementsAre(std::string("text | ") + font + " | " + place +
                                " center, middle, word ellipsis"));
        if (!IsServer(spec.id)) {
            EXPECT_THAT(RecordOutlines(PaintingOf(canvas, spec.id)),
                        ElementsAre("rectangle 40,30 299x43, 1.5 px"));
        }
    }
}

TEST_F(FontsAndPens, OfAServersButton) {
    const Canvas canvas;
    for (const ButtonId id : {ButtonId::PrimaryServer, ButtonId::SecondServer}) {
        SCOPED_TRACE(static_cast<int>(id));
        EXPECT_THAT(RecordOutlines(PaintingOf(canvas, id)),
                    ElementsAre("rectangle 40,30 299x43, 1.5 px", "rectangle 48,44 16x16, 1.5 px"));
        EXPECT_THAT(RecordOutlines(PaintingOf(canvas, id, true)),
                    ElementsAre("rectangle 40,30 299x43, 1.5 px", "rectangle 48,44 16x16, 1.5 px",
                                "lines from 51,52, 2.2 px"));
    }
}

}  // namespace
