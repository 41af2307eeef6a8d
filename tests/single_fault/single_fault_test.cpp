// A job must not end in success without the package's files. Each call that it makes to the
// system's functions for files is made to fail once, with every error that such calls have on a
// player's machine. Afterwards the job has reported a failure, or the client has every file.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <map>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "common/windows_api.h"
#include "job/job_progress.h"
#include "single_fault/failing_calls.h"
#include "single_fault/small_machine.h"
#include "single_fault/works.h"

namespace {

using testing::IsEmpty;

constexpr std::array<DWORD, 6> kErrors{ERROR_ACCESS_DENIED,  ERROR_SHARING_VIOLATION,
                                       ERROR_PATH_NOT_FOUND, ERROR_INVALID_FUNCTION,
                                       ERROR_DISK_FULL,      ERROR_IO_DEVICE};

// What may end in success although a file of the package is missing.
struct Exception {
    const char* function;
    FaultMode mode;
    std::wstring_view pathEnd;
    const char* reason;
};
constexpr Exception kExceptions[] = {
    {"FindFirstFileExW", FaultMode::SamePath, L"\\data\\*",
     "a folder of the package that cannot be listed is skipped silently"},
    {"FindFirstFileExW", FaultMode::SamePath, L"\\data\\deep\\*",
     "a folder of the package that cannot be listed is skipped silently"},
};

struct Scene {
    const Work* work;
    FaultMode mode;
    bool everyError;
};

// What Google Test prints of it.
void PrintTo(const Scene& scene, std::ostream* out) {
    *out << scene.work->name;
}

struct Tally {
    unsigned runs = 0;
    unsigned reported = 0;
    unsigned complete = 0;
    std::map<std::string, unsigned> exceptions;
};

const Exception* FindException(const SystemCall& call, FaultMode mode) {
    for (const Exception& exception : kExceptions) {
        if (exception.function == std::string_view(call.function) && exception.mode == mode &&
            call.path.ends_with(exception.pathEnd)) {
            return &exception;
        }
    }
    return nullptr;
}

std::string Describe(const SystemCall& call, const Fault& fault) {
    const std::u8string path = std::filesystem::path(call.path).u8string();
    return "call " + std::to_string(fault.number) + ", " + call.function + " of \"" +
           std::string(path.begin(), path.end()) + "\", error " + std::to_string(fault.error);
}

// Six errors are too many for every day: two for each call, so that each meets every function.
std::vector<DWORD> ErrorsFor(size_t number, bool everyError) {
    if (everyError) {
        return {kErrors.begin(), kErrors.end()};
    }
    const size_t pair = (number + number / 3) % 3;
    return {kErrors[pair], kErrors[pair + 3]};
}

class SingleFault : public testing::TestWithParam<Scene> {
protected:
    void RunWith(const SystemCall& call, const Fault& fault) {
        const Work& work = *GetParam().work;
        work.prepare(machine_);
        bool succeeded = false;
        FailingCalls::FailDuring(fault, [&] { succeeded = work.run(machine_); });
        ++tally_.runs;
        EXPECT_EQ(machine_.Damage(), "") << Describe(call, fault);
        if (!succeeded) {
            ++tally_.reported;
            const std::wstring message = snapshot().errorMessage;
            EXPECT_NE(message, L"") << Describe(call, fault);
            EXPECT_TRUE(jobProgress.failed) << Describe(call, fault);
            EXPECT_TRUE(!message.starts_with(L"Safety check") || machine_.IsClientUntouched())
                << Describe(call, fault);
            return;
        }
        const std::string missing = work.firstMissing(machine_);
        if (missing.empty()) {
            ++tally_.complete;
        } else if (const Exception* exception = FindException(call, fault.mode)) {
            ++tally_.exceptions[exception->reason];
        } else {
            ADD_FAILURE() << "a success without " << missing << ": " << Describe(call, fault);
        }
    }

    void Print(size_t calls) const {
        std::printf("single faults: %u runs at %u calls: %u reported failures, %u complete clients",
                    tally_.runs, static_cast<unsigned>(calls), tally_.reported, tally_.complete);
        for (const auto& [reason, count] : tally_.exceptions) {
            std::printf(", %u times %s", count, reason.c_str());
        }
        std::puts("");
    }

    SmallMachine machine_;
    Tally tally_;
};

}  // namespace

TEST_P(SingleFault, EndsInAReportOrInACompleteClient) {
    const Work& work = *GetParam().work;
    const StandInsFor standIns(work);
    const FailingCalls calls;
    ASSERT_THAT(calls.Missing(), IsEmpty());
    work.prepare(machine_);
    bool succeeded = false;
    const std::vector<SystemCall> noted =
        FailingCalls::NoteDuring([&] { succeeded = work.run(machine_); });
    ASSERT_TRUE(succeeded);
    ASSERT_EQ(work.firstMissing(machine_), "");
    ASSERT_EQ(machine_.Damage(), "");
    for (size_t number = 1; number <= noted.size(); ++number) {
        const SystemCall& call = noted[number - 1];
        if (GetParam().mode == FaultMode::SamePath && call.path.empty()) {
            continue;
        }
        for (const DWORD error : ErrorsFor(number, GetParam().everyError)) {
            RunWith(call, {number, GetParam().mode, error});
        }
    }
    Print(noted.size());
}

namespace {

std::string SceneName(const testing::TestParamInfo<Scene>& scene) {
    constexpr const char* kModeNames[] = {"Once", "FromThenOn", "SamePath"};
    return std::string(scene.param.work->name) + "_" +
           kModeNames[static_cast<size_t>(scene.param.mode)];
}

std::vector<Scene> Scenes(bool everyError) {
    std::vector<Scene> scenes;
    for (const Work* work : {&kRepair, &kReinstall, &kFlattening, &kFlatteningByCopies, &kLastSteps,
                             &kRepairJob, &kReinstallJob}) {
        for (const FaultMode mode : {FaultMode::Once, FaultMode::FromThenOn, FaultMode::SamePath}) {
            scenes.push_back({work, mode, everyError});
        }
    }
    return scenes;
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(TwoErrors, SingleFault, testing::ValuesIn(Scenes(false)), SceneName);
INSTANTIATE_TEST_SUITE_P(EveryError, SingleFault, testing::ValuesIn(Scenes(true)), SceneName);
