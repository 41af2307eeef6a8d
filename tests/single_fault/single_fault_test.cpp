// A job must not succeed without all files of the package. Each of its calls to the system's file
// functions fails once, with every error that such calls have on players' machines. Afterwards the
// job has reported a failure, or the client has every file.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <map>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "bench_parts/utf8.h"
#include "common/windows_api.h"
#include "job/progress/job_progress.h"
#include "single_fault/failing_calls.h"
#include "single_fault/small_machine.h"
#include "single_fault/works.h"

namespace {

using testing::IsEmpty;

constexpr std::array<DWORD, 6> kErrors{ERROR_ACCESS_DENIED,  ERROR_SHARING_VIOLATION,
                                       ERROR_PATH_NOT_FOUND, ERROR_INVALID_FUNCTION,
                                       ERROR_DISK_FULL,      ERROR_IO_DEVICE};

// What may succeed although a file of the package is missing. Empty for a single failure.
struct Exception {
    std::string_view work;  // How its name begins.
    std::string_view function;
    FaultMode mode;
    std::wstring_view pathEnd;
    const char* reason;
};
constexpr char kUnlistableFolder[] =
    "a folder in the package that cannot be listed both times is skipped";
constexpr char kMissingStaging[] =
    "a staging folder that is said to be missing is left to the next stage to report";
constexpr Exception kExceptions[] = {
    {"Re", "FindFirstFileExW", FaultMode::SamePath, L"\\data\\*", kUnlistableFolder},
    {"Re", "FindFirstFileExW", FaultMode::SamePath, L"\\data\\deep\\*", kUnlistableFolder},
    {"Re", "FindNextFileW", FaultMode::SamePath, L"\\data\\*", kUnlistableFolder},
    {"Re", "FindNextFileW", FaultMode::SamePath, L"\\data\\deep\\*", kUnlistableFolder},
    {"Flattening", "FindFirstFileExW", FaultMode::SamePath, L"\\staging\\*", kMissingStaging},
    {"Flattening", "FindFirstFileExW", FaultMode::FromThenOn, L"\\staging\\*", kMissingStaging},
    {"Flattening", "FindNextFileW", FaultMode::SamePath, L"\\staging\\*", kMissingStaging},
    {"Flattening", "FindNextFileW", FaultMode::FromThenOn, L"\\staging\\*", kMissingStaging},
};

struct Scene {
    const Work* work;
    FaultMode mode;
    DWORD error;  // ERROR_SUCCESS for errors that change from call to call.
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

const Exception* FindException(const Scene& scene, const SystemCall& call) {
    for (const Exception& exception : kExceptions) {
        if (std::string_view(scene.work->name).starts_with(exception.work) &&
            call.function == exception.function && scene.mode == exception.mode &&
            call.path.ends_with(exception.pathEnd)) {
            return &exception;
        }
    }
    return nullptr;
}

std::string Describe(const SystemCall& call, const Fault& fault) {
    return "call " + std::to_string(fault.number) + ", " + call.function + " of \"" +
           bench::ToUtf8(call.path) + "\", error " + std::to_string(fault.error);
}

bool IsWholeJob(const Scene& scene) {
    return scene.work->standIns == StandIns::ServerAndProgram;
}

// Whether a piece has that call of a whole job as well: in the flattening, the client's repair or
// the last steps, but not in the clean-up after them.
bool IsInPiece(const SystemCall& call) {
    const std::wstring_view step = call.step;
    return step == L"Moving client files into place..." ||
           step == L"Removing old client files..." || step.starts_with(L"Checking ") ||
           step.starts_with(L"Installing ") || step == L"Writing Uninstall.exe...";
}

// Six errors for each call are too many for the usual run. A single failure meets one, a lasting
// one another at every second call: odd ones fail from then on, even ones on the same path.
// Neighbors differ. Of the calls of a whole job that a piece has too, every sixth fails once, with
// all errors in turn.
std::vector<DWORD> ErrorsFor(size_t number, const SystemCall& call, const Scene& scene) {
    if (scene.error != ERROR_SUCCESS) {
        return {scene.error};
    }
    if (IsWholeJob(scene) && IsInPiece(call) &&
        (scene.mode != FaultMode::Once || number % kErrors.size() != 0)) {
        return {};
    }
    const auto error = [&](size_t offset) {
        return kErrors[(number + number / kErrors.size() + offset) % kErrors.size()];
    };
    const bool isOdd = number % 2 != 0;
    switch (scene.mode) {
        case FaultMode::Once:
            return {error(0)};
        case FaultMode::FromThenOn:
            return isOdd ? std::vector{error(1)} : std::vector<DWORD>();
        case FaultMode::SamePath:
            return isOdd ? std::vector<DWORD>() : std::vector{error(2)};
    }
    return {};
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
        } else if (const Exception* exception = FindException(GetParam(), call)) {
            ++tally_.exceptions[exception->reason];
        } else {
            ADD_FAILURE() << "a success without " << missing << ": " << Describe(call, fault);
        }
    }

    void Print(size_t calls) const {
        std::printf("single faults: %u runs at %u calls: %u failures reported, %u complete",
                    tally_.runs, static_cast<unsigned>(calls), tally_.reported, tally_.complete);
        for (const auto& [reason, count] : tally_.exceptions) {
            std::printf(", %u excepted (%s)", count, reason.c_str());
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
        for (const DWORD error : ErrorsFor(number, call, GetParam())) {
            RunWith(call, {number, GetParam().mode, error});
        }
    }
    Print(noted.size());
}

namespace {

std::string SceneName(const testing::TestParamInfo<Scene>& info) {
    constexpr const char* kModeNames[] = {"Once", "FromThenOn", "SamePath"};
    const Scene& scene = info.param;
    return std::string(scene.work->name) + "_" + kModeNames[static_cast<size_t>(scene.mode)] +
           (scene.error == ERROR_SUCCESS ? "" : "_" + std::to_string(scene.error));
}

std::vector<Scene> ScenesWith(DWORD error) {
    std::vector<Scene> scenes;
    for (const Work* work : {&kRepair, &kReinstall, &kFlattening, &kFlatteningByCopies, &kLastSteps,
                             &kRepairJob, &kReinstallJob}) {
        for (const FaultMode mode : {FaultMode::Once, FaultMode::FromThenOn, FaultMode::SamePath}) {
            const Scene scene{work, mode, error};
            // A failure that lasts for one path is the same in the pieces.
            if (!IsWholeJob(scene) || mode != FaultMode::SamePath) {
                scenes.push_back(scene);
            }
        }
    }
    return scenes;
}

std::vector<Scene> ScenesWithEveryError() {
    std::vector<Scene> scenes;
    for (const DWORD error : kErrors) {
        const std::vector<Scene> more = ScenesWith(error);
        scenes.insert(scenes.end(), more.begin(), more.end());
    }
    return scenes;
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(SomeErrors, SingleFault, testing::ValuesIn(ScenesWith(ERROR_SUCCESS)),
                         SceneName);
INSTANTIATE_TEST_SUITE_P(EveryError, SingleFault, testing::ValuesIn(ScenesWithEveryError()),
                         SceneName);
