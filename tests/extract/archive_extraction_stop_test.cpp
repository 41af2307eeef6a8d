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

#include "bench_parts/import_hook.h"
#include "bench_parts/package_contents.h"
#include "bench_parts/unpacker_machine.h"
#include "extract/archive_extraction.h"
#include "job/progress/job_progress.h"

namespace {

using bench::ImportHook;
using bench::UnpackerMachine;
using testing::ElementsAre;
using testing::Optional;

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

decltype(&::WaitForSingleObject) realWait;

// Keeps each recorder that is waited for, so that its exit code can be asked for after its end, and
// lets the first wait begin when the recorder has noted its start: on a busy machine that can take
// longer than the time to the first poll, which ends it once a stop is asked for.
//
// Only the first `polled` programs are polled. For the others the next poll is so long in coming
// that they end first.
class WatchedPrograms {
public:
    explicit WatchedPrograms(const UnpackerMachine& machine, size_t polled = SIZE_MAX)
        : machine_(machine),
          polled_(polled),
          hook_(std::in_place, L"kernel32.dll", "WaitForSingleObject",
                reinterpret_cast<void*>(&Wait)) {
        EXPECT_TRUE(hook_->Installed());
        realWait = hook_->Original<decltype(&::WaitForSingleObject)>();
        current = this;
    }
    ~WatchedPrograms() {
        current = nullptr;
    }
    WatchedPrograms(const WatchedPrograms&) = delete;
    WatchedPrograms& operator=(const WatchedPrograms&) = delete;

    // In the order of their start. Ends the watching; only when no extraction runs any more.
    std::vector<std::optional<DWORD>> TakeExitCodes() {
        hook_.reset();
        std::vector<std::optional<DWORD>> codes(programs_.size());
        std::transform(programs_.begin(), programs_.end(), codes.begin(), bench::AwaitExitCode);
        return codes;
    }

private:
    static DWORD WINAPI Wait(HANDLE handle, DWORD milliseconds) {
        // Other things than programs are waited for as well, a thread above all.
        const DWORD processId = ::GetProcessId(handle);
        if (processId != 0 && processId != current->lastProcessId_) {
            current->lastProcessId_ = processId;
            current->programs_.push_back(Duplicate(handle));
            current->machine_.AwaitRuns(current->programs_.size());
        }
        const bool isPolled = processId == 0 || current->programs_.size() <= current->polled_;
        return realWait(handle, isPolled ? milliseconds : 60'000);
    }

    // Not by the id: a quick program can be over by now.
    static KernelHandle Duplicate(HANDLE process) {
        HANDLE duplicate = nullptr;
        ::DuplicateHandle(::GetCurrentProcess(), process, ::GetCurrentProcess(), &duplicate, 0,
                          FALSE, DUPLICATE_SAME_ACCESS);
        return KernelHandle(duplicate);
    }

    static WatchedPrograms* current;
    const UnpackerMachine& machine_;
    size_t polled_;
    DWORD lastProcessId_ = 0;
    std::vector<KernelHandle> programs_;
    std::optional<ImportHook> hook_;
};
WatchedPrograms* WatchedPrograms::current = nullptr;

TEST(StopDuringExtraction, EndsEachRarProgramAndShows0ForTheLast) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.ToolFolder() / L"unrar.exe", "hold");
    machine.PutRecorder(machine.ToolFolder() / L"7z.exe", "hold");
    WatchedPrograms programs(machine);
    BackgroundExtraction extraction(machine, kRarStart);
    machine.AwaitRuns(1);

    jobProgress.cancelRequested = true;

    EXPECT_FALSE(extraction.Result());
    // The second program was still started, and ended at its first poll.
    EXPECT_THAT(programs.TakeExitCodes(), ElementsAre(Optional(1u), Optional(1u)));
    EXPECT_THAT(snapshot().errorMessage,
                testing::StartsWith(L"RAR extraction failed with 7z.exe exit code 0."));
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
    WatchedPrograms programs(machine);
    BackgroundExtraction extraction(machine, kZipStart);
    machine.AwaitRuns(1);

    jobProgress.cancelRequested = true;

    EXPECT_FALSE(extraction.Result());
    EXPECT_THAT(programs.TakeExitCodes(), ElementsAre(Optional(1u), Optional(1u)));
    EXPECT_EQ(snapshot().errorMessage, kZipFailed);
}

TEST(StopDuringExtraction, EndsPowerShellWhenTheWindowEndedTar) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "hold");
    machine.PutRecorder(machine.CurrentFolder() / L"powershell.exe", "hold");
    WatchedPrograms programs(machine);
    BackgroundExtraction extraction(machine, kZipStart);
    machine.AwaitRuns(1);

    requestCancel();

    EXPECT_FALSE(extraction.Result());
    // The window ends one program; the other one is for the poll.
    EXPECT_THAT(programs.TakeExitCodes(), ElementsAre(Optional(1u), Optional(1u)));
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
    EXPECT_LT(bench::FolderListing(machine.StagingFolder()).size(),
              bench::PackageContents(L"zip_many.zip").size());
    EXPECT_TRUE(RemoveInTheEnd(machine.StagingFolder()));
}

// A RAR 5 package that keeps the unpacking program busy: the entries of a small one many times
// over, between the signature with the main header and the block that ends it.
std::string LongRar() {
    constexpr size_t kStartBytes = 16;
    constexpr size_t kEndBytes = 8;
    constexpr int kTimes = 5'000;
    const std::string whole = bench::ReadFile(bench::PackagePath(L"rar5_unicode.rar"));
    const std::string end = whole.substr(whole.size() - kEndBytes);
    const std::string entries = whole.substr(kStartBytes, whole.size() - kStartBytes - kEndBytes);
    std::string package = whole.substr(0, kStartBytes);
    for (int i = 0; i < kTimes; ++i) {
        package += entries;
    }
    return package + end;
}

TEST(StopDuringExtraction, EndsARealRarUnpackingInTheMiddle) {
    const UnpackerMachine machine;
    machine.PutSevenZip(machine.ToolFolder() / L"7z.exe");
    {
        BackgroundExtraction extraction(machine, LongRar());
        ASSERT_TRUE(AwaitFilling(machine.StagingFolder()));

        jobProgress.cancelRequested = true;

        EXPECT_FALSE(extraction.Result());
    }
    // Had the program come to its own end, it would have been a success.
    EXPECT_THAT(snapshot().errorMessage,
                testing::StartsWith(L"RAR extraction failed with 7z.exe exit code 0."));
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
                ElementsAre(L"Client/", L"Client/half.dat"));
}

TEST(StopBeforeExtraction, StillStartsEveryProgram) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.ToolFolder() / L"unrar.exe", "hold");
    machine.PutRecorder(machine.ToolFolder() / L"7z.exe", "hold");
    machine.PutRecorder(machine.ToolFolder() / L"7za.exe", "hold");
    WatchedPrograms programs(machine);
    jobProgress.cancelRequested = true;
    BackgroundExtraction extraction(machine, kRarStart);
    EXPECT_FALSE(extraction.Result());
    EXPECT_THAT(programs.TakeExitCodes(), ElementsAre(Optional(1u), Optional(1u), Optional(1u)));
    EXPECT_THAT(snapshot().errorMessage,
                testing::StartsWith(L"RAR extraction failed with 7za.exe exit code 0."));
}

TEST(StopBetweenPrograms, LetsAQuickNextRarProgramFinish) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.ToolFolder() / L"unrar.exe", "hold");
    machine.PutRecorder(machine.ToolFolder() / L"7z.exe", "exit 0");
    WatchedPrograms programs(machine, 1);
    BackgroundExtraction extraction(machine, kRarStart);
    machine.AwaitRuns(1);

    // Not requestCancel(): the poll shall end the first program.
    jobProgress.cancelRequested = true;

    EXPECT_TRUE(extraction.Result());
    EXPECT_FALSE(jobProgress.failed);
    EXPECT_THAT(programs.TakeExitCodes(), ElementsAre(Optional(1u), Optional(0u)));
    EXPECT_EQ(jobProgress.childProcess, nullptr);
}

TEST(StopBetweenPrograms, LetsAQuickPowerShellFinish) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "hold");
    machine.PutRecorder(machine.CurrentFolder() / L"powershell.exe", "exit 0");
    WatchedPrograms programs(machine, 1);
    BackgroundExtraction extraction(machine, kZipStart);
    machine.AwaitRuns(1);

    jobProgress.cancelRequested = true;

    EXPECT_TRUE(extraction.Result());
    EXPECT_FALSE(jobProgress.failed);
    EXPECT_THAT(programs.TakeExitCodes(), ElementsAre(Optional(1u), Optional(0u)));
    EXPECT_EQ(jobProgress.childProcess, nullptr);
}

}  // namespace
