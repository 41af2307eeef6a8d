#pragma once

#include <cstddef>
#include <memory>
#include <span>

#include "ui/gdiplus_api.h"
#include "ui/layout.h"
#include "ui/palette.h"

// Owners and makers for GDI+ objects. A maker returns none when GDI+ refuses; the drawing functions
// of GDI+ refuse a null object in turn, so what could not be made is simply not drawn. Window
// thread only, within the life of a GdiplusSession.

struct DeleteGdiplusObject {
    void operator()(Gdiplus::GpBrush* brush) const noexcept {
        Gdiplus::DllExports::GdipDeleteBrush(brush);
    }
    void operator()(Gdiplus::GpPen* pen) const noexcept {
        Gdiplus::DllExports::GdipDeletePen(pen);
    }
    void operator()(Gdiplus::GpFontFamily* family) const noexcept {
        Gdiplus::DllExports::GdipDeleteFontFamily(family);
    }
    void operator()(Gdiplus::GpFont* font) const noexcept {
        Gdiplus::DllExports::GdipDeleteFont(font);
    }
    void operator()(Gdiplus::GpStringFormat* format) const noexcept {
        Gdiplus::DllExports::GdipDeleteStringFormat(format);
    }
    void operator()(Gdiplus::GpGraphics* graphics) const noexcept {
        Gdiplus::DllExports::GdipDeleteGraphics(graphics);
    }
    void operator()(Gdiplus::GpImage* image) const noexcept {
        Gdiplus::DllExports::GdipDisposeImage(image);
    }
};
template <typename Object>
using GdiplusPointer = std::unique_ptr<Object, DeleteGdiplusObject>;

using OwnedBrush = GdiplusPointer<Gdiplus::GpBrush>;
using OwnedPen = GdiplusPointer<Gdiplus::GpPen>;
using OwnedFont = GdiplusPointer<Gdiplus::GpFont>;
using OwnedFormat = GdiplusPointer<Gdiplus::GpStringFormat>;
using OwnedGraphics = GdiplusPointer<Gdiplus::GpGraphics>;
using OwnedBitmap = GdiplusPointer<Gdiplus::GpBitmap>;

// GDI+ for this process, from construction to destruction. Every other object of GDI+ must be gone
// before.
class GdiplusSession {
public:
    GdiplusSession();
    ~GdiplusSession();
    GdiplusSession(const GdiplusSession&) = delete;
    GdiplusSession& operator=(const GdiplusSession&) = delete;

private:
    ULONG_PTR token_ = 0;  // 0 when GDI+ did not start; nothing is then painted.
};

OwnedBrush MakeSolidBrush(Argb color);
OwnedPen MakePen(Argb color, float widthPx);
// Segoe UI, or the system's usual sans-serif font where that is missing.
OwnedFont MakeFont(const FontSpec& spec);

// How a text lies in its box: centered from side to side, an ellipsis after the last word that
// fits.
enum class TextPlacement {
    TopLine,  // From the box's top, whole lines only.
    Middle,   // A single line, centered from top to bottom as well.
};
OwnedFormat MakeTextFormat(TextPlacement placement);

// An off-screen bitmap, 32 bits per pixel with alpha.
OwnedBitmap MakeBitmap(int widthPx, int heightPx);
// A picture in any format that Windows knows; `bytes` are copied.
OwnedBitmap MakeBitmapFromFile(std::span<const std::byte> bytes);

// Graphics with smooth edges and ClearType text.
OwnedGraphics MakeGraphics(Gdiplus::GpImage* target);
OwnedGraphics MakeGraphics(HDC target);
