#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include "common/windows_api.h"

// What the one job is doing. The numbers decide what the window shows as progress.
enum class JobStage : uint32_t {
    Idle = 0,              // Nothing reported yet.
    Downloading = 1,       // From the job's start to the end of the download.
    VerifyingPackage = 2,  // The SHA-256 check.
    Extracting = 3,        // Unpacking and flattening.
    Finishing = 4,         // Clean-out, client files, uninstaller, registration.
    Done = 5,
    Failed = 6,
};

// The code only ever tests for Reinstall; any other value behaves as a repair.
enum class JobKind : uint32_t {
    None = 0,  // No job since the start or the last reset.
    Repair = 1,
    Reinstall = 2,
};

// The part of the record that the window paints. Read and written under JobProgress::lock, so that
// stage, counters and texts match.
struct JobState {
    JobStage stage = JobStage::Idle;
    JobKind kind = JobKind::None;
    uint64_t bytesTotal = 0;     // Size of the package; 0 if unknown.
    uint64_t bytesReceived = 0;  // May exceed a wrong bytesTotal.
    double bytesPerSecond = 0.0;
    uint64_t filesTotal = 0;
    uint64_t filesDone = 0;               // Client files handled so far.
    uint64_t filesRepaired = 0;           // Client files copied so far.
    std::wstring statusLine = L"Ready.";  // The headline.
    std::wstring detailLine;              // What is being done, or the failure's message.
    std::wstring errorMessage;            // The message of the last failure, else empty.
};

// The one record that the job thread and the window share.
//
// `running` false and `finished` true mean that the job has ended. A failure sets the flags in the
// order failed, finished, running, so a reader who sees `running` false also sees `finished` true.
// The flags are changed by sequentially consistent exchanges and read without the lock.
//
// Locking fails only if the mutex itself is broken. The operations are noexcept, so that this ends
// the program and no exception leaves a window procedure.
struct JobProgress {
    std::atomic<bool> cancelRequested = false;  // Set by the window; polled by the job's loops.
    std::atomic<bool> running = false;          // From the job's start to its end.
    std::atomic<bool> finished = false;         // The job has ended, in success or failure.
    std::atomic<bool> failed = false;           // It ended through reportFailure.

    std::mutex lock;  // Guards the fields below; held for copies only, never across work.
    JobState state;
    // The unpacking program that the job waits for, or null. Borrowed from the process runner,
    // which closes the handle. A cancelled wait leaves a stale value.
    HANDLE childProcess = nullptr;
};

extern JobProgress jobProgress;

// Locks the record for one change: `change` gets the JobState by reference. Short work only.
template <typename Change>
void UpdateJobState(Change change) noexcept {
    const std::lock_guard guard(jobProgress.lock);
    change(jobProgress.state);
}

// Resets everything to its initial value: "Ready.", no flag set. Only while no job thread exists.
void resetJobProgress() noexcept;

// How a stage announces its next step: sets the stage and both texts at once.
void reportStage(JobStage stage, std::wstring_view statusLine,
                 std::wstring_view detailLine) noexcept;

// How a failing stage ends the job: stage Failed, headline "Repair failed." for both kinds of job,
// `message` as detail and error. Takes the message by value, so that the record's own texts can be
// passed. Posts nothing; the window notices on its next tick.
void reportFailure(std::wstring message) noexcept;

// How the job flow ends a successful job. The last detail line stays; only an empty one becomes
// "Client is ready.".
void ReportSuccess(std::wstring_view statusLine) noexcept;

// Sets flags and state to those of a job of `kind` that has just been started. Only while no job
// thread exists.
void ClearForJobStart(JobKind kind) noexcept;

// Clears `running` and nothing else, because a cancelled job may end without a report. Only while
// no job thread exists.
void MarkAsNotRunning() noexcept;

// A consistent copy for painting.
[[nodiscard]] JobState snapshot() noexcept;

// Asks the job to stop and terminates the unpacking program that it waits for, with exit code 1.
// Window thread. Returns at once; the job ends when it notices.
void requestCancel() noexcept;
