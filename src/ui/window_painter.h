#pragma once

#include <string>

#include "job/progress/job_progress.h"
#include "ui/gdiplus_objects.h"

// All that the window shows apart from its buttons. Values only, so that a picture can be painted
// without a window.
struct WindowPicture {
    std::wstring toolName;      // For the title bar.
    std::wstring clientFolder;  // Its full path.
    JobState job;
    Argb accentColor = kDefaultAccent;
    Gdiplus::GpImage* logo = nullptr;        // Borrowed. None: the placeholder.
    Gdiplus::GpImage* background = nullptr;  // Borrowed. None: a plain fill.
};

// Paints the whole window, kWindow in size. Window thread.
void PaintWindow(Gdiplus::GpGraphics* graphics, const WindowPicture& picture);

// The same on a device, by way of an off-screen bitmap and a single copy, so that a repaint does
// not flicker.
void PaintWindow(HDC device, const WindowPicture& picture);
