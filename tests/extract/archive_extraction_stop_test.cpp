// Stopping while packages are unpacked: by the poll of the job thread, which sees the request, or
// by the window, which ends the running program itself.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bench_parts/call_hook.h"
#include "bench_parts/package_contents.h"
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
class BackgroundExtraction {
public:
    BackgroundExtraction(const UnpackerMachine& machine, std::string_view archiveBytes) {
        const std::filesystem::path archive = machine.Root() / L"package.bin";
        bench::WriteFile(archive, archiveBytes);
        thread_ = std::thread([this, archive, staging = machine.StagingFolder()] {
            result_ = ExtractPackage(archive, staging);
        });
    }
    ~BackgroundExtraction() {
        if (thread_.joinable()) {
            jobProgress.cancelRequested = true;
            thread_.join();
        }
    }
    BackgroundExtraction(const BackgroundExtraction&) = delete;
    BackgroundExtraction& operator=(const BackgroundExtraction&) = delete;

    // Waits for the end.
    bool Result() {
        thread_.join();
        return result_;
    }

private:
    bool result_ = false;
    std::thread thread_;
};

// Ends the running program as the window does, but without a stop request, which the job thread's
// poll could see first.
void EndPublishedProgram() {
    EXPECT_TRUE(bench::Await([] {
        const std::lock_guard guard(jobProgress.lock);
        return jobProgress.childProcess != nullptr &&
               ::TerminateProcess(jobProgress.childProcess, 1) != FALSE;
    }));
}

// Opens the process of the nth recorder, which is running.
KernelHandle AwaitProcess(const UnpackerMachine& machine, size_t number) {
    return bench::OpenRunningProcess(machine.AwaitRuns(number).at(number - 1).processId);
}

// Watches the programs that the job thread waits for. Keeps a handle to each for its exit code, and
// lets the first wait begin only when the recorder has noted its start: on a busy machine that can
// take longer than the time to the first poll, which ends it after a stop.
//
// Only the first `polled` programs are polled. The others end before their first poll.
class WatchedPrograms {
public:
    explicit WatchedPrograms(const UnpackerMachine& machine, size_t polled = SIZE_MAX)
        : machine_(machine), polled_(polled), hook_(kKernel32, "WaitForSingleObject", Wait{this}) {}

    // In the order of their start. Only when no extraction runs any more.
    std::vector<std::optional<DWORD>> ExitCodes() const {
        std::vector<std::optional<DWORD>> codes(programs_.size());
        std::transform(programs_.begin(), programs_.end(), codes.begin(), bench::AwaitExitCode);
        return codes;
    }

private:
    static constexpr wchar_t kKernel32[] = L"kernel32.dll";
    using WaitFunction = decltype(&::WaitForSingleObject);

    struct Wait {
        WatchedPrograms* watched;
        DWORD operator()(HANDLE handle, DWORD milliseconds) const {
            return watched->OnWait(handle, milliseconds);
        }
    };

    DWORD OnWait(HANDLE handle, DWORD milliseconds) {
        const auto wait = bench::RealFunction<WaitFunction>(kKernel32, "WaitForSingleObject");
        const DWORD processId = ::GetProcessId(handle);  // 0 for a thread.
        if (processId == 0 || IsOurs(handle)) {
            return wait(handle, milliseconds);
        }
        if (processId != lastProcessId_) {
            lastProcessId_ = processId;
            programs_.push_back(Duplicate(handle));
            machine_.AwaitRuns(programs_.size());
        }
        return wait(handle, programs_.size() <= polled_ ? milliseconds : 60'000);
    }

    bool IsOurs(HANDLE handle) const {
        return std::any_of(programs_.begin(), programs_.end(),
                           [&](const auto& own) { return own.get() == handle; });
    }

    // Not by the id: a quick program can be over by now.
    static KernelHandle Duplicate(HANDLE process) {
        HANDLE duplicate = nullptr;
        ::DuplicateHandle(::GetCurrentProcess(), process, ::GetCurrentProcess(), &duplicate, 0,
                          FALSE, DUPLICATE_SAME_ACCESS);
        return KernelHandle(duplicate);
    }

    const UnpackerMachine& machine_;
    size_t polled_;
    DWORD lastProcessId_ = 0;
    std::vector<KernelHandle> programs_;
    bench::CallHook<WaitFunction, Wait> hook_;
};

TEST(StopDuringExtraction, EndsEachRarProgramThatIsStillStarted) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.ToolFolder() / L"unrar.exe", "hold");
    machine.PutRecorder(machine.ToolFolder() / L"7z.exe", "hold");
    machine.PutRecorder(machine.ToolFolder() / L"7za.exe", "hold");
    WatchedPrograms programs(machine);
    jobProgress.cancelRequested = true;
    BackgroundExtraction extraction(machine, bench::kRarStart);
    EXPECT_FALSE(extraction.Result());
    EXPECT_THAT(programs.ExitCodes(), ElementsAre(Optional(1u), Optional(1u), Optional(1u)));
    EXPECT_EQ(snapshot().errorMessage, bench::RarFailed(L"7za.exe exit code 0"));
    EXPECT_NE(jobProgress.childProcess, nullptr);
}

TEST(StopDuringExtraction, ReachesTheLastRarProgramToo) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.ToolFolder() / L"unrar.exe", "exit 3");
    machine.PutRecorder(machine.ToolFolder() / L"7z.exe", "exit 4");
    machine.PutRecorder(machine.ToolFolder() / L"7za.exe", "hold");
    BackgroundExtraction extraction(machine, bench::kRarStart);
    const KernelHandle last = AwaitProcess(machine, 3);

    jobProgress.cancelRequested = true;

    EXPECT_EQ(bench::AwaitExitCode(last), 1u);
    EXPECT_FALSE(extraction.Result());
    EXPECT_EQ(snapshot().errorMessage, bench::RarFailed(L"7za.exe exit code 0"));
}

TEST(StopDuringExtraction, Shows1WhenTheWindowEndedTheLastProgram) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.ToolFolder() / L"7z.exe", "hold");
    BackgroundExtraction extraction(machine, bench::kRarStart);
    machine.AwaitRuns(1);

    EndPublishedProgram();

    EXPECT_FALSE(extraction.Result());
    EXPECT_EQ(snapshot().errorMessage, bench::RarFailed(L"7z.exe exit code 1"));
    EXPECT_EQ(jobProgress.childProcess, nullptr);
}

TEST(StopDuringExtraction, PollsTheProgramAfterTheOneThatTheWindowEnded) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.ToolFolder() / L"unrar.exe", "hold");
    machine.PutRecorder(machine.ToolFolder() / L"7z.exe", "hold");
    BackgroundExtraction extraction(machine, bench::kRarStart);
    const KernelHandle first = AwaitProcess(machine, 1);

    requestCancel();

    EXPECT_EQ(bench::AwaitExitCode(first), 1u);
    EXPECT_FALSE(extraction.Result());
    // The window ends one program, the poll the next.
    EXPECT_EQ(snapshot().errorMessage, bench::RarFailed(L"7z.exe exit code 0"));
}

TEST(StopDuringExtraction, EndsTarAndThenPowerShellAndLeavesWhatWasUnpacked) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "hold");
    machine.PutRecorder(machine.CurrentFolder() / L"powershell.exe", "hold");
    bench::WriteFile(machine.StagingFolder() / L"Client" / L"half.dat", "half");
    WatchedPrograms programs(machine);
    BackgroundExtraction extraction(machine, bench::kZipStart);
    machine.AwaitRuns(1);

    jobProgress.cancelRequested = true;

    EXPECT_FALSE(extraction.Result());
    EXPECT_THAT(programs.ExitCodes(), ElementsAre(Optional(1u), Optional(1u)));
    EXPECT_EQ(snapshot().errorMessage, bench::kZipFailed);
    EXPECT_THAT(bench::FolderListing(machine.StagingFolder()),
                ElementsAre(L"Client/", L"Client/half.dat"));
}

TEST(StopDuringExtraction, EndsPowerShellAfterAFailedTar) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "exit 1");
    machine.PutRecorder(machine.CurrentFolder() / L"powershell.exe", "hold");
    BackgroundExtraction extraction(machine, bench::kZipStart);
    const KernelHandle powerShell = AwaitProcess(machine, 2);

    requestCancel();

    EXPECT_EQ(bench::AwaitExitCode(powerShell), 1u);
    EXPECT_FALSE(extraction.Result());
    EXPECT_EQ(snapshot().errorMessage, bench::kZipFailed);
}

TEST(StopDuringExtraction, EndsARealUnpackingInTheMiddle) {
    const UnpackerMachine machine;
    machine.PutTar();
    machine.PutRecorder(machine.CurrentFolder() / L"powershell.exe", "hold");
    const std::string package = bench::ReadFile(bench::PackagePath(L"zip_many.zip"));
    {
        BackgroundExtraction extraction(machine, package);
        ASSERT_TRUE(
            bench::Await([&] { return !bench::FolderListing(machine.StagingFolder()).empty(); }));

        requestCancel();

        EXPECT_FALSE(extraction.Result());
    }
    EXPECT_EQ(snapshot().errorMessage, bench::kZipFailed);
    EXPECT_LT(bench::FolderListing(machine.StagingFolder()).size(),
              bench::PackageContents(L"zip_many.zip").size());
    // A program that ends closes its files a moment later.
    EXPECT_TRUE(bench::Await([&] {
        std::error_code ignored;
        std::filesystem::remove_all(machine.StagingFolder(), ignored);
        return !std::filesystem::exists(machine.StagingFolder());
    }));
}

TEST(StopDuringExtraction, LetsAQuickNextProgramFinish) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.ToolFolder() / L"unrar.exe", "hold");
    machine.PutRecorder(machine.ToolFolder() / L"7z.exe", "exit 0");
    WatchedPrograms programs(machine, 1);
    BackgroundExtraction extraction(machine, bench::kRarStart);
    machine.AwaitRuns(1);

    // Not requestCancel(): the poll must end the first program.
    jobProgress.cancelRequested = true;

    EXPECT_TRUE(extraction.Result());
    EXPECT_FALSE(jobProgress.failed);
    EXPECT_THAT(programs.ExitCodes(), ElementsAre(Optional(1u), Optional(0u)));
    EXPECT_EQ(jobProgress.childProcess, nullptr);
}

}  // namespace
