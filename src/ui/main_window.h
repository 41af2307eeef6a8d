#pragma once

#include "common/windows_api.h"

// The timer that shows a job's progress and notices its end.
inline constexpr UINT_PTR kTickTimer = 1;
inline constexpr UINT kTickMs = 250;

// Registers the window class and creates the tool's one window, of fixed size, without a frame and
// with round corners. While it is created it loads the configuration and the pictures, finds out
// which client it works on and makes its buttons. Then it is shown. Null when the system refuses.
// Window thread; ReleaseImages() is due before GDI+ ends.
HWND CreateMainWindow(HINSTANCE instance, int showCommand);
