#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "config/tool_config.h"

// The guard before anything is removed. It judges the client folder as it stands at this moment:
// `toolFolder` with the uninstaller `toolExePath` in it, and the active configuration. Touches
// nothing.

// Why the client folder is left alone, in the order in which it is looked at.
enum class Refusal {
    None,
    NotRegistered,          // The game is not in the current user's list of installed programs.
    RegisteredElsewhere,    // It is, with another folder than the uninstaller's.
    UnsafeFolder,           // Not the uninstaller's folder, a drive's root, or as short as "C:\ab".
    SharedFolder,           // Windows or the user keeps other things there, as in the profile.
    StartupProgramMissing,  // Whatever the folder holds, it is no client of this game.
    InUse,                  // The game's startup program or the repair tool is running.
};
Refusal FindRefusal();

// The client folder as the entry in the list of installed programs names it; none without an
// entry or when the entry names none.
std::optional<std::wstring> RegisteredFolder(const ToolConfig& config);

// Whether the first of two canonical paths lies below the second. A path does not lie below itself.
bool LiesBelow(std::wstring_view path, std::wstring_view folder);
