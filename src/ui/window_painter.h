#pragma once

#include <string>

#include "job/progress/job_progress.h"
#include "ui/gdiplus_objects.h"

// Everything that the window shows except its buttons. Plain values, so that painting needs no
// window.
struct WindowPicture {
    std::wstring toolName;      // Shown in the title bar.
    std::wstring clientFolder;  // Full path.
    JobState job;
    Argb accentColor = kDefaultAccent;
    Gdiplus::GpImage* logo = nullptr;        // Borrowed. Null: the placeholder.
    Gdiplus::GpImage* background = nullptr;  // Borrowed. Null: a plain fill.
};

// Paints the whole window, of size kWindow. Window thread.
void PaintWindow(Gdiplus::GpGraphics* graphics, const WindowPicture& picture);

// The same on a device context, double-buffered to avoid flicker.
void PaintWindow(HDC device, const WindowPicture& picture);
