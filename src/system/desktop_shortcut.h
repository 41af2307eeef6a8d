#pragma once

#include <optional>
#include <string>

#include "config/tool_config.h"

// The shortcut to the game's startup program on the user's Desktop. Requires COM on the calling
// thread, except for the name.

// The shortcut's file name, made from the configured `shortcutName`. ".lnk" is appended unless the
// name ends in it, in any letter case. Any thread.
[[nodiscard]] std::wstring ShortcutFileName(const ToolConfig& config);

// Creates the shortcut or replaces the one of the same name. `message` is the text for the user,
// after success and failure alike. Window thread.
[[nodiscard]] bool CreateDesktopShortcut(std::wstring& message);

// The target path stored in a shortcut file, not resolved. None when the file is missing, is not a
// shortcut or does not refer to a path.
[[nodiscard]] std::optional<std::wstring> ReadShortcutTarget(const std::wstring& shortcut);
