#pragma once

#include <string>

#include "common/windows_api.h"

// The tool's message boxes; `owner` is disabled while one is open. Window thread. Messages are
// still dispatched meanwhile: the timer ticks and may open a second box. Closing one of two
// re-enables the window, and the window may have been destroyed when a box returns.

// True only for Yes. No is the default button.
[[nodiscard]] bool ConfirmReinstall(HWND owner);
[[nodiscard]] bool ConfirmClose(HWND owner);

// True only for Yes, the default button.
[[nodiscard]] bool OfferShortcut(HWND owner);

void ShowShortcutFailure(HWND owner, const std::wstring& message);
