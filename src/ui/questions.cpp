#include "ui/questions.h"

namespace {

constexpr wchar_t kShortcutCaption[] = L"Create Game Shortcut";

}  // namespace

bool ConfirmReinstall(HWND owner) {
    return ::MessageBoxW(owner,
                         L"This will delete the current client files in this folder, then "
                         L"reinstall from the CDN package.\n\nContinue?",
                         L"Confirm Reinstall", MB_YESNO | MB_ICONWARNING | MB_DEFBUTTON2) == IDYES;
}

bool ConfirmClose(HWND owner) {
    return ::MessageBoxW(owner,
                         L"Are you sure you want to close?\n\nAny current repair or reinstall will "
                         L"be stopped.",
                         L"Close Repair Tool", MB_YESNO | MB_ICONQUESTION | MB_DEFBUTTON2) == IDYES;
}

bool OfferShortcut(HWND owner) {
    return ::MessageBoxW(owner, L"Re-install is complete.\n\nCreate a desktop game shortcut now?",
                         kShortcutCaption, MB_YESNO | MB_ICONQUESTION) == IDYES;
}

void ShowShortcutFailure(HWND owner, const std::wstring& message) {
    ::MessageBoxW(owner, message.c_str(), kShortcutCaption, MB_OK | MB_ICONWARNING);
}
