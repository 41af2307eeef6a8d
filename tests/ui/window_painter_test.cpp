#include "ui/window_painter.h"

#include <gtest/gtest.h>

#include "ui/memory_device.h"
#include "ui/painted_window.h"

namespace {

constexpr char kAccent[] = "FF33CC99";
constexpr char kWindowColor[] = "FF0A0B0C";
constexpr char kPanelColor[] = "FF111215";
constexpr char kOutlineColor[] = "FF302D36";
constexpr char kTrackColor[] = "FF0B0C0F";

class WindowPainter : public PaintingTest {};

void ExpectColor(const Pixels& window, const char* color, std::initializer_list<Point> points) {
    for (const auto& [x, y] : points) {
        EXPECT_EQ(window.At(x, y), color) << x << ',' << y;
    }
}

TEST_F(WindowPainter, PaintsEveryPixelOpaque) {
    const Pixels window = Paint(BarePicture());
    EXPECT_EQ(window.Count(kWindow, 0xFFFF00FF), 0);
    for (const Argb value : window.values) {
        ASSERT_EQ(value >> 24, 0xFFU);
    }
}

TEST_F(WindowPainter, FillsTheWindowBehindAll) {
    ExpectColor(Paint(BarePicture()), kWindowColor,
                {{0, 48}, {859, 48}, {0, 559}, {859, 559}, {430, 60}, {430, 470}});
}

TEST_F(WindowPainter, PutsTheAccentLineIntoTheTitleBarsLastRow) {
    const Pixels window = Paint(BarePicture());
    ExpectColor(window, "FF0C0D0E", {{0, 0}, {859, 0}, {0, 46}, {430, 46}, {859, 46}});
    for (int x = 0; x < 860; ++x) {
        ASSERT_EQ(window.At(x, 47), kAccent) << x;
    }
}

TEST_F(WindowPainter, FillsAndOutlinesThePanel) {
    const Pixels window = Paint(BarePicture());
    ExpectColor(window, kPanelColor, {{49, 73}, {811, 73}, {49, 381}, {811, 381}, {430, 260}});
    ExpectColor(
        window, kOutlineColor,
        {{48, 72}, {812, 72}, {48, 382}, {812, 382}, {430, 72}, {430, 382}, {48, 227}, {812, 227}});
    ExpectColor(window, kWindowColor, {{47, 227}, {813, 227}, {430, 71}, {430, 383}});
}

TEST_F(WindowPainter, OutlinesTheBarOnePixelAroundItsTrack) {
    const Pixels window = Paint(BarePicture());
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
    ExpectColor(window, "FFCC2211", {{0, 47}, {115, 329}, {744, 352}, {429, 88}});
    EXPECT_EQ(window.Count(kWindow, kTestAccent), 0);
    EXPECT_EQ(window.Count(kWindow, kDefaultAccent), 0);
}

// How many pixels of the bar are filled. They must be the leftmost ones, over its whole height, and
// all others must show the track.
int FilledWidth(const JobState& job) {
    WindowPicture picture = BarePicture();
    picture.job = job;
    picture.job.statusLine = L" ";
    const Pixels window = Paint(picture);
    const int width = window.Count({115, 340, 630, 1}, kTestAccent);
    EXPECT_EQ(window.Count({115, 329, width, 24}, kTestAccent), width * 24);
    EXPECT_EQ(window.Count({115 + width, 329, 630 - width, 24}, 0xFF0B0C0F), (630 - width) * 24);
    // Nothing sticks out.
    ExpectColor(window, kOutlineColor, {{114, 340}, {746, 340}, {430, 328}, {430, 354}});
    EXPECT_EQ(window.At(745, 340), kPanelColor);
    EXPECT_EQ(window.At(115, 353), kPanelColor);
    return width;
}

JobState Downloaded(uint64_t bytesReceived, uint64_t bytesTotal) {
    JobState job;
    job.stage = JobStage::Downloading;
    job.bytesReceived = bytesReceived;
    job.bytesTotal = bytesTotal;
    return job;
}

TEST_F(WindowPainter, FillsTheBarByWholePixels) {
    const struct {
        uint64_t bytesReceived;
        uint64_t bytesTotal;
        int widthPx;
    } rows[] = {
        {0, 1000, 0},     {1, 1000, 0},       {2, 1000, 1},      {33, 100, 207}, {333, 1000, 209},
        {500, 1000, 315}, {9999, 10000, 629}, {1000, 1000, 630}, {11, 10, 630},  {5, 0, 0},
    };
    for (const auto& [bytesReceived, bytesTotal, widthPx] : rows) {
        EXPECT_EQ(FilledWidth(Downloaded(bytesReceived, bytesTotal)), widthPx)
            << bytesReceived << '/' << bytesTotal;
    }
}

TEST_F(WindowPainter, FillsTheBarAsEachStageAsks) {
    const std::pair<JobStage, int> rows[] = {
        {JobStage::Idle, 0},         {JobStage::Downloading, 63}, {JobStage::VerifyingPackage, 630},
        {JobStage::Extracting, 630}, {JobStage::Finishing, 315},  {JobStage::Done, 630},
        {JobStage::Failed, 0},
    };
    for (const auto& [stage, widthPx] : rows) {
        JobState job = Downloaded(1, 10);
        job.filesDone = 2;
        job.filesTotal = 4;
        job.stage = stage;
        EXPECT_EQ(FilledWidth(job), widthPx) << static_cast<int>(stage);
    }
}

TEST_F(WindowPainter, PaintsTheSameAgainOverAnOlderPicture) {
    WindowPicture before = BarePicture();
    before.toolName = before.clientFolder = before.job.detailLine = L"something else";
    before.job.stage = JobStage::Done;
    const Canvas canvas;
    PaintWindow(canvas.Graphics(), before);
    PaintWindow(canvas.Graphics(), BarePicture());
    EXPECT_EQ(canvas.Read(), Paint(BarePicture()));
}

TEST_F(WindowPainter, DoesNothingWithoutGraphics) {
    PaintWindow(static_cast<Gdiplus::GpGraphics*>(nullptr), BarePicture());
}

TEST_F(WindowPainter, CopiesTheWholePictureToADevicePixelByPixel) {
    WindowPicture picture = BarePicture();
    picture.toolName = L"Repair.exe";
    picture.clientFolder = L"D:\\Karvoth";
    picture.job = Downloaded(1, 3);
    picture.job.detailLine = L"client.zip";
    const MemoryDevice device(kWindow.width, kWindow.height);
    PaintWindow(device.Dc(), picture);
    EXPECT_EQ(device.Read(), Paint(picture));
}

TEST_F(WindowPainter, DoesNothingWithoutADevice) {
    PaintWindow(static_cast<HDC>(nullptr), BarePicture());
}

}  // namespace
