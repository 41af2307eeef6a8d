// The progress bar through a real job. Screenshots follow that of a download.

#include <gtest/gtest.h>

#include "bench_parts/waiting.h"
#include "window/tool_test.h"

namespace {

constexpr Argb kTrack = 0xFF0B0C0F;
constexpr int kNotABar = -1;

// The width of the filled part in pixels; kNotABar unless it is on the left and the rest is empty.
int FilledWidth(const bench::Pixels& shot) {
    const auto [x, y, width, height] = kProgressTrack;
    int filled = 0;
    while (filled < width && shot.Value(x + filled, y) == kDefaultAccent) {
        ++filled;
    }
    const bool isBar =
        shot.Count({x, y, filled, height}, kDefaultAccent) == filled * height &&
        shot.Count({x + filled, y, width - filled, height}, kTrack) == (width - filled) * height;
    return isBar ? filled : kNotABar;
}

class ProgressLook : public bench::ToolTest {
protected:
    // Waits until the bar is filled that far, and expects it to stay so.
    void ExpectBar(int width) {
        EXPECT_TRUE(bench::Await([&] { return FilledWidth(Window().Screen()) == width; }));
        for (int tick = 0; tick < 3; ++tick) {
            Window().PostTick();
            EXPECT_EQ(FilledWidth(Window().Look()), width);
        }
    }
};

// The test writes the unpacked package. Its third of four files is so large that comparing it takes
// longer than the test.
TEST_F(ProgressLook, FollowsTheFilesThatAreDone) {
    constexpr uint64_t kHugeBytes = uint64_t{1} << 38;
    StartTool();
    HoldRepair();
    ExpectBar(630);
    for (const std::filesystem::path& folder : {Client(), StagingFolder()}) {
        for (const wchar_t* name : {L"a.dat", L"b.dat", L"d.dat"}) {
            bench::WriteFile(folder / name, "same");
        }
        bench::MakeSparseFile(folder / L"c.dat", kHugeBytes);
    }
    EndTar(0);
    // 3 of 4: 472.5 pixels.
    ExpectBar(472);
}

}  // namespace
