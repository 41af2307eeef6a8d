#pragma once

#include <string>

// The shortcut to the game's startup program on the user's Desktop.

// The file name made of the configured `shortcutName`; ".lnk" is added unless it is there already,
// in any letter case.
std::wstring ShortcutFileName();

// Creates the shortcut, or replaces the one of the same name. `message` is the text for the user,
// in success as in failure. Window thread, which has COM initialized.
bool CreateDesktopShortcut(std::wstring& message);
