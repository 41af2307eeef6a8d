#pragma once

#include "common/windows_api.h"

// The buttons' commands. Window thread; `window` is the main window.

// Runs the command of the button with this control id. The notification code is ignored, so a
// double click counts as two clicks. Other ids are ignored.
void RunCommand(HWND window, int controlId);
