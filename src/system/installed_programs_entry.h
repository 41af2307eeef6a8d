#pragma once

#include <optional>
#include <string>

#include "config/tool_config.h"

// Enters the game into the current user's list of installed programs (Programs and Features), or
// renews its entry there value by value; an entry under an older display name stays.
//
// Expects the uninstaller to stand in `toolFolder`; it is what the entry calls. False with the
// text for the user in `message`: nothing is registered, except that values already written stay
// when a later one fails. `message` is left alone on success. Job thread; blocks while the client
// folder is measured.
[[nodiscard]] bool RegisterProgramsAndFeatures(std::wstring& message);

// The client folder that the game's entry names ("InstallLocation"), as it is written there. None
// without an entry and when the value is missing or empty. Any thread.
[[nodiscard]] std::optional<std::wstring> RegisteredFolder(const ToolConfig& config);

// Deletes the game's entry with everything below it. True also when there is none. Any thread.
[[nodiscard]] bool DeleteInstalledProgramsEntry(const ToolConfig& config);
