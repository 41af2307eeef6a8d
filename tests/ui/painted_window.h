#pragma once

#include "ui/canvas.h"
#include "ui/window_painter.h"

namespace bench {

// Unlike the default accent and every other color of the window.
inline constexpr Argb kTestAccent = 0xFF33CC99;

// No pictures, and no text but the heading and the monogram: a blank paints nothing.
inline WindowPicture BarePicture() {
    WindowPicture picture;
    picture.job.statusLine = L" ";
    picture.accentColor = kTestAccent;
    return picture;
}

// Over a color that the window has nowhere.
inline Pixels Paint(const WindowPicture& picture) {
    const Canvas canvas(0xFFFF00FF);
    PaintWindow(canvas.Graphics(), picture);
    return canvas.Read();
}

}  // namespace bench
