#pragma once

#include <filesystem>

#include "common/windows_api.h"

// What this running copy of the tool is. Written by the window's thread while it creates the
// window, before any job exists; afterwards read by both threads without a lock.

// The one top-level window, null before it exists. The job thread only posts to it.
extern HWND mainWindow;

// The full path of the running exe, at most 260 characters.
extern std::filesystem::path toolExePath;

// The folder of `toolExePath`: by definition the client folder that the tool repairs.
extern std::filesystem::path toolFolder;

// Sets `toolExePath` and `toolFolder` from the module's file name.
void LocateTool();
