#include "ui/progress_bar.h"

#include <gtest/gtest.h>

namespace {

TEST(ProgressPercent, DependsOnTheStageAndItsOwnCounter) {
    const struct {
        JobStage stage;
        uint64_t bytesReceived;
        uint64_t bytesTotal;
        uint64_t filesDone;
        uint64_t filesTotal;
        double percent;
    } rows[] = {
        {JobStage::Idle, 5, 5, 5, 5, 0.0},
        {JobStage::Downloading, 1, 3, 5, 5, 100.0 / 3.0},
        {JobStage::Downloading, 0, 3, 5, 5, 0.0},
        {JobStage::Downloading, 3, 3, 0, 0, 100.0},
        {JobStage::Downloading, 11, 10, 0, 0, 100.0},
        {JobStage::Downloading, 1'000'000, 0, 5, 5, 0.0},  // The total is unknown.
        {JobStage::Downloading, UINT64_MAX / 4, UINT64_MAX, 0, 0, 25.0},
        {JobStage::VerifyingPackage, 0, 0, 0, 0, 100.0},
        {JobStage::Extracting, 0, 0, 0, 0, 100.0},
        {JobStage::Finishing, 10, 10, 2, 8, 25.0},
        {JobStage::Finishing, 10, 10, 0, 8, 0.0},
        {JobStage::Finishing, 10, 10, 5, 4, 100.0},
        {JobStage::Finishing, 10, 10, 5, 0, 0.0},
        {JobStage::Done, 0, 0, 0, 0, 100.0},
        {JobStage::Failed, 5, 5, 5, 5, 0.0},
        {static_cast<JobStage>(9), 5, 5, 5, 5, 0.0},
    };
    for (const auto& row : rows) {
        JobState state;
        state.stage = row.stage;
        state.bytesReceived = row.bytesReceived;
        state.bytesTotal = row.bytesTotal;
        state.filesDone = row.filesDone;
        state.filesTotal = row.filesTotal;
        EXPECT_DOUBLE_EQ(ProgressPercent(state), row.percent) << &row - rows;
    }
}

TEST(ProgressFillWidth, IsTruncatedToWholePixels) {
    const std::pair<double, int> rows[] = {
        {0.0, 0},    {0.15, 0},   {0.16, 1},   {33.0, 207},   {33.3, 209},
        {50.0, 315}, {99.0, 623}, {99.8, 628}, {99.999, 629}, {100.0, 630},
    };
    for (const auto& [percent, widthPx] : rows) {
        EXPECT_EQ(ProgressFillWidth(percent, 630), widthPx) << percent;
    }
    EXPECT_EQ(ProgressFillWidth(100.0, 0), 0);
}

}  // namespace
