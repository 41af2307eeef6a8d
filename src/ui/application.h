#pragma once

#include "common/windows_api.h"

// Runs the whole program: sets up the process, shows the window, handles messages until the window
// is destroyed, and cleans up. Returns the exit code; 0 immediately if the window cannot be
// created. The calling thread becomes the window thread.
int RunApplication(HINSTANCE instance, int showCommand);
