#include "uninstaller/uninstall_run.h"

#include <string>

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

// No is the default, so that pressing Enter by accident removes nothing.
bool Confirm(const std::wstring& folder) {
    const std::wstring question = QuestionText(toolConfig, folder, MeasureClient(folder));
    return ShowBox(question, MB_YESNO | MB_DEFBUTTON2 | MB_ICONWARNING) == IDYES;
}

// Shows the reason if not.
bool IsApproved(const Verdict& verdict) {
    if (verdict.refusal == Refusal::None) {
        return true;
    }
    ShowBox(RefusalText(toolConfig, verdict), MB_OK | MB_ICONERROR);
    return false;
}

}  // namespace

bool RunUninstall() {
    const Verdict verdict = JudgeClient();
    if (!IsApproved(verdict) || !Confirm(verdict.client.folder)) {
        return false;
    }
    // The question may have been open for hours.
    if (!IsApproved(JudgeClientAgain(verdict.client))) {
        return false;
    }
    const RemovalResult result = RemoveGame(verdict.client);
    const bool isComplete = result.remaining.empty() && !result.entryRemains;
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
