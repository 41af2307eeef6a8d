#include "ui/commands.h"

#include <string>

#include "common/shell_api.h"
#include "config/tool_config.h"
#include "package/package_source.h"
#include "system/startup_program.h"
#include "ui/button_table.h"
#include "ui/buttons.h"
#include "ui/job_control.h"
#include "ui/questions.h"
#include "ui/shortcut_command.h"
#include "ui/window_state.h"

namespace {

void RepairClient(HWND window) {
    beginJob(window, JobKind::Repair, ChoosePackageUrl(toolConfig, primaryServerChosen));
}

// Always uses the primary server, whichever is chosen.
void ReinstallGame(HWND window) {
    if (ConfirmReinstall(window)) {
        beginJob(window, JobKind::Reinstall, {});
    }
}

void ChooseServer(HWND window, bool primary) {
    primaryServerChosen = primary;
    InvalidateServerButtons(window);
}

void OpenLink(HWND window, const std::wstring& url) {
    if (!url.empty()) {
        ::ShellExecuteW(window, L"open", url.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
    }
}

}  // namespace

void RunCommand(HWND window, int controlId) {
    switch (static_cast<ButtonId>(controlId)) {
        case ButtonId::RepairClient:
            return RepairClient(window);
        case ButtonId::PrimaryServer:
            return ChooseServer(window, true);
        case ButtonId::SecondServer:
            return ChooseServer(window, false);
        case ButtonId::ReinstallGame:
            return ReinstallGame(window);
        case ButtonId::CreateShortcut:
            if (CreateShortcut(window)) {
                RepaintWindow(window);
            }
            return;
        case ButtonId::RunPatcher:
            return LaunchStartupProgram();
        case ButtonId::Website:
            return OpenLink(window, toolConfig.websiteUrl);
        case ButtonId::Discord:
            return OpenLink(window, toolConfig.discordUrl);
        case ButtonId::Retry:
            return PrepareRetry(window);
        case ButtonId::Close:
        case ButtonId::CloseMark:
            ::SendMessageW(window, WM_CLOSE, 0, 0);
            return;
        case ButtonId::Minimize:
            ::ShowWindow(window, SW_MINIMIZE);
            return;
    }
}
