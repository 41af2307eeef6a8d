#include "ui/progress_bar.h"

#include <gtest/gtest.h>

namespace {

JobState AtStage(JobStage stage) {
    JobState state;
    state.stage = stage;
    return state;
}

TEST(ProgressPercent, StagesThatCountNothingAreEmptyOrFull) {
    const std::pair<JobStage, double> rows[] = {
        {JobStage::Idle, 0.0},
        {JobStage::Downloading, 0.0},
        {JobStage::VerifyingPackage, 100.0},
        {JobStage::Extracting, 100.0},
        {JobStage::Finishing, 0.0},
        {JobStage::Done, 100.0},
        {JobStage::Failed, 0.0},
        {static_cast<JobStage>(9), 0.0},
    };
    for (const auto& [stage, percent] : rows) {
        EXPECT_EQ(ProgressPercent(AtStage(stage)), percent) << static_cast<int>(stage);
    }
}

TEST(ProgressPercent, DownloadCountsBytes) {
    JobState state = AtStage(JobStage::Downloading);
    state.bytesTotal = 3;
    state.bytesReceived = 1;
    EXPECT_DOUBLE_EQ(ProgressPercent(state), 100.0 / 3.0);
    state.bytesReceived = 3;
    EXPECT_EQ(ProgressPercent(state), 100.0);
}

TEST(ProgressPercent, UnknownTotalIsNoProgress) {
    JobState state = AtStage(JobStage::Downloading);
    state.bytesReceived = 1'000'000;
    EXPECT_EQ(ProgressPercent(state), 0.0);
}

TEST(ProgressPercent, MoreThanAnnouncedIsFullNeverMore) {
    JobState state = AtStage(JobStage::Downloading);
    state.bytesTotal = 10;
    state.bytesReceived = 11;
    EXPECT_EQ(ProgressPercent(state), 100.0);
}

TEST(ProgressPercent, FinishingCountsFilesAndDownloadedBytesNoMore) {
    JobState state = AtStage(JobStage::Finishing);
    state.bytesTotal = 10;
    state.bytesReceived = 10;
    state.filesTotal = 8;
    state.filesDone = 2;
    EXPECT_EQ(ProgressPercent(state), 25.0);
}

TEST(ProgressPercent, FailureEmptiesTheBarWhateverWasCounted) {
    JobState state = AtStage(JobStage::Failed);
    state.bytesTotal = state.bytesReceived = state.filesTotal = state.filesDone = 5;
    EXPECT_EQ(ProgressPercent(state), 0.0);
}

TEST(ProgressPercent, FinishingWithoutFilesIsNoProgressAndMoreThanCountedIsFull) {
    JobState state = AtStage(JobStage::Finishing);
    state.filesDone = 5;
    EXPECT_EQ(ProgressPercent(state), 0.0);
    state.filesTotal = 4;
    EXPECT_EQ(ProgressPercent(state), 100.0);
}

TEST(ProgressPercent, KeepsItsPrecisionForHugePackages) {
    JobState state = AtStage(JobStage::Downloading);
    state.bytesTotal = UINT64_MAX;
    state.bytesReceived = UINT64_MAX / 4;
    EXPECT_DOUBLE_EQ(ProgressPercent(state), 25.0);
}

TEST(ProgressFillWidth, LeavesAPixelEmptyThatIsNotFull) {
    const struct {
        double percent;
        int fillPx;
    } rows[] = {
        {0.0, 0},    {0.15, 0},   {0.16, 1},   {33.0, 207},   {33.3, 209},
        {50.0, 315}, {99.0, 623}, {99.8, 628}, {99.999, 629}, {100.0, 630},
    };
    for (const auto& [percent, fillPx] : rows) {
        EXPECT_EQ(ProgressFillWidth(percent, 630), fillPx) << percent;
    }
}

TEST(ProgressFillWidth, FillsABarWithoutWidthWithNothing) {
    EXPECT_EQ(ProgressFillWidth(100.0, 0), 0);
}

}  // namespace
