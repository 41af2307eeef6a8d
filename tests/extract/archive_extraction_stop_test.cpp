// Stopping while packages are unpacked: by the poll of the job thread, which sees the request, or
// by the window, which ends the running program itself.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "bench_parts/import_hook.h"
#include "bench_parts/package_contents.h"
#include "bench_parts/unpacker_machine.h"
#include "extract/archive_extraction.h"
#include "job/job_progress.h"

namespace {

using bench::ImportHook;
using bench::ProgramRun;
using bench::UnpackerMachine;

constexpr std::string_view kZipStart("PK\x03\x04 and so on");
constexpr std::string_view kRarStart("Rar!\x1a\x07\x01\x00 and so on", 18);

constexpr wchar_t kZipFailed[] =
    L"ZIP extraction failed.\nCheck that the downloaded package is a complete .zip archive and "
    L"that you have permission to write to the install folder.";

// ExtractPackage on a thread of its own, as the job has it.
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

// Ends the running program as the window does, but leaves the request for the job thread's poll
// unsaid: which of the two comes first would else be a matter of chance.
void EndPublishedProgram() {
    const ULONGLONG deadline = ::GetTickCount64() + 30'000;
    for (bool isEnded = false; !isEnded && ::GetTickCount64() < deadline; ::Sleep(1)) {
        const std::lock_guard guard(jobProgress.lock);
        isEnded =
            jobProgress.childProcess != nullptr && ::TerminateProcess(jobProgress.childProcess, 1);
    }
}

// Opens the nth recorder's process, which runs.
KernelHandle AwaitProcess(const UnpackerMachine& machine, size_t number) {
    return bench::OpenRunningProcess(machine.AwaitRuns(number).at(number - 1).processId);
}

TEST(StopDuringExtraction, EndsEachRarProgramAndShows0ForTheLast) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.ToolFolder() / L"unrar.exe", "hold");
    machine.PutRecorder(machine.ToolFolder() / L"7z.exe", "hold");
    BackgroundExtraction extraction(machine, kRarStart);
    const KernelHandle first = AwaitProcess(machine, 1);

    jobProgress.cancelRequested = true;

    EXPECT_EQ(bench::AwaitExitCode(first), 1u);
    // The next program is still started, and ended at its first poll.
    const KernelHandle second = AwaitProcess(machine, 2);
    EXPECT_EQ(bench::AwaitExitCode(second), 1u);
    EXPECT_FALSE(extraction.Result());
    EXPECT_THAT(snapshot().errorMessage,
                testing::StartsWith(L"RAR extraction failed with 7z.exe exit code 0."));
    EXPECT_EQ(machine.Runs().size(), 2u);
    EXPECT_NE(jobProgress.childProcess, nullptr);
}

TEST(StopDuringExtraction, ReachesTheLastRarProgramToo) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.ToolFolder() / L"unrar.exe", "exit 3");
    machine.PutRecorder(machine.ToolFolder() / L"7z.exe", "exit 4");
    machine.PutRecorder(machine.ToolFolder() / L"7za.exe", "hold");
    BackgroundExtraction extraction(machine, kRarStart);
    const KernelHandle last = AwaitProcess(machine, 3);

    jobProgress.cancelRequested = true;

    EXPECT_EQ(bench::AwaitExitCode(last), 1u);
    EXPECT_FALSE(extraction.Result());
    EXPECT_THAT(snapshot().errorMessage,
                testing::StartsWith(L"RAR extraction failed with 7za.exe exit code 0."));
}

TEST(StopDuringExtraction, Shows1WhenTheWindowEndedTheLastProgram) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.ToolFolder() / L"7z.exe", "hold");
    BackgroundExtraction extraction(machine, kRarStart);
    machine.AwaitRuns(1);

    EndPublishedProgram();

    EXPECT_FALSE(extraction.Result());
    EXPECT_THAT(snapshot().errorMessage,
                testing::StartsWith(L"RAR extraction failed with 7z.exe exit code 1."));
    EXPECT_EQ(jobProgress.childProcess, nullptr);
}

TEST(StopDuringExtraction, ComesToAnEndWhoeverEndsTheProgram) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.ToolFolder() / L"unrar.exe", "hold");
    machine.PutRecorder(machine.ToolFolder() / L"7z.exe", "hold");
    BackgroundExtraction extraction(machine, kRarStart);
    const KernelHandle first = AwaitProcess(machine, 1);

    requestCancel();

    EXPECT_EQ(bench::AwaitExitCode(first), 1u);
    EXPECT_FALSE(extraction.Result());
    // The window ends one program; the next one is for the poll.
    EXPECT_THAT(snapshot().errorMessage,
                testing::StartsWith(L"RAR extraction failed with 7z.exe exit code 0."));
}

TEST(StopDuringExtraction, EndsTarAndThenPowerShell) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "hold");
    machine.PutRecorder(machine.CurrentFolder() / L"powershell.exe", "hold");
    BackgroundExtraction extraction(machine, kZipStart);
    const KernelHandle tar = AwaitProcess(machine, 1);

    jobProgress.cancelRequested = true;

    EXPECT_EQ(bench::AwaitExitCode(tar), 1u);
    const KernelHandle powerShell = AwaitProcess(machine, 2);
    EXPECT_EQ(bench::AwaitExitCode(powerShell), 1u);
    EXPECT_FALSE(extraction.Result());
    EXPECT_EQ(snapshot().errorMessage, kZipFailed);
}

TEST(StopDuringExtraction, EndsPowerShellAfterAFailedTar) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "exit 1");
    machine.PutRecorder(machine.CurrentFolder() / L"powershell.exe", "hold");
    BackgroundExtraction extraction(machine, kZipStart);
    const KernelHandle powerShell = AwaitProcess(machine, 2);

    requestCancel();

    EXPECT_EQ(bench::AwaitExitCode(powerShell), 1u);
    EXPECT_FALSE(extraction.Result());
    EXPECT_EQ(snapshot().errorMessage, kZipFailed);
}

// Files appear one by one; the folder counts as filled with the first.
bool AwaitFilling(const std::filesystem::path& folder) {
    const ULONGLONG deadline = ::GetTickCount64() + 30'000;
    while (bench::FolderListing(folder).empty()) {
        if (::GetTickCount64() > deadline) {
            return false;
        }
        ::Sleep(1);
    }
    return true;
}

// Programs that end leave their open files to others a moment later.
bool RemoveInTheEnd(const std::filesystem::path& folder) {
    const ULONGLONG deadline = ::GetTickCount64() + 30'000;
    while (std::filesystem::exists(folder) && ::GetTickCount64() < deadline) {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    return !std::filesystem::exists(folder);
}

TEST(StopDuringExtraction, EndsARealUnpackingInTheMiddle) {
    const UnpackerMachine machine;
    machine.PutTar();
    machine.PutRecorder(machine.CurrentFolder() / L"powershell.exe", "hold");
    const std::string package = bench::ReadFile(bench::PackagePath(L"zip_many.zip"));
    {
        BackgroundExtraction extraction(machine, package);
        ASSERT_TRUE(AwaitFilling(machine.StagingFolder()));

        requestCancel();

        EXPECT_FALSE(extraction.Result());
    }
    EXPECT_EQ(snapshot().errorMessage, kZipFailed);
    const bench::Contents unpacked = bench::FolderContents(machine.StagingFolder());
    EXPECT_LT(unpacked.size(), bench::PackageContents(L"zip_many.zip").size());
    EXPECT_TRUE(RemoveInTheEnd(machine.StagingFolder()));
}

TEST(StopDuringExtraction, LeavesWhatWasUnpacked) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "hold");
    machine.PutRecorder(machine.CurrentFolder() / L"powershell.exe", "hold");
    bench::WriteFile(machine.StagingFolder() / L"Client" / L"half.dat", "half");
    BackgroundExtraction extraction(machine, kZipStart);
    machine.AwaitRuns(1);
    jobProgress.cancelRequested = true;
    EXPECT_FALSE(extraction.Result());
    EXPECT_THAT(bench::FolderListing(machine.StagingFolder()),
                testing::ElementsAre(L"Client/", L"Client/half.dat"));
}

TEST(StopBeforeExtraction, StillStartsEveryProgram) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.ToolFolder() / L"unrar.exe", "hold");
    machine.PutRecorder(machine.ToolFolder() / L"7z.exe", "hold");
    machine.PutRecorder(machine.ToolFolder() / L"7za.exe", "hold");
    jobProgress.cancelRequested = true;
    BackgroundExtraction extraction(machine, kRarStart);
    EXPECT_FALSE(extraction.Result());
    EXPECT_EQ(machine.Runs().size(), 3u);
    EXPECT_THAT(snapshot().errorMessage,
                testing::StartsWith(L"RAR extraction failed with 7za.exe exit code 0."));
}

decltype(&::WaitForSingleObject) realWait;

// Once a stop is asked for, waits begin so long before the next poll that a quick program ends
// first.
DWORD WINAPI WaitLongerAfterTheRequest(HANDLE handle, DWORD milliseconds) {
    return realWait(handle, jobProgress.cancelRequested ? 60'000 : milliseconds);
}

TEST(StopBetweenPrograms, LetsAQuickNextProgramFinish) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.ToolFolder() / L"unrar.exe", "hold");
    machine.PutRecorder(machine.ToolFolder() / L"7z.exe", "exit 0");
    const ImportHook hook(L"kernel32.dll", "WaitForSingleObject",
                          reinterpret_cast<void*>(&WaitLongerAfterTheRequest));
    ASSERT_TRUE(hook.Installed());
    realWait = hook.Original<decltype(&::WaitForSingleObject)>();
    BackgroundExtraction extraction(machine, kRarStart);
    machine.AwaitRuns(1);

    // Not requestCancel(): the poll shall end the first program.
    jobProgress.cancelRequested = true;

    EXPECT_TRUE(extraction.Result());
    EXPECT_FALSE(jobProgress.failed);
    const std::vector<ProgramRun> runs = machine.Runs();
    ASSERT_EQ(runs.size(), 2u);
    EXPECT_EQ(runs[0].endCode, std::nullopt);
    EXPECT_EQ(runs[1].endCode, 0u);
    EXPECT_EQ(jobProgress.childProcess, nullptr);
}

}  // namespace
