#include "ui/shortcut_command.h"

#include <string>

#include "job/progress/job_progress.h"
#include "system/desktop_shortcut.h"
#include "ui/buttons.h"
#include "ui/questions.h"

bool CreateShortcut(HWND window) {
    std::wstring message;
    if (!CreateDesktopShortcut(message)) {
        ShowShortcutFailure(window, message);
        return false;
    }
    UpdateJobState([&message](JobState& state) { state.detailLine = message; });
    MarkShortcutCreated(window);
    return true;
}
