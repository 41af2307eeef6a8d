#pragma once

#include <initializer_list>
#include <span>
#include <string_view>

#include "ui/gdiplus_objects.h"
#include "ui/layout.h"
#include "ui/palette.h"

// Drawing functions of the painters; nothing else draws with GDI+. Each creates and frees its own
// pen, brush or font. A fill excludes a box's right and bottom edges, an outline includes them.
// Any thread, one at a time for each object.

// No drawing affects these boxes as long as the object exists.
class ExcludedBoxes {
public:
    ExcludedBoxes(Gdiplus::GpGraphics* graphics, std::initializer_list<Box> boxes);
    ~ExcludedBoxes();
    ExcludedBoxes(const ExcludedBoxes&) = delete;
    ExcludedBoxes& operator=(const ExcludedBoxes&) = delete;

private:
    Gdiplus::GpGraphics* graphics_;
};

void FillBox(Gdiplus::GpGraphics* graphics, const Box& box, Argb color);
void OutlineBox(Gdiplus::GpGraphics* graphics, const Box& box, Argb color, float penPx);
void FillDisc(Gdiplus::GpGraphics* graphics, const Box& box, Argb color);
void OutlineDisc(Gdiplus::GpGraphics* graphics, const Box& box, Argb color, float penPx);
// Straight lines between consecutive points, which are relative to `origin`.
void DrawLines(Gdiplus::GpGraphics* graphics, const Point& origin, std::span<const Point> points,
               Argb color, float penPx);

struct TextStyle {
    FontSpec font;
    Argb color = 0;
};
void DrawTextInBox(Gdiplus::GpGraphics* graphics, std::wstring_view text, const TextStyle& style,
                   const Box& box, TextPlacement placement);
// `at` is the top left corner of the text.
void DrawTextAt(Gdiplus::GpGraphics* graphics, std::wstring_view text, const TextStyle& style,
                const Point& at);

// Draws an image centered and scaled with its aspect ratio kept, so that it covers the box (and may
// exceed it) or fits into it. False when nothing was drawn because the image is null, empty or
// damaged.
bool DrawImageCovering(Gdiplus::GpGraphics* graphics, Gdiplus::GpImage* image, const Box& box);
bool DrawImageFitting(Gdiplus::GpGraphics* graphics, Gdiplus::GpImage* image, const Box& box);

// Copies the image into `box`, which has the same size, replacing all pixels including alpha. False
// when nothing was drawn because the image is null.
bool CopyImage(Gdiplus::GpGraphics* graphics, Gdiplus::GpImage* image, const Box& box);

// Copies all pixels of the bitmap, which has the size of `box`, to `pixels`, row by row. False when
// the bitmap is null. Much faster than CopyImage.
bool ReadPixels(Gdiplus::GpBitmap* bitmap, const Box& box, std::span<Argb> pixels);

// Copies all pixels of `source` to `target`, which has the size of `box`. False when `source` has
// another size, or when either is null. Also much faster than CopyImage.
bool CopyPixels(Gdiplus::GpBitmap* source, Gdiplus::GpBitmap* target, const Box& box);

// Shows such pixels at `box` on the device, without their alpha.
void ShowPixels(HDC device, const Box& box, std::span<const Argb> pixels);
