#pragma once

#include "ui/canvas.h"
#include "ui/window_painter.h"

// An accent that is nobody's default and no other color of the window.
inline constexpr Argb kTestAccent = 0xFF33CC99;

// A window without pictures and without any text but the heading and the monogram, for a single
// blank paints nothing.
inline WindowPicture BarePicture() {
    WindowPicture picture;
    picture.job.statusLine = L" ";
    picture.accentColor = kTestAccent;
    return picture;
}

inline Pixels Paint(const WindowPicture& picture) {
    // A color that must be painted over everywhere.
    const Canvas canvas(0xFFFF00FF);
    PaintWindow(canvas.Graphics(), picture);
    return canvas.Read();
}
