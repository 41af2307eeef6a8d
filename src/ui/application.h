#pragma once

#include "common/windows_api.h"

// The program from its first call to its exit code: sets up the process, shows the window, handles
// messages until the window is destroyed, and undoes the set-up. Returns at once, with 0, when
// there is no window. The calling thread is the window thread.
int RunApplication(HINSTANCE instance, int showCommand);
