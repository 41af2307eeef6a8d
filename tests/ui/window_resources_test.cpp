#include <gtest/gtest.h>

#include "bench_parts/game_machine.h"
#include "bench_parts/scratch_folder.h"
#include "bench_parts/waiting.h"
#include "common/handles.h"
#include "common/tool_instance.h"
#include "job/job_thread.h"
#include "ui/canvas.h"
#include "ui/job_control.h"
#include "ui/open_window.h"
#include "ui/player.h"
#include "ui/resource_counters.h"
#include "ui/window_state.h"

// A window that is used for hours must not grow. "Usual" cases check a tenth of the rounds.

namespace {

using namespace bench;

constexpr size_t kKilobyte = 1024;
constexpr size_t kMegabyte = 1024 * kKilobyte;

// A lock creates its event the first time two threads meet at it.
constexpr size_t kLateHandles = 2;

// What the working set varies by; Windows also trims it.
size_t WorkingSetNoise() {
    return IsWine() ? 256 * kKilobyte : 4 * kMegabyte;
}

class ResourceCountersTest : public PaintingTest {};

TEST_F(ResourceCountersTest, SeeWhatIsNotReleased) {
    { const Canvas warmUp; }
    const ResourceCounters before = CountResources();
    {
        std::vector<KernelHandle> events;
        std::vector<GdiBrush> brushes;
        for (BYTE count = 0; count < 50; ++count) {
            events.emplace_back(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
            brushes.emplace_back(::CreateSolidBrush(RGB(count, 1, 2)));
        }
        const std::vector<Canvas> canvases(20);
        const ResourceCounters held = CountResources();
        EXPECT_EQ(held.kernelHandles, before.kernelHandles + 50);
        EXPECT_EQ(held.gdiObjects, before.gdiObjects + 50);
        EXPECT_GT(held.workingSetBytes, before.workingSetBytes + 30 * kMegabyte);
    }
    const ResourceCounters after = CountResources();
    EXPECT_EQ(after.kernelHandles, before.kernelHandles);
    EXPECT_EQ(after.gdiObjects, before.gdiObjects);
    EXPECT_LE(after.workingSetBytes, before.workingSetBytes + 4 * kMegabyte);
}

// What a job shows in the course of time.
void ShowStage(int round) {
    UpdateJobState([round](JobState& state) {
        state.stage = static_cast<JobStage>(round % 7);
        state.bytesTotal = state.filesTotal = 100;
        state.bytesReceived = state.filesDone = static_cast<uint64_t>(round % 100);
        state.bytesPerSecond = 1000.0 * round;
        state.detailLine = L"data\\file" + std::to_wstring(round % 10);
    });
}

void PaintStage(const OpenWindow& window, int round) {
    ShowStage(round);
    ::InvalidateRect(window.Handle(), nullptr, FALSE);
    ASSERT_TRUE(window.TakePaint());
}

// Does something `warmUps` times, and then `rounds` times without keeping anything. `lostBySystem`:
// GDI objects that the system loses in these rounds.
template <class Round>
void ExpectNothingKept(int warmUps, int rounds, Round round, size_t lostBySystem = 0) {
    int number = 0;
    while (number < warmUps) {
        round(number++);
    }
    const ResourceCounters before = CountResources();
    while (number < warmUps + rounds) {
        round(number++);
    }
    const ResourceCounters after = CountResources();
    EXPECT_LE(after.kernelHandles, before.kernelHandles + kLateHandles);
    EXPECT_EQ(after.gdiObjects, before.gdiObjects + lostBySystem);
    EXPECT_LE(after.workingSetBytes, before.workingSetBytes + WorkingSetNoise());
}

// The parameter: tenths of the full size. Even one tenth has more rounds than kLateHandles.
class WindowResources : public WindowTest, public testing::WithParamInterface<int> {};
class JobResources : public GameMachine, public testing::WithParamInterface<int> {
private:
    ComApartment com_;
    GdiplusSession gdiplus_;
};

INSTANTIATE_TEST_SUITE_P(Usual, WindowResources, testing::Values(1));
INSTANTIATE_TEST_SUITE_P(Slow, WindowResources, testing::Values(10));
INSTANTIATE_TEST_SUITE_P(Usual, JobResources, testing::Values(1));
INSTANTIATE_TEST_SUITE_P(Slow, JobResources, testing::Values(10));

TEST_P(WindowResources, AreReleasedAfterEachPaint) {
    const OpenWindow window;
    ExpectNothingKept(20, 100 * GetParam(), [&](int round) { PaintStage(window, round); });
}

// Of the same shape, without the tool.
void OpenAndCloseBareWindows(int times) {
    for (int count = 0; count < times; ++count) {
        const HWND window = ::CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 860, 560, nullptr,
                                              nullptr, ::GetModuleHandleW(nullptr), nullptr);
        ASSERT_NE(window, nullptr);
        ASSERT_TRUE(::SetWindowRgn(window, ::CreateRoundRectRgn(0, 0, 861, 561, 14, 14), TRUE));
        ::ShowWindow(window, SW_SHOW);
        ::UpdateWindow(window);
        ::DestroyWindow(window);
    }
}

// Wine 10 leaks a region with each shown window that has one.
size_t GdiObjectsLostBySystem(int windows) {
    OpenAndCloseBareWindows(3);
    const size_t before = CountResources().gdiObjects;
    OpenAndCloseBareWindows(windows);
    return CountResources().gdiObjects - before;
}

TEST_P(WindowResources, AreReleasedWithEachWindow) {
    const int rounds = 3 + 2 * GetParam();
    const auto openAndClose = [](int round) {
        const OpenWindow window;
        PaintStage(window, round);
    };
    ExpectNothingKept(3, rounds, openAndClose, GdiObjectsLostBySystem(rounds));
}

void FinishJob(const OpenWindow& window) {
    ASSERT_TRUE(Await([] { return JobAwaitsCollection(); }));
    window.Tick();
    ASSERT_FALSE(JobThreadExists());
    window.TakePaint();
}

TEST_P(WindowResources, AreReleasedAfterEachFailedJob) {
    const OpenWindow window;
    ExpectNothingKept(5, 5 * GetParam(), [&](int) {
        window.Press(4001);
        FinishJob(window);
        ASSERT_TRUE(jobProgress.failed);
        window.Press(4009);
    });
}

TEST_P(JobResources, AreReleasedAfterEachRepair) {
    ToolConfig config = FullConfig();
    config.archiveUrl = PackageUrl(kZip);
    config.runAfterInstall = false;
    const OpenWindow window({.config = config});
    ExpectNothingKept(3, 3 + 2 * GetParam(), [&](int) {
        window.Press(4001);
        FinishJob(window);
        ASSERT_FALSE(jobProgress.failed) << testing::PrintToString(snapshot().errorMessage);
    });
}

}  // namespace
