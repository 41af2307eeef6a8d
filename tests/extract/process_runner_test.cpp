#include "extract/process_runner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <mutex>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "bench_parts/call_hook.h"
#include "bench_parts/unpacker_machine.h"
#include "bench_parts/waiting.h"
#include "job/progress/job_progress.h"

namespace {

using bench::kKernel32;
using bench::ProgramRun;
using testing::ElementsAre;

constexpr DWORD kUntouched = 0x1234;
// Longer than any program of these tests runs.
constexpr DWORD kToTheEndMs = 60'000;

HANDLE PublishedChild() {
    const std::lock_guard guard(jobProgress.lock);
    return jobProgress.childProcess;
}

struct EndOfRun {
    bool result = false;
    DWORD exitCode = kUntouched;
};

// RunHiddenAndWait on a second thread, as in a job.
std::future<EndOfRun> StartRun(const std::wstring& commandLine) {
    return std::async(std::launch::async, [commandLine] {
        EndOfRun end;
        end.result = RunHiddenAndWait(commandLine, &end.exitCode);
        return end;
    });
}

class ProcessRunner : public testing::Test {
protected:
    // The command line of a recorder with that plan.
    std::wstring Recorder(std::string_view plan) const {
        const std::filesystem::path program = machine_.Root() / L"some program.exe";
        machine_.PutRecorder(program, plan);
        return L"\"" + program.native() + L"\"";
    }

    bench::UnpackerMachine machine_;
};

TEST_F(ProcessRunner, SucceedsOnlyWithExitCode0) {
    struct Row {
        const char* plan;
        bool succeeds;
        DWORD exitCode;
    };
    for (const Row& row :
         {Row{"exit 0", true, 0}, Row{"exit 1", false, 1}, Row{"exit 256", false, 256},
          Row{"exit 4294967294", false, 4294967294}}) {
        SCOPED_TRACE(row.plan);
        DWORD exitCode = kUntouched;
        EXPECT_EQ(RunHiddenAndWait(Recorder(row.plan), &exitCode), row.succeeds);
        EXPECT_EQ(exitCode, row.exitCode);
    }
    EXPECT_TRUE(RunHiddenAndWait(Recorder("exit 0"), nullptr));
}

TEST_F(ProcessRunner, RunsTheProgramHiddenInTheToolsFolderAndEnvironmentToItsEnd) {
    const bench::EnvironmentVariable mark(L"BENCH_MARK", L"\u00fcberall");
    const std::wstring commandLine =
        Recorder("sleep 300 exit 5") +
        L"  x -o\"C:\\a b\\\\\"  'O''Brien' \u00fc\u8aad \"unbalanced ";
    reportStage(JobStage::Downloading, L"headline", L"Extracting with unrar.exe...");
    DWORD exitCode = kUntouched;

    EXPECT_FALSE(RunHiddenAndWait(
        std::wstring_view(commandLine + L" not this").substr(0, commandLine.size()), &exitCode));

    EXPECT_EQ(exitCode, 5u);
    const ProgramRun run = machine_.Runs().at(0);
    EXPECT_EQ(run.endCode, 5u);
    EXPECT_EQ(run.commandLine, commandLine);
    EXPECT_EQ(run.currentFolder, machine_.CurrentFolder().native());
    EXPECT_EQ(run.mark, L"\u00fcberall");
    EXPECT_EQ(run.startup, "1");
    EXPECT_EQ(run.show, "0");
    const JobState state = snapshot();
    EXPECT_EQ(state.stage, JobStage::Extracting);
    EXPECT_EQ(state.statusLine, L"Extracting package...");
    EXPECT_EQ(state.detailLine, L"Preparing client files for repair...");
    EXPECT_EQ(PublishedChild(), nullptr);
    EXPECT_FALSE(jobProgress.failed);
}

TEST_F(ProcessRunner, StoresAllOnesAndReportsNothingForAProgramThatCannotBeStarted) {
    reportStage(JobStage::Downloading, L"headline", L"detail");
    const std::filesystem::path folder = machine_.Root() / L"folder.exe";
    std::filesystem::create_directories(folder);
    const std::filesystem::path text = machine_.Root() / L"text.exe";
    machine_.PutUnstartable(text);
    for (const std::wstring& commandLine :
         {std::wstring(L"no_such_program.exe -x"), L"\"" + folder.native() + L"\"",
          L"\"" + text.native() + L"\"", std::wstring()}) {
        DWORD exitCode = kUntouched;
        EXPECT_FALSE(RunHiddenAndWait(commandLine, &exitCode)) << commandLine;
        EXPECT_EQ(exitCode, 4294967295u) << commandLine;
        EXPECT_FALSE(RunHiddenAndWait(commandLine, nullptr)) << commandLine;
    }
    const JobState state = snapshot();
    EXPECT_EQ(state.stage, JobStage::Downloading);
    EXPECT_EQ(state.statusLine, L"headline");
    EXPECT_EQ(state.detailLine, L"detail");
    EXPECT_EQ(PublishedChild(), nullptr);
    EXPECT_FALSE(jobProgress.failed);
}

TEST_F(ProcessRunner, FindsABareNameOnTheSearchPath) {
    machine_.PutRecorder(machine_.SearchFolder() / L"bench_found.exe", "exit 4");
    DWORD exitCode = kUntouched;
    EXPECT_FALSE(RunHiddenAndWait(L"bench_found.exe -xf", &exitCode));
    EXPECT_EQ(exitCode, 4u);
    EXPECT_EQ(machine_.Runs().at(0).commandLine, L"bench_found.exe -xf");
}

TEST_F(ProcessRunner, PublishesTheProgramWhileItRunsAndLeavesItNoOpenFile) {
    const std::filesystem::path path = machine_.Root() / L"open.dat";
    for (const DWORD exitCode : {9u, 0u}) {
        SCOPED_TRACE(exitCode);
        SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
        auto file = AdoptHandle<KernelHandle>(
            ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, &inheritable, CREATE_ALWAYS, 0, nullptr));
        ASSERT_TRUE(file);
        std::future<EndOfRun> running = StartRun(Recorder("hold"));
        // The program can be up before its handle is published.
        const HANDLE program = bench::Await(&PublishedChild);
        const size_t number = exitCode == 9 ? 1 : 2;
        EXPECT_EQ(::GetProcessId(program), machine_.AwaitRuns(number).back().processId);
        EXPECT_EQ(snapshot().detailLine, L"Preparing client files for repair...");
        file.reset();
        EXPECT_TRUE(AdoptHandle<KernelHandle>(
            ::CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr)));

        ::TerminateProcess(program, exitCode);
        const EndOfRun end = running.get();

        EXPECT_EQ(PublishedChild(), nullptr);
        EXPECT_EQ(end.exitCode, exitCode);
        EXPECT_EQ(end.result, exitCode == 0);
    }
}

TEST_F(ProcessRunner, EndsTheProgramWhenItSeesAStopRequest) {
    std::future<EndOfRun> running = StartRun(Recorder("hold"));
    const KernelHandle process = bench::OpenRunningProcess(machine_.AwaitRuns(1).at(0).processId);

    jobProgress.cancelRequested = true;

    EXPECT_EQ(bench::AwaitExitCode(process), 1u);
    const EndOfRun end = running.get();
    EXPECT_FALSE(end.result);
    EXPECT_EQ(machine_.Runs().at(0).endCode, std::nullopt);
    EXPECT_EQ(end.exitCode, kUntouched);
    EXPECT_FALSE(jobProgress.failed);
    // The handle is still published, but closed.
    EXPECT_NE(PublishedChild(), nullptr);
    DWORD flags = 0;
    EXPECT_FALSE(::GetHandleInformation(PublishedChild(), &flags));
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

TEST_F(ProcessRunner, PollsEvery250Milliseconds) {
    const auto wait =
        bench::RealFunction<decltype(&::WaitForSingleObject)>(kKernel32, "WaitForSingleObject");
    std::vector<DWORD> intervals;
    const auto hook = bench::HookCall<decltype(&::WaitForSingleObject)>(
        kKernel32, "WaitForSingleObject", [&](HANDLE handle, DWORD milliseconds) -> DWORD {
            if (::GetProcessId(handle) == 0) {
                return wait(handle, milliseconds);
            }
            intervals.push_back(milliseconds);
            // As if the program outlasted three polls, however fast this machine is.
            return intervals.size() <= 3 ? WAIT_TIMEOUT : wait(handle, kToTheEndMs);
        });
    EXPECT_TRUE(RunHiddenAndWait(Recorder("exit 0")));
    EXPECT_THAT(intervals, ElementsAre(250u, 250u, 250u, 250u));
}

// A program that ends before the first poll is not ended by a stop; a failing wait counts as the
// end.
TEST_F(ProcessRunner, TakesAnyOtherResultOfTheWaitForTheEnd) {
    for (const DWORD waitResult : {DWORD{WAIT_OBJECT_0}, DWORD{WAIT_FAILED}}) {
        const auto wait =
            bench::RealFunction<decltype(&::WaitForSingleObject)>(kKernel32, "WaitForSingleObject");
        const auto hook = bench::HookCall<decltype(&::WaitForSingleObject)>(
            kKernel32, "WaitForSingleObject", [&](HANDLE handle, DWORD) -> DWORD {
                wait(handle, kToTheEndMs);
                return waitResult;
            });
        jobProgress.cancelRequested = true;
        DWORD exitCode = kUntouched;
        EXPECT_FALSE(RunHiddenAndWait(Recorder("exit 6"), &exitCode));
        EXPECT_EQ(exitCode, 6u);
        EXPECT_EQ(PublishedChild(), nullptr);
    }
}

TEST_F(ProcessRunner, TakesAnUnknownExitCodeFor1) {
    const auto hook = bench::HookCall<decltype(&::GetExitCodeProcess)>(
        kKernel32, "GetExitCodeProcess", [](HANDLE, LPDWORD) -> BOOL { return FALSE; });
    DWORD exitCode = kUntouched;
    EXPECT_FALSE(RunHiddenAndWait(Recorder("exit 0"), &exitCode));
    EXPECT_EQ(exitCode, 1u);
}

TEST_F(ProcessRunner, GivesTheProgramNoConsoleAndNoHandles) {
    int starts = 0;
    const auto hook = bench::WatchCall<decltype(&::CreateProcessW)>(
        kKernel32, "CreateProcessW",
        [&](auto, auto, auto, auto, BOOL inherits, DWORD flags, auto...) {
            ++starts;
            EXPECT_FALSE(inherits);
            EXPECT_EQ(flags, 0x08000000u);
        });
    EXPECT_TRUE(RunHiddenAndWait(Recorder("exit 0")));
    EXPECT_EQ(starts, 1);
}

TEST_F(ProcessRunner, ClosesItsHandlesHoweverTheProgramEnds) {
    std::set<HANDLE> open;
    const auto start = bench::HookCall<decltype(&::CreateProcessW)>(
        kKernel32, "CreateProcessW", [&](auto... values) -> BOOL {
            const BOOL succeeded = bench::RealFunction<decltype(&::CreateProcessW)>(
                kKernel32, "CreateProcessW")(values...);
            if (succeeded) {
                const PROCESS_INFORMATION& started = *std::get<9>(std::tuple(values...));
                open.insert({started.hThread, started.hProcess});
            }
            return succeeded;
        });
    const auto close = bench::WatchCall<decltype(&::CloseHandle)>(
        kKernel32, "CloseHandle", [&](HANDLE handle) { open.erase(handle); });
    EXPECT_TRUE(RunHiddenAndWait(Recorder("exit 0")));
    EXPECT_TRUE(open.empty()) << "after its end";
    jobProgress.cancelRequested = true;
    EXPECT_FALSE(RunHiddenAndWait(Recorder("hold")));
    EXPECT_TRUE(open.empty()) << "stopped";
}

}  // namespace
