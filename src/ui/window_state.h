#pragma once

#include "common/handles.h"
#include "ui/gdiplus_objects.h"
#include "ui/palette.h"

// The window's state between messages. Window thread only. The job's state is in
// job/progress/job_progress.h.
struct WindowState {
    Argb accentColor = kDefaultAccent;
    // From window_painter.h. The brand's images themselves may be much larger and are not kept.
    OwnedBitmap backdrop;
    OwnedBitmap panelLogo;  // Null when the brand shows no logo or it cannot be decoded.

    GdiBrush backgroundBrush;  // From the window's creation to its destruction.
    HFONT uiFont = nullptr;    // Used by the buttons; never deleted.

    // These keep the end of one job from being handled twice.
    bool shortcutOffered = false;  // The player has been asked about the shortcut.
    bool launchDone = false;       // The startup program has been started.
};

extern WindowState windowState;

// Frees the images; required before GDI+ shuts down.
void ReleaseImages();

// Clears both marks, for a new job or a retry.
void ClearEndOfJobMarks();

// Invalidates the whole window without erasing it.
void RepaintWindow(HWND window);
