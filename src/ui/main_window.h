#pragma once

#include "common/windows_api.h"

// Registers the window class, creates the tool's one window, which loads the configuration while
// it is created, and shows it. Null when the system refuses. Window thread.
HWND CreateMainWindow(HINSTANCE instance, int showCommand);
