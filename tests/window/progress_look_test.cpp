#include <gtest/gtest.h>

#include "bench_parts/waiting.h"
#include "resource_ids.h"
#include "window/held_job.h"
#include "window/picture_files.h"

// The progress bar and the two lines below it, through real jobs.

namespace {

constexpr uint32_t kAccent = 0x33CC66;
constexpr uint32_t kTrack = 0x0B0C0F;
constexpr uint32_t kOutline = 0x302D36;
constexpr uint32_t kStatusColor = 0xF8F8FA;
constexpr uint32_t kDetailColor = 0x888490;
constexpr Box kTrackBox{115, 329, 630, 24};
constexpr Box kStatusBox{114, 356, 632, 24};
// Below the panel's edge, above the buttons.
constexpr Box kDetailBox{84, 383, 692, 13};
constexpr int kNotABar = -1;

// How wide the bar is filled, in pixels; kNotABar when it is anything but a filled part on the left
// and an empty one on the right.
int FilledWidth(const WindowShot& shot) {
    int width = 0;
    while (width < kTrackBox.width && shot.At(kTrackBox.x + width, kTrackBox.y) == kAccent) {
        ++width;
    }
    for (int y = kTrackBox.y; y < kTrackBox.y + kTrackBox.height; ++y) {
        for (int x = 0; x < kTrackBox.width; ++x) {
            if (shot.At(kTrackBox.x + x, y) != (x < width ? kAccent : kTrack)) {
                return kNotABar;
            }
        }
    }
    // Nothing beside the track is ever filled.
    const int right = kTrackBox.x + kTrackBox.width;
    const bool framed = shot.At(114, 340) == kOutline && shot.At(746, 340) == kOutline &&
                        shot.At(right, 340) != kAccent;
    return framed ? width : kNotABar;
}

class ProgressLook : public HeldJob {
protected:
    ProgressLook() {
        Set("accentHex", L"33CC66");
        Embed(ID_BACKGROUND_IMAGE, "no picture");
    }

    // Waits until the bar is filled that far.
    void ExpectBar(int width) {
        int seen = kNotABar;
        bench::Await([&] {
            seen = FilledWidth(WindowShot(Window().Handle()));
            return seen == width;
        });
        EXPECT_EQ(seen, width);
    }

    // The bar stays as it is through some more repaints.
    void ExpectBarThroughTicks(int width) {
        ExpectBar(width);
        for (int tick = 0; tick < 3; ++tick) {
            Window().PostTick();
            EXPECT_EQ(FilledWidth(Window().Look()), width);
        }
    }

    // Where the held tar.exe should unpack to: the last quoted part of its command line.
    [[nodiscard]] std::filesystem::path UnpackedFolder() const {
        const std::wstring command = machine_.Runs().at(0).commandLine;
        const size_t end = command.rfind(L'"');
        const size_t start = command.rfind(L'"', end - 1) + 1;
        return command.substr(start, end - start);
    }

    void AwaitFailure() {
        EXPECT_TRUE(bench::Await([this] { return Window().CanPress(ButtonId::Retry); }));
    }

    void ExpectEmptyBarAndAccentDetail() {
        const WindowShot shot = Window().Look();
        EXPECT_EQ(FilledWidth(shot), 0);
        EXPECT_TRUE(shot.Holds(kStatusBox, kStatusColor));
        EXPECT_FALSE(shot.Holds(kStatusBox, kAccent));
        EXPECT_LE(NearestDistance(shot, kDetailBox, kAccent), 40);
        EXPECT_GT(NearestDistance(shot, kDetailBox, kDetailColor), 8);
    }
};

TEST_F(ProgressLook, BarIsEmptyBeforeAnythingHappens) {
    StartTool();
    EXPECT_EQ(FilledWidth(Window().Look()), 0);
    EXPECT_TRUE(Window().Look().Holds(kStatusBox, kStatusColor));
}

TEST_F(ProgressLook, BarStaysEmptyUntilTheFirstPartHasArrived) {
    Set("archiveUrl", server_.Url(L"stall/3178000/1000"));
    StartRepair();
    ExpectBarThroughTicks(0);
    server_.ReleaseWaits();
}

// 1,048,576 of 3,178,000 bytes are 32.99 %: 207.87 pixels.
TEST_F(ProgressLook, BarIsFilledToAWholePixelOfWhatHasArrived) {
    Set("archiveUrl", server_.Url(L"stall_late/3178000/1048576"));
    StartRepair();
    ExpectBarThroughTicks(207);
    server_.ReleaseWaits();
}

TEST_F(ProgressLook, BarIsNeverFilledBeyondItsEnd) {
    // More than twice as much as was announced.
    Set("archiveUrl", server_.Url(L"understated/524288/1200000"));
    StartRepair();
    ExpectBarThroughTicks(630);
    server_.ReleaseWaits();
}

TEST_F(ProgressLook, BarStaysEmptyWhileTheLengthIsUnknown) {
    Set("archiveUrl", server_.Url(L"stall_late/0/1048576"));
    StartRepair();
    ExpectBarThroughTicks(0);
    server_.ReleaseWaits();
}

TEST_F(ProgressLook, BarIsFullWhileThePackageIsUnpacked) {
    StartTool();
    HoldRepair();
    ExpectBarThroughTicks(630);
}

// The length is not announced, so that the bar is empty before the hash is computed and, as the
// hash is wrong, after it too.
TEST_F(ProgressLook, BarIsFullWhileTheHashIsComputed) {
    constexpr wchar_t kLargePackage[] = L"without_length/268435456";
    Set("archiveUrl", server_.Url(kLargePackage));
    Set("archiveSha256", std::wstring(64, L'0'));
    StartRepair();
    int full = 0;
    bench::Await([&] {
        // Painted as often as can be looked.
        Window().PostTick();
        Window().AwaitIdle();
        full += FilledWidth(WindowShot(Window().Handle())) == kTrackBox.width ? 1 : 0;
        return full > 0 || Window().CanPress(ButtonId::Retry);
    });
    EXPECT_GT(full, 0);
    AwaitFailure();
    EXPECT_EQ(FilledWidth(Window().Look()), 0);
}

// The unpacked package is what the test puts there: the third of four files is so large that
// comparing it takes longer than the test.
TEST_F(ProgressLook, BarIsFilledToAWholePixelOfTheFilesThatAreDone) {
    constexpr uint64_t kHugeBytes = uint64_t{1} << 38;
    for (const wchar_t* name : {L"a.dat", L"b.dat", L"d.dat"}) {
        bench::WriteFile(Client() / name, "same");
    }
    bench::MakeSparseFile(Client() / L"c.dat", kHugeBytes);
    StartTool();
    HoldRepair();
    const std::filesystem::path unpacked = UnpackedFolder();
    for (const wchar_t* name : {L"a.dat", L"b.dat", L"d.dat"}) {
        bench::WriteFile(unpacked / name, "same");
    }
    bench::MakeSparseFile(unpacked / L"c.dat", kHugeBytes);
    EndTar(0);
    // 3 of 4: 472.5 pixels.
    ExpectBarThroughTicks(472);
}

TEST_F(ProgressLook, BarIsFullAfterSuccess) {
    HoldNoMore();
    StartRepair();
    Window().AwaitJobEnd();
    const WindowShot shot = Window().Look();
    EXPECT_EQ(FilledWidth(shot), 630);
    EXPECT_TRUE(shot.Holds(kStatusBox, kStatusColor));
    EXPECT_LE(NearestDistance(shot, kDetailBox, kDetailColor), 12);
    EXPECT_FALSE(shot.Holds(kDetailBox, kAccent));
}

TEST_F(ProgressLook, FailureEmptiesTheBarAndColorsTheDetail) {
    StartTool();
    HoldRepair();
    ExpectBar(630);
    LetItFail();
    AwaitFailure();
    ExpectEmptyBarAndAccentDetail();
}

TEST_F(ProgressLook, RetryShowsTheReadyPictureAgain) {
    StartTool();
    const WindowShot ready = Window().Look();
    HoldRepair();
    LetItFail();
    AwaitFailure();
    Window().Press(ButtonId::Retry);
    EXPECT_EQ(AwaitPicture(Window(), ready), "");
    EXPECT_EQ(FilledWidth(ready), 0);
}

}  // namespace
