#pragma once

#include <gtest/gtest.h>

#include <string>

#include "job/progress/job_progress.h"

namespace bench {

// For fixtures of tests that run jobs or stages of them.
class FailedJob {
protected:
    // The job has failed with that message and no longer runs.
    static void ExpectFailure(const std::wstring& message) {
        const JobState state = snapshot();
        EXPECT_EQ(state.stage, JobStage::Failed);
        EXPECT_EQ(state.statusLine, L"Repair failed.");
        EXPECT_EQ(state.detailLine, message);
        EXPECT_EQ(state.errorMessage, message);
        EXPECT_FALSE(jobProgress.running);
        EXPECT_TRUE(jobProgress.finished);
        EXPECT_TRUE(jobProgress.failed);
    }
};

}  // namespace bench
