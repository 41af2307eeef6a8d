#pragma once

#include <string>

#include "job/progress/job_progress.h"
#include "ui/gdiplus_objects.h"

// The large areas under everything else, of size kWindow: the background image, scaled to cover the
// window, under a veil (a plain fill if `background` is null or damaged), title bar and panel. They
// never change, and painting them takes much longer than everything else. Any thread.
[[nodiscard]] OwnedBitmap MakeBackdrop(Gdiplus::GpBitmap* background);

// The logo as the panel shows it, of size kLogo: scaled to fit and centered. Null if `logo` is null
// or damaged. Any thread.
[[nodiscard]] OwnedBitmap MakePanelLogo(Gdiplus::GpImage* logo);

// Everything that the window shows except its buttons. Plain values, so that painting needs no
// window.
struct WindowPicture {
    std::wstring toolName;      // Shown in the title bar.
    std::wstring clientFolder;  // Full path.
    JobState job;
    Argb accentColor = kDefaultAccent;
    Gdiplus::GpBitmap* backdrop = nullptr;  // From MakeBackdrop, borrowed. Null: a plain fill.
    Gdiplus::GpBitmap* logo = nullptr;      // From MakePanelLogo, borrowed. Null: the placeholder.
};

// Paints the whole window, of size kWindow. Window thread.
void PaintWindow(Gdiplus::GpGraphics* graphics, const WindowPicture& picture);

// The same on a device context, double-buffered to avoid flicker.
void PaintWindow(HDC device, const WindowPicture& picture);
