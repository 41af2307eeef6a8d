#pragma once

#include "common/windows_api.h"

// The buttons as windows: children of `window`, the tool's main window. Window thread.

// Creates and places all twelve and sets their font. All are visible at first.
void CreateButtons(HWND window, HFONT font);

// Shows or hides each button according to the job's flags and the configuration. Does not enable or
// disable them: see EnableJobButtons.
void RefreshButtons(HWND window);

// Enables or disables the four buttons that start or prepare a job.
void EnableJobButtons(HWND window, bool enable);

// Changes the shortcut button's text to "Game Shortcut Created" and disables it.
void MarkShortcutCreated(HWND window);

// Repaints both download-server buttons.
void InvalidateServerButtons(HWND window);

// Excludes the visible buttons from painting on the window's device context; they draw themselves
// and would flicker if painted over.
void ExcludeButtons(HWND window, HDC device);

// Draws one owner-drawn button; does nothing for other controls.
void DrawButton(const DRAWITEMSTRUCT& item);
