#include "ui/job_control.h"

#include "config/tool_config.h"
#include "job/job_flow.h"
#include "job/job_thread.h"
#include "system/startup_program.h"
#include "ui/buttons.h"
#include "ui/questions.h"
#include "ui/shortcut_command.h"
#include "ui/window_state.h"

namespace {

// Each mark is set before its action, because the timer ticks while the question is open. After the
// answer, the window may be closed or the next job running: two boxes can be open at once, and
// closing one re-enables the main window.
void FollowUpSuccess(HWND window, JobKind kind) {
    const bool shortcutWanted = toolConfig.offerDesktopShortcut && !toolConfig.startupExe.empty();
    if (kind == JobKind::Reinstall && shortcutWanted && !windowState.shortcutOffered) {
        windowState.shortcutOffered = true;
        const bool accepted = OfferShortcut(window);
        if (!::IsWindow(window) || JobThreadExists()) {
            return;
        }
        if (accepted) {
            static_cast<void>(CreateShortcut(window));  // OnTick repaints the window anyway.
        }
    }
    if (toolConfig.runAfterInstall && !windowState.launchDone) {
        windowState.launchDone = true;
        LaunchStartupProgram();
    }
}

void CollectEndedJob(HWND window) {
    if (!JobAwaitsCollection()) {
        return;
    }
    const JobKind kind = snapshot().kind;
    JoinJobThread();
    EnableJobButtons(window, true);
    if (jobProgress.finished && !jobProgress.failed) {
        FollowUpSuccess(window, kind);
    }
    RefreshButtons(window);
}

}  // namespace

void beginJob(HWND window, JobKind kind, std::wstring_view packageUrl) {
    if (!PrepareJob(kind, packageUrl)) {
        return;
    }
    ClearEndOfJobMarks();
    EnableJobButtons(window, false);
    RefreshButtons(window);
    StartJobThread([kind] { runJob(kind); });
    RepaintWindow(window);
}

void OnTick(HWND window) {
    if (!JobThreadExists() && !jobProgress.running) {
        return;
    }
    CollectEndedJob(window);
    RepaintWindow(window);
}

void PrepareRetry(HWND window) {
    if (jobProgress.running) {
        return;  // The button is hidden, but UI automation can still press it.
    }
    resetForRetry();
    ClearEndOfJobMarks();
    EnableJobButtons(window, true);
    RefreshButtons(window);
    RepaintWindow(window);
}

void CloseAfterQuestion(HWND window) {
    if (!ConfirmClose(window)) {
        return;
    }
    StopJob();
    MarkAsNotRunning();
    ::DestroyWindow(window);
}

void StopJob() {
    if (JobThreadExists()) {
        requestCancel();
        JoinJobThread();
    }
}
