#pragma once

#include "common/windows_api.h"

// Creates the desktop shortcut and shows how it went: the message as the job's detail and on the
// button, a failure in a box. True when it is there; the window then wants to be repainted. Window
// thread.
bool CreateShortcut(HWND window);
