#pragma once

#include <string>

#include "common/windows_api.h"

// The boxes that ask or tell the player something; `owner` is disabled while one is open. Window
// thread. Its messages go on meanwhile: the timer ticks inside an open box and may open a second
// one. Answering one of two makes the window listen again, and the window may be gone when a box
// has been answered.

// True only for Yes; No is what the return key gives.
bool ConfirmReinstall(HWND owner);
bool ConfirmClose(HWND owner);

// True only for Yes, which the return key gives.
bool OfferShortcut(HWND owner);

void ShowShortcutFailure(HWND owner, const std::wstring& message);
