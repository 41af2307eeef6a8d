// A job must not succeed without all files of the package. Each of its calls to the system's file
// functions fails once, with every error that such calls have on players' machines. Afterwards the
// job has reported a failure, or the client has every file.

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <ostream>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "bench_parts/utf8.h"
#include "job/progress/job_progress.h"
#include "single_fault/failing_calls.h"
#include "single_fault/small_machine.h"

namespace {

constexpr std::array<DWORD, 6> kErrors{ERROR_ACCESS_DENIED,  ERROR_SHARING_VIOLATION,
                                       ERROR_PATH_NOT_FOUND, ERROR_INVALID_FUNCTION,
                                       ERROR_DISK_FULL,      ERROR_IO_DEVICE};

// A job, and the steps whose calls fail: only those that no other job covers.
struct Job {
    const char* name;
    JobKind kind;
    bool canRename;
    std::wstring_view step{};
};
constexpr Job kJobs[] = {
    {"Repair", JobKind::Repair, true},
    {"RepairByCopies", JobKind::Repair, false, L"Moving client files into place..."},
    {"Reinstall", JobKind::Reinstall, true, L"einstall"},  // Of either letter case.
};

// The last is the error, ERROR_SUCCESS for errors that change from call to call.
using Scene = std::tuple<Job, FaultMode, DWORD>;

void PrintTo(const Scene& scene, std::ostream* out) {
    constexpr const char* kModeNames[] = {"Once", "FromThenOn", "SamePath"};
    const auto& [job, mode, error] = scene;
    *out << job.name << '_' << kModeNames[static_cast<size_t>(mode)];
    if (error != ERROR_SUCCESS) {
        *out << '_' << error;
    }
}

// A folder in the package that cannot be listed both times is skipped.
bool MayMissFiles(const SystemCall& call, FaultMode mode) {
    return mode == FaultMode::SamePath && call.function.starts_with("Find") &&
           (call.path.ends_with(L"\\data\\*") || call.path.ends_with(L"\\data\\deep\\*"));
}

// Six errors for each call are too many for the usual run. A single failure meets one, a lasting
// one another at every second call: odd ones fail from then on, even ones on the same path.
// Neighbors differ. ERROR_SUCCESS for a call that is left out.
DWORD ErrorFor(size_t number, FaultMode mode) {
    const bool isOdd = number % 2 != 0;
    if ((mode == FaultMode::FromThenOn && !isOdd) || (mode == FaultMode::SamePath && isOdd)) {
        return ERROR_SUCCESS;
    }
    const size_t first = number + number / kErrors.size() + static_cast<size_t>(mode);
    return kErrors[first % kErrors.size()];
}

class SingleFault : public testing::TestWithParam<Scene> {
protected:
    void RunWith(const SystemCall& call, const Fault& fault) {
        SCOPED_TRACE(testing::Message()
                     << "call " << fault.number << ", " << call.function << " of \""
                     << bench::ToUtf8(call.path) << "\", error " << fault.error);
        machine_.Restore();
        bool succeeded = false;
        CallsDuring([&] { succeeded = SmallMachine::RunJob(job_.kind); }, fault);
        EXPECT_EQ(machine_.Damage(), "");
        if (succeeded) {
            EXPECT_TRUE(machine_.FirstMissing().empty() || MayMissFiles(call, fault.mode))
                << "a success without " << machine_.FirstMissing();
            return;
        }
        const std::wstring message = snapshot().errorMessage;
        EXPECT_NE(message, L"");
        EXPECT_TRUE(jobProgress.failed);
        EXPECT_TRUE(!message.starts_with(L"Safety check") || machine_.IsClientUntouched());
    }

    const Job job_ = std::get<0>(GetParam());
    SmallMachine machine_{job_.canRename};
};

TEST_P(SingleFault, EndsInAReportOrInACompleteClient) {
    const auto& [job, mode, everyCallsError] = GetParam();
    machine_.Restore();
    bool succeeded = false;
    const std::vector<SystemCall> noted =
        CallsDuring([&] { succeeded = SmallMachine::RunJob(job_.kind); });
    ASSERT_TRUE(succeeded);
    ASSERT_EQ(machine_.FirstMissing(), "");
    ASSERT_EQ(machine_.Damage(), "");
    size_t faults = 0;
    for (size_t number = 1; number <= noted.size(); ++number) {
        const SystemCall& call = noted[number - 1];
        const DWORD error =
            everyCallsError == ERROR_SUCCESS ? ErrorFor(number, mode) : everyCallsError;
        if (error != ERROR_SUCCESS && call.step.find(job.step) != std::wstring::npos &&
            (mode != FaultMode::SamePath || !call.path.empty())) {
            RunWith(call, {number, mode, error});
            ++faults;
        }
    }
    std::printf("Faults: %u\n", static_cast<unsigned>(faults));
    EXPECT_GT(faults, 20U);
}

const auto kModes = testing::Values(FaultMode::Once, FaultMode::FromThenOn, FaultMode::SamePath);

INSTANTIATE_TEST_SUITE_P(SomeErrors, SingleFault,
                         testing::Combine(testing::ValuesIn(kJobs), kModes,
                                          testing::Values(DWORD{ERROR_SUCCESS})),
                         testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(EveryError, SingleFault,
                         testing::Combine(testing::ValuesIn(kJobs), kModes,
                                          testing::ValuesIn(kErrors)),
                         testing::PrintToStringParamName());

}  // namespace
