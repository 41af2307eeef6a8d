#include "job/progress/job_progress.h"

#include <utility>

JobProgress jobProgress;

void resetJobProgress() noexcept {
    jobProgress.cancelRequested.exchange(false);
    jobProgress.running.exchange(false);
    jobProgress.finished.exchange(false);
    jobProgress.failed.exchange(false);
    const std::lock_guard guard(jobProgress.lock);
    jobProgress.state = JobState{};
    jobProgress.childProcess = nullptr;
}

void reportStage(JobStage stage, std::wstring_view statusLine,
                 std::wstring_view detailLine) noexcept {
    UpdateJobState([&](JobState& state) {
        state.stage = stage;
        state.statusLine = statusLine;
        state.detailLine = detailLine;
    });
}

void reportFailure(std::wstring message) noexcept {
    const std::lock_guard guard(jobProgress.lock);
    jobProgress.state.stage = JobStage::Failed;
    // `running` is last, so that a reader who sees it false also sees the other two.
    jobProgress.failed.exchange(true);
    jobProgress.finished.exchange(true);
    jobProgress.running.exchange(false);
    jobProgress.state.errorMessage = message;
    jobProgress.state.statusLine = L"Repair failed.";
    jobProgress.state.detailLine = std::move(message);
}

void ReportSuccess(std::wstring_view statusLine) noexcept {
    const std::lock_guard guard(jobProgress.lock);
    jobProgress.state.stage = JobStage::Done;
    jobProgress.running.exchange(false);
    jobProgress.finished.exchange(true);
    jobProgress.failed.exchange(false);
    jobProgress.state.statusLine = statusLine;
    if (jobProgress.state.detailLine.empty()) {
        jobProgress.state.detailLine = L"Client is ready.";
    }
}

void ClearForJobStart(JobKind kind) noexcept {
    jobProgress.cancelRequested.exchange(false);
    jobProgress.running.exchange(true);
    jobProgress.finished.exchange(false);
    jobProgress.failed.exchange(false);
    const std::lock_guard guard(jobProgress.lock);
    jobProgress.state = JobState{};
    jobProgress.state.kind = kind;
    jobProgress.state.statusLine.clear();
    jobProgress.childProcess = nullptr;
}

void MarkAsNotRunning() noexcept {
    jobProgress.running.exchange(false);
}

JobState snapshot() noexcept {
    const std::lock_guard guard(jobProgress.lock);
    return jobProgress.state;
}

void requestCancel() noexcept {
    jobProgress.cancelRequested.exchange(true);
    const std::lock_guard guard(jobProgress.lock);
    if (jobProgress.childProcess != nullptr) {
        ::TerminateProcess(jobProgress.childProcess, 1);
    }
}
