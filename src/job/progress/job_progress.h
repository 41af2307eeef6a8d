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
    Extracting = 3,        // Unpacking, and lifting a lone top folder.
    Finishing = 4,         // Clean-out, client files, uninstaller, registration.
    Done = 5,
    Failed = 6,
};

// Everything asks only whether the kind is Reinstall; any other value behaves as a repair.
enum class JobKind : uint32_t {
    None = 0,  // No job since the start or the last reset.
    Repair = 1,
    Reinstall = 2,
};

// The part of the job's record that the window paints: always read and written as one, under
// JobProgress::lock, so that stage, counters and texts agree.
struct JobState {
    JobStage stage = JobStage::Idle;
    JobKind kind = JobKind::None;
    uint64_t bytesTotal = 0;     // Size of the package; 0 when the server does not tell.
    uint64_t bytesReceived = 0;  // May exceed bytesTotal when the server misstates it.
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
// `running` false together with `finished` true means that the job has ended; a failure changes
// the flags in the order failed, finished, running, so whoever sees `running` false also sees
// `finished` true. The flags are changed by sequentially consistent exchanges and read without the
// lock.
//
// Locking fails only when the mutex itself is broken. Nobody could go on then, and no exception may
// travel through a window procedure: the operations are noexcept, so that a failure ends the
// program.
struct JobProgress {
    std::atomic<bool> cancelRequested = false;  // Set by the window; loops of the job poll it.
    std::atomic<bool> running = false;          // From the job's start to its end.
    std::atomic<bool> finished = false;         // The job has ended, in success or failure.
    std::atomic<bool> failed = false;           // It ended through reportFailure.

    std::mutex lock;  // Guards all below; held for copies only, never across work.
    JobState state;
    // The unpacking program that the job waits for, or null. Borrowed: the process runner owns the
    // handle. After a cancelled wait the value stays, though the handle behind it is closed.
    HANDLE childProcess = nullptr;
};

extern JobProgress jobProgress;

// Locks the record for one change: `change` gets the JobState by reference. Short work only.
template <typename Change>
void UpdateJobState(Change change) noexcept {
    const std::lock_guard guard(jobProgress.lock);
    change(jobProgress.state);
}

// Puts everything back to the values of a fresh start: "Ready.", no flag set. Only while no job
// thread exists.
void resetJobProgress() noexcept;

// What a stage does when it begins something: stage and both texts change in one step.
void reportStage(JobStage stage, std::wstring_view statusLine,
                 std::wstring_view detailLine) noexcept;

// How a failing stage ends the job: stage Failed, headline "Repair failed." for both kinds of job,
// `message` as detail and error. By value, so that the record's own texts may be passed. Posts
// nothing; the window notices on its next tick.
void reportFailure(std::wstring message) noexcept;

// How the job flow ends a successful job. The last stage's detail stays; "Client is ready." stands
// in for an empty one.
void ReportSuccess(std::wstring_view statusLine) noexcept;

// The record's half of a job's start: flags and state as a running job of `kind` has them at
// first. Only while no job thread exists.
void ClearForJobStart(JobKind kind) noexcept;

// Clears `running` alone: a stopped job may end without a report. Only while no job thread exists.
void MarkAsNotRunning() noexcept;

// A consistent copy for painting.
[[nodiscard]] JobState snapshot() noexcept;

// Asks the job to stop and ends the unpacking program it waits for, with exit code 1. Window
// thread. Returns at once; the job ends when it notices.
void requestCancel() noexcept;
