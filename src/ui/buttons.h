#pragma once

#include "common/windows_api.h"

// The buttons as windows: children of `window`, the tool's main window. Window thread.

// Creates all twelve, hands them the font and gives each its place. All are visible at first.
void CreateButtons(HWND window, HFONT font);

// Shows and hides them as the job's flags and the configuration ask for. Enabling is another
// matter: see EnableJobButtons.
void RefreshButtons(HWND window);

// The four buttons that start or prepare a job.
void EnableJobButtons(HWND window, bool enable);

// Says that the shortcut is there; the button cannot be pressed any more.
void MarkShortcutCreated(HWND window);

// Draws both download-server buttons anew.
void InvalidateServerButtons(HWND window);

// Keeps what is painted on the window's device off the visible buttons, which draw themselves:
// painted over and drawn again, they would flicker.
void ExcludeButtons(HWND window, HDC device);

// Draws the button that the system asks for; other controls are left alone.
void DrawButton(const DRAWITEMSTRUCT& item);
