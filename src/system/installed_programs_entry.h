#pragma once

#include <optional>
#include <string>

#include "config/tool_config.h"

// Adds the game to the current user's list of installed programs (Programs and Features) or updates
// the values of its entry. An entry under an older display name stays.
//
// Expects the uninstaller in `toolFolder`, because the entry calls it. On failure false, with the
// text for the user in `message`; values already written stay. `message` is unchanged on success.
// Job thread; blocks while it measures the client folder.
[[nodiscard]] bool RegisterProgramsAndFeatures(std::wstring& message);

// The "InstallLocation" of the game's entry, unchanged. None when the entry or the value is missing
// or the value is empty. Any thread.
[[nodiscard]] std::optional<std::wstring> RegisteredFolder(const ToolConfig& config);

// Deletes the game's entry. True also when there was none. Any thread.
[[nodiscard]] bool DeleteInstalledProgramsEntry(const ToolConfig& config);
