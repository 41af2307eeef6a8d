#pragma once

#include <span>
#include <string_view>

#include "ui/gdiplus_objects.h"
#include "ui/layout.h"
#include "ui/palette.h"

// The dozen verbs that the painters are written in; nothing else draws with GDI+. Each makes its
// pen, brush or font and frees it again. A box's right and bottom edges lie outside of a fill, and
// on an outline. Window thread.

void FillBox(Gdiplus::GpGraphics* graphics, const Box& box, Argb color);
void OutlineBox(Gdiplus::GpGraphics* graphics, const Box& box, Argb color, float penPx);
void FillDisc(Gdiplus::GpGraphics* graphics, const Box& box, Argb color);
void OutlineDisc(Gdiplus::GpGraphics* graphics, const Box& box, Argb color, float penPx);
// Straight lines from each point to the next; `points` are relative to `origin`.
void DrawLines(Gdiplus::GpGraphics* graphics, const Point& origin, std::span<const Point> points,
               Argb color, float penPx);

struct TextStyle {
    FontSpec font;
    Argb color = 0;
};
void DrawTextInBox(Gdiplus::GpGraphics* graphics, std::wstring_view text, const TextStyle& style,
                   const Box& box, TextPlacement placement);
// `at` is the upper left corner of the text.
void DrawTextAt(Gdiplus::GpGraphics* graphics, std::wstring_view text, const TextStyle& style,
                const Point& at);

// A picture scaled in its proportions and centered: so that it covers the box and reaches over two
// of its edges, or so that it fits inside. False when nothing was drawn: no picture, one without
// pixels, or one that turns out to be damaged.
bool DrawImageCovering(Gdiplus::GpGraphics* graphics, Gdiplus::GpImage* image, const Box& box);
bool DrawImageFitting(Gdiplus::GpGraphics* graphics, Gdiplus::GpImage* image, const Box& box);

// The picture pixel by pixel in place of what was there, its upper left corner in that of `box`,
// which has its size.
void CopyImage(Gdiplus::GpGraphics* graphics, Gdiplus::GpImage* image, const Box& box);
