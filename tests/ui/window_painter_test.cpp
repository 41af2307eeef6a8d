#include "ui/window_painter.h"

#include <gtest/gtest.h>

#include "ui/painted_window.h"

// Areas, lines and the progress bar.

namespace {

using namespace bench;

constexpr Argb kWindowColor = 0xFF0A0B0C;
constexpr Argb kPanelColor = 0xFF111215;
constexpr Argb kOutlineColor = 0xFF302D36;
constexpr Argb kTrackColor = 0xFF0B0C0F;

class WindowPainter : public PaintingTest {};

TEST_F(WindowPainter, PaintsEveryPixelOpaque) {
    for (const Argb value : Paint(BarePicture()).values) {
        ASSERT_EQ(value >> 24, 0xFFU);
        ASSERT_NE(value, 0xFFFF00FF) << "not painted";
    }
}

TEST_F(WindowPainter, PaintsTitleBarPanelAndBar) {
    const Pixels window = Paint(BarePicture());
    ExpectColor(window, kWindowColor,
                {{0, 48}, {859, 48}, {0, 559}, {859, 559}, {430, 60}, {430, 470}});
    ExpectColor(window, 0xFF0C0D0E, {{0, 0}, {859, 0}, {0, 46}, {430, 46}, {859, 46}});
    EXPECT_EQ(window.Count({0, 47, 860, 1}, kTestAccent), 860) << "the title bar's last row";
    // The panel.
    ExpectColor(window, kPanelColor, {{49, 73}, {811, 73}, {49, 381}, {811, 381}, {430, 260}});
    ExpectColor(
        window, kOutlineColor,
        {{48, 72}, {812, 72}, {48, 382}, {812, 382}, {430, 72}, {430, 382}, {48, 227}, {812, 227}});
    ExpectColor(window, kWindowColor, {{47, 227}, {813, 227}, {430, 71}, {430, 383}});
    // The bar's outline is one pixel around its track.
    ExpectColor(window, kOutlineColor,
                {{114, 328},
                 {746, 328},
                 {114, 354},
                 {746, 354},
                 {430, 328},
                 {430, 354},
                 {114, 340},
                 {746, 340}});
    ExpectColor(window, kTrackColor, {{115, 329}, {744, 329}, {115, 352}, {744, 352}, {430, 340}});
    ExpectColor(window, kPanelColor, {{113, 340}, {747, 340}, {430, 327}, {430, 355}});
}

TEST_F(WindowPainter, PaintsTheAccentThatItIsGiven) {
    WindowPicture picture = BarePicture();
    picture.job.stage = JobStage::Done;
    picture.accentColor = 0xFFCC2211;
    const Pixels window = Paint(picture);
    ExpectColor(window, 0xFFCC2211, {{0, 47}, {115, 329}, {744, 352}, {429, 88}});
    EXPECT_EQ(window.Count(kWindow, kTestAccent), 0);
    EXPECT_EQ(window.Count(kWindow, kDefaultAccent), 0);
}

// How wide the bar is filled: from the left, over its whole height, and not beyond.
int FilledWidth(const JobState& job) {
    WindowPicture picture = BarePicture();
    picture.job = job;
    picture.job.statusLine = L" ";
    const Pixels window = Paint(picture);
    const int width = window.Count({115, 340, 630, 1}, kTestAccent);
    EXPECT_EQ(window.Count({115, 329, width, 24}, kTestAccent), width * 24);
    EXPECT_EQ(window.Count({115 + width, 329, 630 - width, 24}, kTrackColor), (630 - width) * 24);
    return width;
}

// The rule itself is in progress_bar_test.cpp.
TEST_F(WindowPainter, FillsTheBarByWholePixels) {
    const std::pair<uint64_t, int> rows[] = {{0, 0}, {2, 1}, {999, 629}, {1000, 630}};
    for (const auto& [bytesReceived, widthPx] : rows) {
        JobState job;
        job.stage = JobStage::Downloading;
        job.bytesReceived = bytesReceived;
        job.bytesTotal = 1000;
        EXPECT_EQ(FilledWidth(job), widthPx) << bytesReceived;
    }
}

TEST_F(WindowPainter, PaintsTheSameOverAnOlderPictureAndOnADevice) {
    WindowPicture before = BarePicture();
    before.toolName = before.clientFolder = before.job.detailLine = L"something else";
    before.job.stage = JobStage::Done;
    WindowPicture picture = BarePicture();
    picture.toolName = L"Repair.exe";
    picture.clientFolder = L"D:\\Karvoth";
    picture.job.detailLine = L"client.zip";
    const OwnedBitmap backdrop = MakeBackdrop(Canvas(0xFF8090A0).Bitmap());
    picture.backdrop = backdrop.get();
    const Canvas canvas;
    const MemoryDevice device(kWindow.width, kWindow.height);
    // `before` has no backdrop.
    for (const WindowPicture& each : {before, picture, before}) {
        PaintWindow(canvas.Graphics(), each);
        PaintWindow(device.Dc(), each);
        EXPECT_EQ(canvas.Read(), Paint(each));
        EXPECT_EQ(device.Read(), Paint(each));
    }
}

// GDI+ may have failed to start, or have no memory.
TEST_F(WindowPainter, DoesNothingWithoutATarget) {
    PaintWindow(static_cast<Gdiplus::GpGraphics*>(nullptr), BarePicture());
    PaintWindow(static_cast<HDC>(nullptr), BarePicture());
}

}  // namespace
