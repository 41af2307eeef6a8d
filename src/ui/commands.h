#pragma once

#include "common/windows_api.h"

// What the buttons do. Window thread; `window` is the tool's main window.

// Acts on the button with this control id, however the message came about: a double click counts
// as two clicks. Ids of no button are left alone.
void RunCommand(HWND window, int controlId);
