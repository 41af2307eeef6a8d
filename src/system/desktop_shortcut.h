#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "config/tool_config.h"

// The shortcut to the game's startup program on the user's Desktop. Except for the name, these need
// a thread with COM initialized.

// The shortcut's file name, made from the configured `shortcutName`. ".lnk" is appended unless it
// is there already, in any letter case. Any thread.
[[nodiscard]] std::wstring ShortcutFileName(const ToolConfig& config);

// Creates the shortcut or replaces the one of the same name. `message` is the text for the user,
// after success and failure alike. Window thread.
[[nodiscard]] bool CreateDesktopShortcut(std::wstring& message);

// The target stored in the shortcut file, not resolved. None when the file is missing, is not a
// shortcut or has no path as its target.
[[nodiscard]] std::optional<std::filesystem::path> ReadShortcutTarget(
    const std::filesystem::path& shortcut);
