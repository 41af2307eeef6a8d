// What the process runner asks the system for, call by call: much of it shows only on a machine
// unlike the test's, or never.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "bench_parts/call_hook.h"
#include "bench_parts/unpacker_machine.h"
#include "extract/process_runner.h"
#include "job/progress/job_progress.h"

namespace {

using bench::UnpackerMachine;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAreArray;

// Longer than any program of these tests runs.
constexpr DWORD kToTheEndMs = 60'000;

// What CreateProcessW is called with, in its order.
struct StartArguments {
    LPCWSTR application;
    LPWSTR commandLine;
    LPSECURITY_ATTRIBUTES processAttributes;
    LPSECURITY_ATTRIBUTES threadAttributes;
    BOOL inherit;
    DWORD flags;
    LPVOID environment;
    LPCWSTR folder;
    LPSTARTUPINFOW startup;
    LPPROCESS_INFORMATION started;
};

template <class Function>
Function RealKernelFunction(const char* name) {
    return bench::RealFunction<Function>(L"kernel32.dll", name);
}

// The command line of a recorder with that plan.
std::wstring Recorder(const UnpackerMachine& machine, std::string_view plan) {
    const std::filesystem::path program = machine.Root() / L"program.exe";
    machine.PutRecorder(program, plan);
    return L"\"" + program.native() + L"\"";
}

void ExpectOnlyAHiddenShowState(const STARTUPINFOW& startup) {
    EXPECT_EQ(startup.cb, sizeof(STARTUPINFOW));
    EXPECT_EQ(startup.dwFlags, 1u);
    EXPECT_EQ(startup.wShowWindow, 0u);
    for (const void* const pointer :
         {static_cast<const void*>(startup.lpReserved), static_cast<const void*>(startup.lpDesktop),
          static_cast<const void*>(startup.lpTitle), static_cast<const void*>(startup.lpReserved2),
          static_cast<const void*>(startup.hStdInput), static_cast<const void*>(startup.hStdOutput),
          static_cast<const void*>(startup.hStdError)}) {
        EXPECT_EQ(pointer, nullptr);
    }
    for (const DWORD number :
         {startup.dwX, startup.dwY, startup.dwXSize, startup.dwYSize, startup.dwXCountChars,
          startup.dwYCountChars, startup.dwFillAttribute, DWORD{startup.cbReserved2}}) {
        EXPECT_EQ(number, 0u);
    }
}

TEST(RunHiddenAndWait, AsksForAHiddenStartWithoutAConsoleAndNothingElse) {
    const UnpackerMachine machine;
    const std::wstring commandLine = Recorder(machine, "exit 0");
    const auto start = RealKernelFunction<decltype(&::CreateProcessW)>("CreateProcessW");
    size_t starts = 0;
    const auto hook = bench::HookCall<decltype(&::CreateProcessW)>(
        L"kernel32.dll", "CreateProcessW", [&](auto... values) -> BOOL {
            const StartArguments arguments{values...};
            ++starts;
            EXPECT_EQ(arguments.application, nullptr);
            EXPECT_EQ(std::wstring(arguments.commandLine), commandLine);
            EXPECT_EQ(arguments.processAttributes, nullptr);
            EXPECT_EQ(arguments.threadAttributes, nullptr);
            EXPECT_FALSE(arguments.inherit);
            EXPECT_EQ(arguments.flags, 0x08000000u);
            EXPECT_EQ(arguments.environment, nullptr);
            EXPECT_EQ(arguments.folder, nullptr);
            ExpectOnlyAHiddenShowState(*arguments.startup);
            return start(values...);
        });
    EXPECT_TRUE(RunHiddenAndWait(commandLine));
    EXPECT_EQ(starts, 1u);
}

TEST(RunHiddenAndWait, PollsEvery250Milliseconds) {
    const UnpackerMachine machine;
    const auto wait = RealKernelFunction<decltype(&::WaitForSingleObject)>("WaitForSingleObject");
    std::vector<DWORD> intervals;
    const auto hook = bench::HookCall<decltype(&::WaitForSingleObject)>(
        L"kernel32.dll", "WaitForSingleObject", [&](HANDLE handle, DWORD milliseconds) -> DWORD {
            if (::GetProcessId(handle) == 0) {
                return wait(handle, milliseconds);
            }
            intervals.push_back(milliseconds);
            // As if the program outlasted three polls, however fast this machine is.
            return intervals.size() <= 3 ? WAIT_TIMEOUT : wait(handle, kToTheEndMs);
        });
    EXPECT_TRUE(RunHiddenAndWait(Recorder(machine, "exit 0")));
    EXPECT_THAT(intervals, ElementsAre(250u, 250u, 250u, 250u));
}

// Runs programs and notes which handles the system gave for them and which were closed.
class HandlesOfAProgram : public testing::Test {
protected:
    bool Run(const std::wstring& commandLine) {
        const auto start = RealKernelFunction<decltype(&::CreateProcessW)>("CreateProcessW");
        const auto close = RealKernelFunction<decltype(&::CloseHandle)>("CloseHandle");
        const auto startHook = bench::HookCall<decltype(&::CreateProcessW)>(
            L"kernel32.dll", "CreateProcessW", [&](auto... values) -> BOOL {
                const BOOL succeeded = start(values...);
                if (succeeded) {
                    const StartArguments arguments{values...};
                    opened_ = {arguments.started->hThread, arguments.started->hProcess};
                }
                return succeeded;
            });
        const auto closeHook = bench::HookCall<decltype(&::CloseHandle)>(
            L"kernel32.dll", "CloseHandle", [&](HANDLE handle) -> BOOL {
                closed_.push_back(handle);
                return close(handle);
            });
        return RunHiddenAndWait(commandLine);
    }

    UnpackerMachine machine_;
    std::vector<HANDLE> opened_;
    std::vector<HANDLE> closed_;
};

TEST_F(HandlesOfAProgram, AreClosedOnceAfterItsEnd) {
    EXPECT_TRUE(Run(Recorder(machine_, "exit 0")));
    EXPECT_THAT(opened_, SizeIs(2));
    EXPECT_THAT(closed_, UnorderedElementsAreArray(opened_));
}

TEST_F(HandlesOfAProgram, AreClosedOnceAfterAStopRequest) {
    jobProgress.cancelRequested = true;
    EXPECT_FALSE(Run(Recorder(machine_, "hold")));
    EXPECT_THAT(opened_, SizeIs(2));
    EXPECT_THAT(closed_, UnorderedElementsAreArray(opened_));
}

TEST_F(HandlesOfAProgram, AreNotThereWhenItCannotBeStarted) {
    EXPECT_FALSE(Run(L"no_such_program.exe"));
    EXPECT_THAT(opened_, IsEmpty());
    EXPECT_THAT(closed_, IsEmpty());
}

}  // namespace
