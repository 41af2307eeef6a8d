#include "ui/status_text.h"

#include <gtest/gtest.h>

namespace {

// Counters that would show if a stage mistook them for its own.
JobState AtStage(JobStage stage, const wchar_t* statusLine) {
    JobState state;
    state.stage = stage;
    state.statusLine = statusLine;
    state.bytesTotal = 77;
    state.bytesReceived = 66;
    state.bytesPerSecond = 1536.0;
    state.filesTotal = 12;
    state.filesDone = 7;
    state.filesRepaired = 3;
    return state;
}

TEST(StatusText, IsTheHeadlineInTheStagesThatCountNothing) {
    for (const JobStage stage : {JobStage::Idle, JobStage::VerifyingPackage, JobStage::Extracting,
                                 JobStage::Done, JobStage::Failed, static_cast<JobStage>(9)}) {
        EXPECT_EQ(StatusText(AtStage(stage, L"Working...")), L"Working...")
            << static_cast<int>(stage);
    }
}

TEST(StatusText, SaysReadyForAnEmptyHeadline) {
    EXPECT_EQ(StatusText(AtStage(JobStage::Idle, L"")), L"Ready.");
    EXPECT_EQ(StatusText(AtStage(JobStage::Failed, L"")), L"Ready.");
    EXPECT_EQ(StatusText(JobState{}), L"Ready.");
    EXPECT_EQ(StatusText(AtStage(JobStage::Idle, L" ")), L" ");
}

TEST(StatusText, AddsTheSpeedWhileThePackageComesIn) {
    JobState state = AtStage(JobStage::Downloading, L"Downloading...");
    EXPECT_EQ(StatusText(state), L"Downloading...  1.5 KB/s");
    state.bytesPerSecond = 0.0;
    EXPECT_EQ(StatusText(state), L"Downloading...  0 MB/s");
    state.bytesPerSecond = 1023.0;
    EXPECT_EQ(StatusText(state), L"Downloading...  1023 B/s");
    state.statusLine.clear();
    EXPECT_EQ(StatusText(state), L"Ready.  1023 B/s");
}

TEST(StatusText, AddsTheCountOfFilesWhileTheClientIsWorkedOn) {
    JobState state = AtStage(JobStage::Finishing, L"Verifying...");
    EXPECT_EQ(StatusText(state), L"Verifying...  7/12 files");
    state.filesDone = 0;
    EXPECT_EQ(StatusText(state), L"Verifying...  0/12 files");
    state.statusLine.clear();
    EXPECT_EQ(StatusText(state), L"Ready.  0/12 files");
}

TEST(StatusText, CountsNoFilesWhenThereAreNone) {
    JobState state = AtStage(JobStage::Finishing, L"Finishing...");
    state.filesTotal = 0;
    EXPECT_EQ(StatusText(state), L"Finishing...");
}

TEST(StatusText, WritesLargeCountsInFull) {
    JobState state = AtStage(JobStage::Finishing, L"Verifying...");
    state.filesDone = 4'294'967'297;
    state.filesTotal = UINT64_MAX;
    EXPECT_EQ(StatusText(state), L"Verifying...  4294967297/18446744073709551615 files");
}

}  // namespace
