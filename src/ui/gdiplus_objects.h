#pragma once

#include <cstddef>
#include <memory>
#include <span>

#include "ui/gdiplus_api.h"
#include "ui/layout.h"
#include "ui/palette.h"

// Owning types and factory functions for GDI+ objects. A factory returns null when GDI+ fails; GDI+
// drawing functions fail for null objects, so such things are simply not drawn. A GdiplusSession
// must outlive all objects. Any thread, but each object is used by one thread at a time.

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

// Starts GDI+ for this process and shuts it down. All other GDI+ objects must be destroyed before
// it.
class GdiplusSession {
public:
    GdiplusSession();
    ~GdiplusSession();
    GdiplusSession(const GdiplusSession&) = delete;
    GdiplusSession& operator=(const GdiplusSession&) = delete;

private:
    ULONG_PTR token_ = 0;  // 0 when GDI+ did not start; then nothing is painted.
};

OwnedBrush MakeSolidBrush(Argb color);
OwnedPen MakePen(Argb color, float widthPx);
// Segoe UI, with GDI+'s generic sans-serif font as fallback.
OwnedFont MakeFont(const FontSpec& spec);

// How a text is placed in its box. Always centered horizontally, with an ellipsis after the last
// word that fits.
enum class TextPlacement {
    TopLine,  // At the top, whole lines only.
    Middle,   // A single line, centered vertically.
};
OwnedFormat MakeTextFormat(TextPlacement placement);

// An off-screen bitmap, 32 bits per pixel with alpha.
OwnedBitmap MakeBitmap(int widthPx, int heightPx);
// The same with its pixels in `pixels`, row by row, which must outlive it.
OwnedBitmap MakeBitmap(int widthPx, int heightPx, std::span<Argb> pixels);
// A copy of the pixels in `area`.
OwnedBitmap MakeCopy(Gdiplus::GpBitmap* bitmap, const Box& area);
// Decodes an image file in any format that GDI+ supports; `bytes` are copied.
OwnedBitmap MakeBitmapFromFile(std::span<const std::byte> bytes);

// Graphics with anti-aliased edges and ClearType text.
OwnedGraphics MakeGraphics(Gdiplus::GpImage* target);
OwnedGraphics MakeGraphics(HDC target);
