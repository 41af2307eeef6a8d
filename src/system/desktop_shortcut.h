#pragma once

#include <string>
#include <string_view>

// The shortcut to the game's startup program on the user's Desktop.

// The extension of a file's name with its dot, in the letter case of `path`: from the last dot
// behind the last separator, a stream's name (":stream") left aside. Empty for "." and ".." and for
// a name whose only dot comes first.
std::wstring FileNameExtension(std::wstring_view path);

// The file name made of the configured `shortcutName`; ".lnk" is added unless it is there already,
// in any letter case.
std::wstring ShortcutFileName();

// Creates the shortcut, or replaces the one of the same name. `message` is the text for the user,
// in success as in failure. Window thread, which has COM initialized.
bool CreateDesktopShortcut(std::wstring& message);
