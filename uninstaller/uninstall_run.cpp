#include "uninstaller/uninstall_run.h"

#include <string>

#include "common/tool_instance.h"
#include "common/windows_api.h"
#include "config/tool_config.h"
#include "uninstaller/client_removal.h"
#include "uninstaller/uninstall_guard.h"
#include "uninstaller/uninstall_texts.h"

namespace {

int ShowBox(const std::wstring& text, UINT style) {
    return ::MessageBoxW(nullptr, text.c_str(), CaptionText(toolConfig).c_str(),
                         style | MB_SETFOREGROUND);
}

// No is the default: an unthinking Enter must not cost anybody a game.
bool Confirm() {
    const std::wstring question = QuestionText(toolConfig, toolFolder, MeasureClient(toolFolder));
    return ShowBox(question, MB_YESNO | MB_DEFBUTTON2 | MB_ICONWARNING) == IDYES;
}

// Says why, when the client folder is to be left alone.
bool IsRefused() {
    const Refusal refusal = FindRefusal();
    if (refusal == Refusal::None) {
        return false;
    }
    const std::wstring registered = RegisteredFolder(toolConfig).value_or(L"");
    ShowBox(RefusalText(refusal, toolConfig, registered), MB_OK | MB_ICONERROR);
    return true;
}

}  // namespace

bool RunUninstall() {
    // Asked again after the question, which may have stood for hours.
    if (IsRefused() || !Confirm() || IsRefused()) {
        return false;
    }
    const RemovalResult result = RemoveGame();
    const bool isComplete = result.left.empty() && !result.entryLeft;
    ShowBox(ReportText(toolConfig, result),
            MB_OK | (isComplete ? MB_ICONINFORMATION : MB_ICONWARNING));
    return isComplete;
}

void ReportMissingConfiguration() {
    ::MessageBoxW(nullptr, L"This uninstaller does not know its game.\n\nNothing was removed.",
                  L"Uninstall", MB_OK | MB_ICONERROR | MB_SETFOREGROUND);
}

void ReportFailedStart() {
    ShowBox(
        L"The uninstaller could not be started from the temporary folder.\n\nNothing was "
        L"removed.",
        MB_OK | MB_ICONERROR);
}
