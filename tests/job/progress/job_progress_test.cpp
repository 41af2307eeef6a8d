#include "job/progress/job_progress.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <type_traits>
#include <utility>

#include "bench_parts/call_hook.h"

namespace {

// Every test starts and ends with the record in its initial state.
class JobProgressTest : public testing::Test {
protected:
    JobProgressTest() {
        resetJobProgress();
    }
    ~JobProgressTest() override {
        resetJobProgress();
    }
};

void ExpectInitialState() {
    EXPECT_FALSE(jobProgress.cancelRequested);
    EXPECT_FALSE(jobProgress.running);
    EXPECT_FALSE(jobProgress.finished);
    EXPECT_FALSE(jobProgress.failed);
    const JobState state = snapshot();
    EXPECT_EQ(state.stage, JobStage::Idle);
    EXPECT_EQ(state.kind, JobKind::None);
    EXPECT_EQ(state.bytesTotal, 0u);
    EXPECT_EQ(state.bytesReceived, 0u);
    EXPECT_EQ(state.bytesPerSecond, 0.0);
    EXPECT_EQ(state.filesTotal, 0u);
    EXPECT_EQ(state.filesDone, 0u);
    EXPECT_EQ(state.filesRepaired, 0u);
    EXPECT_EQ(state.statusLine, L"Ready.");
    EXPECT_EQ(state.detailLine, L"");
    EXPECT_EQ(state.errorMessage, L"");
    EXPECT_EQ(jobProgress.childProcess, nullptr);
}

// Leaves no field at its initial value.
void FillEverything() {
    jobProgress.cancelRequested = true;
    jobProgress.running = true;
    jobProgress.finished = true;
    jobProgress.failed = true;
    jobProgress.childProcess = ::GetCurrentProcess();
    UpdateJobState([](JobState& state) {
        state = {JobStage::Finishing, JobKind::Reinstall, 1, 2, 3.0, 4, 5, 6, L"s", L"d", L"e"};
    });
}

TEST(JobProgress, StartsReadyBeforeAnythingRuns) {
    // No reset first: what static initialization left is what the window meets.
    ExpectInitialState();
}

TEST(JobProgress, StagesAndKindsHaveTheirFixedNumbers) {
    uint32_t number = 0;
    for (const JobStage stage :
         {JobStage::Idle, JobStage::Downloading, JobStage::VerifyingPackage, JobStage::Extracting,
          JobStage::Finishing, JobStage::Done, JobStage::Failed}) {
        EXPECT_EQ(static_cast<uint32_t>(stage), number++);
    }
    EXPECT_EQ(static_cast<uint32_t>(JobKind::None), 0u);
    EXPECT_EQ(static_cast<uint32_t>(JobKind::Repair), 1u);
    EXPECT_EQ(static_cast<uint32_t>(JobKind::Reinstall), 2u);
    EXPECT_TRUE((std::is_same_v<std::underlying_type_t<JobStage>, uint32_t>));
    EXPECT_TRUE((std::is_same_v<std::underlying_type_t<JobKind>, uint32_t>));
    EXPECT_EQ(sizeof jobProgress.running, 1u);
    EXPECT_TRUE(decltype(jobProgress.running)::is_always_lock_free);
}

TEST_F(JobProgressTest, ResetBringsEveryFieldBack) {
    FillEverything();
    resetJobProgress();
    ExpectInitialState();
}

TEST_F(JobProgressTest, ReportStageChangesStageAndTextsAndNothingElse) {
    FillEverything();
    reportStage(JobStage::Extracting, L"status", L"detail");
    const JobState state = snapshot();
    EXPECT_EQ(state.stage, JobStage::Extracting);
    EXPECT_EQ(state.statusLine, L"status");
    EXPECT_EQ(state.detailLine, L"detail");
    EXPECT_EQ(state.kind, JobKind::Reinstall);
    EXPECT_EQ(state.filesDone, 5u);
    EXPECT_EQ(state.errorMessage, L"e");
    EXPECT_TRUE(jobProgress.failed);
}

TEST_F(JobProgressTest, JobStartSetsTheFlagsAndClearsTheRecord) {
    FillEverything();
    ClearForJobStart(JobKind::Repair);
    EXPECT_FALSE(jobProgress.cancelRequested);
    EXPECT_TRUE(jobProgress.running);
    EXPECT_FALSE(jobProgress.finished);
    EXPECT_FALSE(jobProgress.failed);
    EXPECT_EQ(jobProgress.childProcess, nullptr);
    const JobState state = snapshot();
    EXPECT_EQ(state.stage, JobStage::Idle);
    EXPECT_EQ(state.kind, JobKind::Repair);
    EXPECT_EQ(state.bytesTotal + state.bytesReceived, 0u);
    EXPECT_EQ(state.bytesPerSecond, 0.0);
    EXPECT_EQ(state.filesTotal + state.filesDone + state.filesRepaired, 0u);
    EXPECT_EQ(state.statusLine + state.detailLine + state.errorMessage, L"");
    MarkAsNotRunning();
    EXPECT_FALSE(jobProgress.running);
    EXPECT_FALSE(jobProgress.finished);
}

TEST_F(JobProgressTest, FailureSetsStageFlagsAndTextsAndKeepsTheCounters) {
    for (const JobKind kind : {JobKind::Repair, JobKind::Reinstall}) {
        ClearForJobStart(kind);
        UpdateJobState([](JobState& state) { state.filesDone = 7; });
        reportFailure(L"Something broke.");
        EXPECT_TRUE(jobProgress.failed);
        EXPECT_TRUE(jobProgress.finished);
        EXPECT_FALSE(jobProgress.running);
        const JobState state = snapshot();
        EXPECT_EQ(state.stage, JobStage::Failed);
        EXPECT_EQ(state.kind, kind);
        EXPECT_EQ(state.statusLine, L"Repair failed.");
        EXPECT_EQ(state.detailLine, L"Something broke.");
        EXPECT_EQ(state.errorMessage, L"Something broke.");
        EXPECT_EQ(state.filesDone, 7u);
    }
}

TEST_F(JobProgressTest, FailureTakesTheRecordsOwnTextsAsMessage) {
    reportStage(JobStage::Finishing, L"status", L"already the message");
    reportFailure(jobProgress.state.detailLine);
    EXPECT_EQ(snapshot().detailLine, L"already the message");
    EXPECT_EQ(snapshot().errorMessage, L"already the message");
    EXPECT_EQ(snapshot().statusLine, L"Repair failed.");

    reportFailure(jobProgress.state.errorMessage);
    EXPECT_EQ(snapshot().detailLine, L"already the message");
    EXPECT_EQ(snapshot().errorMessage, L"already the message");
}

TEST_F(JobProgressTest, SuccessSetsStageAndFlagsAndKeepsTheLastDetail) {
    ClearForJobStart(JobKind::Repair);
    reportStage(JobStage::Finishing, L"Finishing...", L"the last detail");
    ReportSuccess(L"Repair complete.");
    EXPECT_FALSE(jobProgress.running);
    EXPECT_TRUE(jobProgress.finished);
    EXPECT_FALSE(jobProgress.failed);
    const JobState state = snapshot();
    EXPECT_EQ(state.stage, JobStage::Done);
    EXPECT_EQ(state.statusLine, L"Repair complete.");
    EXPECT_EQ(state.detailLine, L"the last detail");

    ClearForJobStart(JobKind::Repair);
    ReportSuccess(L"Repair complete.");
    EXPECT_EQ(snapshot().detailLine, L"Client is ready.") << "without a last detail";
}

TEST_F(JobProgressTest, CancelRequestSetsTheFlagWithoutAChild) {
    requestCancel();
    EXPECT_TRUE(jobProgress.cancelRequested);
    EXPECT_FALSE(jobProgress.running);
}

// Without the flag the job would take the program's end for a failure of the package, and without
// the lock it could close the handle meanwhile.
TEST_F(JobProgressTest, CancelRequestEndsTheUnpackingProgramAfterSettingTheFlagAndUnderTheLock) {
    int calls = 0;
    const auto hook = bench::HookCall<decltype(&::TerminateProcess)>(
        bench::kKernel32, "TerminateProcess", [&](HANDLE program, UINT exitCode) -> BOOL {
            ++calls;
            EXPECT_EQ(program, jobProgress.childProcess);
            EXPECT_EQ(exitCode, 1u);
            EXPECT_TRUE(jobProgress.cancelRequested);
            std::thread([] { EXPECT_FALSE(jobProgress.lock.try_lock()); }).join();
            return TRUE;
        });
    jobProgress.childProcess = ::GetCurrentProcess();
    requestCancel();
    EXPECT_EQ(calls, 1);
    EXPECT_NE(jobProgress.childProcess, nullptr);
}

TEST_F(JobProgressTest, SnapshotNeverTearsWhileTheJobWrites) {
    std::atomic<bool> isWriting = true;
    uint64_t updates = 0;
    std::thread job([&] {
        while (isWriting) {
            ++updates;
            UpdateJobState([&](JobState& state) {
                state.bytesTotal = state.filesDone = updates;
                // In turn longer and shorter than the short-string buffer, so that tearing would
                // also crash.
                state.statusLine = state.detailLine = std::wstring(updates % 40, L's');
            });
        }
    });
    uint64_t torn = 0;
    uint64_t distinct = 0;
    uint64_t last = 0;
    for (int snapshots = 0; snapshots < 50'000 || distinct < 100; ++snapshots) {
        const JobState state = snapshot();
        const bool isWhole = state.bytesTotal == state.filesDone &&
                             (state.bytesTotal == 0 || state.statusLine == state.detailLine);
        torn += isWhole ? 0 : 1;
        distinct += state.bytesTotal != last ? 1 : 0;
        last = state.bytesTotal;
    }
    isWriting = false;
    job.join();
    EXPECT_EQ(torn, 0u);
    EXPECT_EQ(snapshot().bytesTotal, updates);
}

// Single-steps and looks at the flags after each instruction, as another thread could. A real
// thread would hardly ever hit the right moment.
constexpr DWORD kBeginStepping = 0xE0000001;
constexpr DWORD kTrapFlag = 0x100;
bool isStepping = false;
unsigned steps = 0;
unsigned endsSeen = 0;
unsigned partialEndsSeen = 0;

LONG CALLBACK LookAtTheFlags(EXCEPTION_POINTERS* exception) {
    const DWORD code = exception->ExceptionRecord->ExceptionCode;
    if (code != kBeginStepping && code != static_cast<DWORD>(EXCEPTION_SINGLE_STEP)) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    if (isStepping) {
        ++steps;
        if (!jobProgress.running) {
            ++endsSeen;
            partialEndsSeen += jobProgress.finished && jobProgress.failed ? 0 : 1;
        }
        exception->ContextRecord->EFlags |= kTrapFlag;
    }
    return EXCEPTION_CONTINUE_EXECUTION;
}

TEST_F(JobProgressTest, AFailureIsNeverSeenInPart) {
    ClearForJobStart(JobKind::Repair);
    void* const handler = ::AddVectoredExceptionHandler(1, &LookAtTheFlags);
    steps = endsSeen = partialEndsSeen = 0;
    isStepping = true;
    ::RaiseException(kBeginStepping, 0, 0, nullptr);
    reportFailure(L"broken");
    isStepping = false;
    ::RemoveVectoredExceptionHandler(handler);
    EXPECT_GT(steps, endsSeen);
    EXPECT_GT(endsSeen, 0u);
    EXPECT_EQ(partialEndsSeen, 0u);
}

TEST_F(JobProgressTest, AThreadThatSeesRunningFalseSeesTheWholeEnd) {
    for (int round = 0; round < 2'000; ++round) {
        const bool fails = round % 2 == 0;
        ClearForJobStart(JobKind::Repair);
        std::thread job([&] { fails ? reportFailure(L"broken") : ReportSuccess(L"done"); });
        while (jobProgress.running) {
            std::this_thread::yield();
        }
        const JobState state = snapshot();
        EXPECT_EQ(state.stage, fails ? JobStage::Failed : JobStage::Done);
        EXPECT_EQ(state.detailLine, fails ? L"broken" : L"Client is ready.");
        EXPECT_TRUE(jobProgress.finished);
        EXPECT_EQ(jobProgress.failed, fails);
        job.join();
    }
}

// The window relies on it that the record's operations throw nothing.
static_assert(noexcept(resetJobProgress()));
static_assert(noexcept(reportStage(JobStage::Idle, std::wstring_view(), std::wstring_view())));
static_assert(noexcept(reportFailure(std::declval<std::wstring>())));
static_assert(noexcept(ReportSuccess(std::wstring_view())));
static_assert(noexcept(ClearForJobStart(JobKind::None)));
static_assert(noexcept(snapshot()));
static_assert(noexcept(requestCancel()));
static_assert(noexcept(UpdateJobState(std::declval<void (*)(JobState&)>())));

#ifdef __MINGW32__
// A healthy mutex does not fail. This one checks its owner and is locked twice by one thread.
TEST_F(JobProgressTest, FailingMutexEndsTheProgram) {
    EXPECT_EXIT(
        {
            std::set_terminate([] {
                try {
                    std::rethrow_exception(std::current_exception());
                } catch (const std::system_error& error) {
                    std::_Exit(error.code() == std::errc::resource_deadlock_would_occur ? 77 : 78);
                }
            });
            *jobProgress.lock.native_handle() = PTHREAD_ERRORCHECK_MUTEX_INITIALIZER;
            // As in the program, nothing catches.
            std::thread([] {
                const std::lock_guard guard(jobProgress.lock);
                reportStage(JobStage::Finishing, L"", L"");
            }).join();
        },
        testing::ExitedWithCode(77), "");
}
#endif

}  // namespace
