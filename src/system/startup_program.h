#pragma once

#include <string>

#include "config/tool_config.h"

// The program that starts the game, as the configuration's `startupExe` names it.

// Its path: below `clientFolder` for a relative name, otherwise as configured. Empty when none is
// configured. The file need not exist. Any thread.
[[nodiscard]] std::wstring ResolveStartupExePath(const ToolConfig& config,
                                                 const std::wstring& clientFolder);

// Starts it, with its own folder as the current one. Silently does nothing when the file is missing
// or cannot be started. Window thread; `mainWindow` owns any box that the shell shows.
void LaunchStartupProgram();
