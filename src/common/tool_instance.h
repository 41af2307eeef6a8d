#pragma once

#include <string>

#include "common/windows_api.h"

// The running tool. Written by the window thread while it creates the window, before any job
// exists; read-only afterwards, so both threads read it without a lock.

// The main window, null before it exists. The job thread only posts messages to it.
extern HWND mainWindow;

// The full path of the running exe, at most 260 characters.
extern std::wstring toolExePath;

// The folder of `toolExePath`, which is the client folder that the tool repairs.
extern std::wstring toolFolder;

// Sets `toolExePath` and `toolFolder` from the exe's file name.
void LocateTool();
