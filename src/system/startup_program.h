#pragma once

#include <filesystem>

// The program that starts the game, as the configuration's `startupExe` names it.

// Its path: below `toolFolder` for a relative name, else as it is configured. Empty when none is
// configured. The file need not exist. Any thread.
std::filesystem::path ResolveStartupExePath();

// Starts it with its own folder as the current one. Nothing happens and nobody is told when it is
// not there or does not start. Window thread; `mainWindow` owns the shell's own questions.
void LaunchStartupProgram();
