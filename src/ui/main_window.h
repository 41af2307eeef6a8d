#pragma once

#include "common/windows_api.h"

// The timer that repaints a running job's progress and detects its end.
inline constexpr UINT_PTR kTickTimer = 1;
inline constexpr UINT kTickMs = 250;

// Registers the window class, then creates and shows the main window: fixed size, no frame, rounded
// corners. Its creation loads the configuration and the logo, locates the tool and creates the
// buttons, while the backdrop is prepared. Null on failure. Window thread; call ReleaseImages()
// before GDI+ shuts down.
[[nodiscard]] HWND CreateMainWindow(HINSTANCE instance, int showCommand);
