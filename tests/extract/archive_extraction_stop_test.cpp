// Stopping while packages are unpacked: by the poll of the job thread, which sees the request, or
// by the window, which ends the running program itself.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "bench_parts/call_hook.h"
#include "bench_parts/unpacker_machine.h"
#include "bench_parts/waiting.h"
#include "extract/archive_extraction.h"
#include "extract/extraction_samples.h"
#include "job/progress/job_progress.h"

namespace {

using bench::UnpackerMachine;
using testing::ElementsAre;
using testing::Optional;

// ExtractPackage on a second thread, as in a job.
std::future<bool> StartExtraction(const UnpackerMachine& machine, std::string_view archiveBytes) {
    const std::filesystem::path archive = machine.Root() / L"package.bin";
    bench::WriteFile(archive, archiveBytes);
    return std::async(std::launch::async, [archive, staging = machine.StagingFolder()] {
        return ExtractPackage(archive, staging);
    });
}

// Ends the running program as the window does, but without a stop request, which the job thread's
// poll could see first.
void EndPublishedProgram() {
    EXPECT_TRUE(bench::Await([] {
        const std::lock_guard guard(jobProgress.lock);
        return jobProgress.childProcess != nullptr &&
               ::TerminateProcess(jobProgress.childProcess, 1) != FALSE;
    }));
}

// Opens each program that is started. The one with the number `finished` has ended before the job
// waits for it, however slow this machine is.
auto WatchStarts(std::vector<KernelHandle>& programs, size_t finished = 0) {
    using Start = decltype(&::CreateProcessW);
    return bench::HookCall<Start>(
        bench::kKernel32, "CreateProcessW", [&programs, finished](auto... values) -> BOOL {
            const auto start = bench::RealFunction<Start>(bench::kKernel32, "CreateProcessW");
            if (!start(values...)) {
                return FALSE;
            }
            const PROCESS_INFORMATION& started = *std::get<9>(std::tuple(values...));
            programs.push_back(bench::OpenRunningProcess(started.dwProcessId));
            if (programs.size() == finished) {
                bench::AwaitExitCode(programs.back());
            }
            return TRUE;
        });
}

std::vector<std::optional<DWORD>> ExitCodes(const std::vector<KernelHandle>& programs) {
    std::vector<std::optional<DWORD>> codes(programs.size());
    std::transform(programs.begin(), programs.end(), codes.begin(), bench::AwaitExitCode);
    return codes;
}

TEST(StopDuringExtraction, EndsEachRarProgramThatIsStillStarted) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.ToolFolder() / L"unrar.exe", "exit 7");
    machine.PutRecorder(machine.ToolFolder() / L"7z.exe", "hold");
    machine.PutRecorder(machine.ToolFolder() / L"7za.exe", "hold");
    std::vector<KernelHandle> programs;
    const auto hook = WatchStarts(programs, 1);
    jobProgress.cancelRequested = true;
    std::future<bool> extraction = StartExtraction(machine, bench::kRarStart);
    EXPECT_FALSE(extraction.get());
    EXPECT_THAT(ExitCodes(programs), ElementsAre(Optional(7u), Optional(1u), Optional(1u)));
    EXPECT_EQ(snapshot().errorMessage, bench::RarFailed(L"7za.exe exit code 0"));
    EXPECT_NE(jobProgress.childProcess, nullptr);
}

TEST(StopDuringExtraction, Shows1WhenTheWindowEndedTheLastProgram) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.ToolFolder() / L"7z.exe", "hold");
    std::future<bool> extraction = StartExtraction(machine, bench::kRarStart);
    machine.AwaitRuns(1);

    EndPublishedProgram();

    EXPECT_FALSE(extraction.get());
    EXPECT_EQ(snapshot().errorMessage, bench::RarFailed(L"7z.exe exit code 1"));
    EXPECT_EQ(jobProgress.childProcess, nullptr);
}

TEST(StopDuringExtraction, EndsTarAndThenPowerShellAndLeavesWhatWasUnpacked) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "hold");
    machine.PutRecorder(machine.CurrentFolder() / L"powershell.exe", "hold");
    bench::WriteFile(machine.StagingFolder() / L"Client" / L"half.dat", "half");
    std::vector<KernelHandle> programs;
    const auto hook = WatchStarts(programs);
    std::future<bool> extraction = StartExtraction(machine, bench::kZipStart);
    machine.AwaitRuns(1);

    jobProgress.cancelRequested = true;

    EXPECT_FALSE(extraction.get());
    EXPECT_THAT(ExitCodes(programs), ElementsAre(Optional(1u), Optional(1u)));
    EXPECT_EQ(snapshot().errorMessage, bench::kZipFailed);
    EXPECT_THAT(bench::FolderListing(machine.StagingFolder()),
                ElementsAre(L"Client/", L"Client/half.dat"));
}

TEST(StopDuringExtraction, LetsAQuickNextProgramFinish) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.ToolFolder() / L"unrar.exe", "hold");
    machine.PutRecorder(machine.ToolFolder() / L"7z.exe", "exit 0");
    std::vector<KernelHandle> programs;
    const auto hook = WatchStarts(programs, 2);
    std::future<bool> extraction = StartExtraction(machine, bench::kRarStart);
    machine.AwaitRuns(1);

    // Not requestCancel(): the poll must end the first program.
    jobProgress.cancelRequested = true;

    EXPECT_TRUE(extraction.get());
    EXPECT_FALSE(jobProgress.failed);
    EXPECT_THAT(ExitCodes(programs), ElementsAre(Optional(1u), Optional(0u)));
    EXPECT_EQ(jobProgress.childProcess, nullptr);
}

}  // namespace
