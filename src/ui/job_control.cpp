#include "ui/job_control.h"

#include "config/tool_config.h"
#include "job/job_flow.h"
#include "job/job_thread.h"
#include "system/startup_program.h"
#include "ui/buttons.h"
#include "ui/commands.h"
#include "ui/questions.h"
#include "ui/window_state.h"

namespace {

void Repaint(HWND window) {
    ::InvalidateRect(window, nullptr, FALSE);
}

// Each mark is set before its action: the timer ticks while the question is open.
void FollowUpSuccess(HWND window, JobKind kind) {
    const bool shortcutWanted = toolConfig.offerDesktopShortcut && !toolConfig.startupExe.empty();
    if (kind == JobKind::Reinstall && shortcutWanted && !windowState.shortcutOffered) {
        windowState.shortcutOffered = true;
        if (OfferShortcut(window)) {
            CreateShortcut(window);
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

void StartJob(HWND window, JobKind kind, std::wstring_view packageUrl) {
    const bool started = beginJob(kind, packageUrl, [window] {
        ClearEndOfJobMarks();
        EnableJobButtons(window, false);
        RefreshButtons(window);
    });
    if (started) {
        Repaint(window);
    }
}

void OnTick(HWND window) {
    if (!JobThreadExists() && !jobProgress.running) {
        return;
    }
    CollectEndedJob(window);
    Repaint(window);
}

void PrepareRetry(HWND window) {
    resetForRetry();
    ClearEndOfJobMarks();
    EnableJobButtons(window, true);
    RefreshButtons(window);
    Repaint(window);
}

void CloseAfterQuestion(HWND window) {
    if (!ConfirmClose(window)) {
        return;
    }
    if (JobThreadExists()) {
        requestCancel();
        JoinJobThread();
    }
    jobProgress.running = false;
    ::DestroyWindow(window);
}
