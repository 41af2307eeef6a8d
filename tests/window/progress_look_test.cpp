// The progress bar and the two lines below it through real jobs.

#include <gtest/gtest.h>

#include "bench_parts/waiting.h"
#include "window/tool_test.h"

namespace {

constexpr uint32_t kAccent = 0xFFA640;
constexpr uint32_t kTrack = 0x0B0C0F;
constexpr uint32_t kDetailColor = 0x888490;
// Between the panel's edge and the buttons.
constexpr Box kDetailBox{84, 383, 692, 13};
constexpr int kNotABar = -1;

// The width of the filled part in pixels; kNotABar unless it is on the left and the rest is empty.
int FilledWidth(const bench::WindowShot& shot) {
    int width = 0;
    while (width < kProgressTrack.width &&
           shot.At(kProgressTrack.x + width, kProgressTrack.y) == kAccent) {
        ++width;
    }
    for (int y = kProgressTrack.y; y < kProgressTrack.y + kProgressTrack.height; ++y) {
        for (int x = 0; x < kProgressTrack.width; ++x) {
            if (shot.At(kProgressTrack.x + x, y) != (x < width ? kAccent : kTrack)) {
                return kNotABar;
            }
        }
    }
    return width;
}

class ProgressLook : public bench::ToolTest {
protected:
    // Waits until the bar is filled that far, and expects it to stay so.
    void ExpectBar(int width) {
        int seen = kNotABar;
        bench::Await([&] {
            seen = FilledWidth(bench::WindowShot(Window().Handle()));
            return seen == width;
        });
        for (int tick = 0; tick < 3 && seen == width; ++tick) {
            Window().PostTick();
            seen = FilledWidth(Window().Look());
        }
        EXPECT_EQ(seen, width);
    }

    void ExpectDetail(uint32_t color) {
        const bench::WindowShot shot = Window().Look();
        EXPECT_LE(shot.Distance(kDetailBox, color), 40);
        const uint32_t other = color == kAccent ? kDetailColor : kAccent;
        EXPECT_GT(shot.Distance(kDetailBox, other), 8);
    }
};

TEST_F(ProgressLook, FollowsADownloadAndAFailureEmptiesTheBar) {
    Set("archiveUrl", server_.Url(L"stall_late/3178000/1048576"));
    StartTool();
    ExpectBar(0);
    StartRepair();
    // 1,048,576 of 3,178,000 bytes are 32.99 %: 207.87 pixels.
    ExpectBar(207);
    server_.ReleaseWaits();
    Window().AwaitCanPress(ButtonId::Retry);
    ExpectBar(0);
    ExpectDetail(kAccent);
}

TEST_F(ProgressLook, IsFullWhileThePackageIsUnpackedAndAfterSuccess) {
    StartTool();
    HoldRepair();
    ExpectBar(630);
    LetItSucceed();
    Window().AwaitJobEnd();
    ExpectBar(630);
    ExpectDetail(kDetailColor);
}

// The test writes the unpacked package. Its third of four files is so large that comparing it takes
// longer than the test.
TEST_F(ProgressLook, FollowsTheFilesThatAreDone) {
    constexpr uint64_t kHugeBytes = uint64_t{1} << 38;
    StartTool();
    HoldRepair();
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
