#pragma once

#include "common/windows_api.h"

// Creates the desktop shortcut and shows the result: success as the job's detail line and on the
// button, failure in a message box. True on success; the caller then repaints the window. Window
// thread.
[[nodiscard]] bool CreateShortcut(HWND window);
