#include "extract/process_runner.h"

#include <mutex>
#include <string>

#include "common/handles.h"
#include "extract/extraction_texts.h"
#include "job/progress/job_progress.h"

namespace {

constexpr DWORD kPollIntervalMs = 250;
constexpr UINT kCancelledExitCode = 1;
constexpr DWORD kUnknownExitCode = 1;

// Null when the program cannot be started.
KernelHandle StartHidden(std::wstring_view commandLine) {
    std::wstring buffer(commandLine);  // The call may write into it.
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESHOWWINDOW;
    startup.wShowWindow = SW_HIDE;
    PROCESS_INFORMATION started{};
    if (!::CreateProcessW(nullptr, buffer.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW,
                          nullptr, nullptr, &startup, &started)) {
        return nullptr;
    }
    const KernelHandle thread(started.hThread);
    return KernelHandle(started.hProcess);
}

void PublishChild(HANDLE process) {
    const std::lock_guard guard(jobProgress.lock);
    jobProgress.childProcess = process;
    jobProgress.state.stage = JobStage::Extracting;
    jobProgress.state.statusLine = kExtractingStatus;
    jobProgress.state.detailLine = kPreparingFilesDetail;
}

void WithdrawChild() {
    const std::lock_guard guard(jobProgress.lock);
    jobProgress.childProcess = nullptr;
}

// False after a stop request, which also terminates the program.
bool WaitUnlessCancelled(HANDLE process) {
    while (::WaitForSingleObject(process, kPollIntervalMs) == WAIT_TIMEOUT) {
        if (jobProgress.cancelRequested) {
            ::TerminateProcess(process, kCancelledExitCode);
            return false;
        }
    }
    return true;
}

}  // namespace

bool RunHiddenAndWait(std::wstring_view commandLine, DWORD* exitCode) {
    const KernelHandle process = StartHidden(commandLine);
    if (!process) {
        if (exitCode != nullptr) {
            *exitCode = kNotStartedExitCode;
        }
        return false;
    }
    PublishChild(process.get());
    if (!WaitUnlessCancelled(process.get())) {
        return false;
    }
    DWORD code = kUnknownExitCode;
    ::GetExitCodeProcess(process.get(), &code);  // If it fails, kUnknownExitCode stays.
    if (exitCode != nullptr) {
        *exitCode = code;
    }
    // Before the handle is closed, or the window could terminate another process through it.
    WithdrawChild();
    return code == 0;
}
