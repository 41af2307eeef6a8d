#include "job/job_thread.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <exception>
#include <thread>

#include "bench_parts/import_hook.h"
#include "common/windows_api.h"
#include "job/job_progress.h"

namespace {

class JobThreadTest : public testing::Test {
protected:
    void SetUp() override {
        resetJobProgress();
    }
    void TearDown() override {
        JoinJobThread();
        resetJobProgress();
    }
};

void StartJobThatFailsAtOnce() {
    ClearForJobStart(JobKind::Repair);
    StartJobThread([] { reportFailure(L"x"); });
    while (jobProgress.running) {
        std::this_thread::yield();
    }
}

TEST_F(JobThreadTest, SlotIsEmptyAtFirst) {
    EXPECT_FALSE(JobThreadExists());
    EXPECT_TRUE(CanStartJob());
    EXPECT_FALSE(JobAwaitsCollection());
}

TEST_F(JobThreadTest, SecondJobCannotStartBeforeTheEndedOneIsCollected) {
    StartJobThatFailsAtOnce();
    EXPECT_TRUE(jobProgress.finished);
    EXPECT_TRUE(JobThreadExists());
    EXPECT_TRUE(JobAwaitsCollection());
    EXPECT_FALSE(CanStartJob());
    JoinJobThread();
    EXPECT_FALSE(JobThreadExists());
    EXPECT_FALSE(JobAwaitsCollection());
    EXPECT_TRUE(CanStartJob());
}

TEST_F(JobThreadTest, NoJobCanStartWhileOneIsMarkedAsRunning) {
    jobProgress.running = true;
    EXPECT_FALSE(CanStartJob());
}

TEST_F(JobThreadTest, RunningJobAwaitsNoCollection) {
    ClearForJobStart(JobKind::Repair);
    std::atomic<bool> mayEnd = false;
    StartJobThread([&] {
        while (!mayEnd) {
            std::this_thread::yield();
        }
        reportFailure(L"x");
    });
    EXPECT_TRUE(JobThreadExists());
    EXPECT_FALSE(JobAwaitsCollection());
    EXPECT_FALSE(CanStartJob());
    mayEnd = true;
    JoinJobThread();
}

TEST_F(JobThreadTest, BodyRunsOnAnotherThread) {
    DWORD bodyThread = 0;
    StartJobThread([&] { bodyThread = ::GetCurrentThreadId(); });
    JoinJobThread();
    EXPECT_NE(bodyThread, 0u);
    EXPECT_NE(bodyThread, ::GetCurrentThreadId());
}

TEST_F(JobThreadTest, JoiningAnEmptySlotDoesNothing) {
    JoinJobThread();
    EXPECT_FALSE(JobThreadExists());
}

#ifdef __MINGW32__
uintptr_t CreateNoThread(void*, unsigned, unsigned (*)(void*), void*, unsigned, unsigned*) {
    errno = EAGAIN;
    return 0;
}

TEST_F(JobThreadTest, ThreadThatCannotBeCreatedEndsTheProgram) {
    EXPECT_EXIT(
        {
            std::set_terminate([] { std::_Exit(77); });
            const bench::ImportHook hook(L"msvcrt.dll", "_beginthreadex",
                                         reinterpret_cast<void*>(&CreateNoThread));
            try {
                StartJobThread([] {});
            } catch (...) {
                std::_Exit(78);
            }
            std::_Exit(79);
        },
        testing::ExitedWithCode(77), "");
}
#endif

TEST_F(JobThreadTest, AnotherJobStartsAfterCollection) {
    for (int round = 0; round < 50; ++round) {
        StartJobThatFailsAtOnce();
        JoinJobThread();
        EXPECT_TRUE(CanStartJob());
    }
}

}  // namespace
