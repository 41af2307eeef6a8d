#include "ui/status_text.h"

#include <gtest/gtest.h>

namespace {

// Every counter is set: one that the stage does not show must not appear.
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

TEST(StatusText, IsTheHeadlineWithTheStagesCounter) {
    const struct {
        JobStage stage;
        const wchar_t* headline;
        const wchar_t* text;
    } rows[] = {
        {JobStage::Idle, L"Working...", L"Working..."},
        {JobStage::Downloading, L"Downloading...", L"Downloading...  1.5 KB/s"},
        {JobStage::VerifyingPackage, L"Working...", L"Working..."},
        {JobStage::Extracting, L"Working...", L"Working..."},
        {JobStage::Finishing, L"Verifying...", L"Verifying...  7/12 files"},
        {JobStage::Done, L"Working...", L"Working..."},
        {JobStage::Failed, L"Working...", L"Working..."},
        {static_cast<JobStage>(9), L"Working...", L"Working..."},
        // An empty headline, not a blank one.
        {JobStage::Idle, L"", L"Ready."},
        {JobStage::Failed, L"", L"Ready."},
        {JobStage::Idle, L" ", L" "},
        {JobStage::Downloading, L"", L"Ready.  1.5 KB/s"},
        {JobStage::Finishing, L"", L"Ready.  7/12 files"},
    };
    for (const auto& [stage, headline, text] : rows) {
        EXPECT_EQ(StatusText(AtStage(stage, headline)), text) << static_cast<int>(stage);
    }
    EXPECT_EQ(StatusText(JobState{}), L"Ready.");
}

TEST(StatusText, CountsTheFilesInFullUnlessThereAreNone) {
    JobState state = AtStage(JobStage::Finishing, L"Verifying...");
    const struct {
        uint64_t done;
        uint64_t total;
        const wchar_t* text;
    } rows[] = {
        {0, 12, L"Verifying...  0/12 files"},
        {7, 0, L"Verifying..."},
        {4'294'967'297, UINT64_MAX, L"Verifying...  4294967297/18446744073709551615 files"},
    };
    for (const auto& [done, total, text] : rows) {
        state.filesDone = done;
        state.filesTotal = total;
        EXPECT_EQ(StatusText(state), text);
    }
}

}  // namespace
