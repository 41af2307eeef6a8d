#pragma once

#include "common/handles.h"
#include "ui/gdiplus_objects.h"
#include "ui/palette.h"

// What the window keeps between messages. Window thread only. The job's own record is in
// job/progress/job_progress.h.
struct WindowState {
    Argb accentColor = kDefaultAccent;
    OwnedBitmap logoImage;        // None when the brand shows no logo, or it cannot be read.
    OwnedBitmap backgroundImage;  // None when it cannot be read.
    GdiBrush backgroundBrush;     // From the window's creation to its destruction.
    HFONT uiFont = nullptr;       // Lent to the buttons; goes with the process.

    // The two marks that keep the end of one job from being acted on twice.
    bool shortcutOffered = false;  // The player has been asked about the shortcut.
    bool launchDone = false;       // The startup program has been started.
};

extern WindowState windowState;

// What must happen before GDI+ ends.
void ReleaseImages();

// A new job, or a fresh start: both marks are cleared.
void ClearEndOfJobMarks();

// Has the whole window painted anew, soon and without erasing it before.
void RepaintWindow(HWND window);
