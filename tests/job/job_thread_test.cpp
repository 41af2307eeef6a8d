#include "job/job_thread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <exception>
#include <functional>
#include <thread>
#include <utility>
#include <vector>

#include "bench_parts/call_hook.h"
#include "common/windows_api.h"
#include "job/progress/job_progress.h"

namespace {

using testing::ElementsAre;
using testing::Pair;
using testing::SizeIs;

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

TEST_F(JobThreadTest, NoJobCanStartWhileOneIsMarkedAsRunning) {
    EXPECT_TRUE(CanStartJob());
    jobProgress.running = true;
    EXPECT_FALSE(CanStartJob());
}

TEST_F(JobThreadTest, SecondJobCannotStartBeforeTheEndedOneIsCollected) {
    JoinJobThread();  // None exists.
    for (int round = 0; round < 5; ++round) {
        EXPECT_FALSE(JobThreadExists());
        EXPECT_FALSE(JobAwaitsCollection());
        ClearForJobStart(JobKind::Repair);
        std::atomic<bool> mayEnd = false;
        StartJobThread([&] {
            while (!mayEnd) {
                std::this_thread::yield();
            }
            reportFailure(L"x");
        });
        EXPECT_TRUE(JobThreadExists());
        EXPECT_FALSE(JobAwaitsCollection()) << "running";
        EXPECT_FALSE(CanStartJob());
        mayEnd = true;
        while (jobProgress.running) {
            std::this_thread::yield();
        }
        EXPECT_TRUE(JobThreadExists());
        EXPECT_TRUE(JobAwaitsCollection());
        EXPECT_FALSE(CanStartJob());
        JoinJobThread();
        EXPECT_TRUE(CanStartJob());
    }
}

TEST_F(JobThreadTest, KeepsTheSystemAwakeFromTheBodysStartToItsEnd) {
    std::vector<std::pair<DWORD, EXECUTION_STATE>> asked;  // By which thread.
    const auto hook = bench::HookCall<decltype(&::SetThreadExecutionState)>(
        bench::kKernel32, "SetThreadExecutionState", [&](EXECUTION_STATE state) -> EXECUTION_STATE {
            asked.emplace_back(::GetCurrentThreadId(), state);
            return ES_CONTINUOUS;
        });
    // Success, failure, a stop that reports nothing.
    const std::function<void()> ends[] = {[] { ReportSuccess(L"x"); }, [] { reportFailure(L"x"); },
                                          [] {
                                          }};
    for (const auto& end : ends) {
        asked.clear();
        DWORD jobThread = 0;
        StartJobThread([&] {
            jobThread = ::GetCurrentThreadId();
            EXPECT_THAT(asked, SizeIs(1));
            end();
            EXPECT_THAT(asked, SizeIs(1));
        });
        JoinJobThread();
        EXPECT_NE(jobThread, ::GetCurrentThreadId());
        EXPECT_THAT(asked, ElementsAre(Pair(jobThread, ES_CONTINUOUS | ES_SYSTEM_REQUIRED),
                                       Pair(jobThread, ES_CONTINUOUS)));
    }
}

#ifdef __MINGW32__
TEST_F(JobThreadTest, ThreadThatCannotBeCreatedEndsTheProgram) {
    using Function =
        uintptr_t (*)(void*, unsigned, unsigned (*)(void*), void*, unsigned, unsigned*);
    EXPECT_EXIT(
        {
            std::set_terminate([] { std::_Exit(77); });
            const auto hook = bench::HookCall<Function>(L"msvcrt.dll", "_beginthreadex",
                                                        [](auto...) -> uintptr_t {
                                                            errno = EAGAIN;
                                                            return 0;
                                                        });
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

}  // namespace
