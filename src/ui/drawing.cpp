#include "ui/drawing.h"

#include <algorithm>
#include <vector>

using namespace Gdiplus::DllExports;

namespace {

struct ImageSize {
    float width = 0;
    float height = 0;
};

ImageSize SizeOf(Gdiplus::GpImage* image) {
    UINT width = 0;
    UINT height = 0;
    if (image != nullptr) {
        GdipGetImageWidth(image, &width);
        GdipGetImageHeight(image, &height);
    }
    return {static_cast<float>(width), static_cast<float>(height)};
}

bool HasPixels(const ImageSize& size) {
    return size.width > 0 && size.height > 0;
}

bool DrawImageCentered(Gdiplus::GpGraphics* graphics, Gdiplus::GpImage* image,
                       const ImageSize& size, float factor, const Box& box) {
    const float width = size.width * factor;
    const float height = size.height * factor;
    const float left = static_cast<float>(box.x) + (static_cast<float>(box.width) - width) / 2;
    const float top = static_cast<float>(box.y) + (static_cast<float>(box.height) - height) / 2;
    return GdipDrawImageRect(graphics, image, left, top, width, height) == Gdiplus::Ok;
}

void DrawStyledText(Gdiplus::GpGraphics* graphics, std::wstring_view text, const TextStyle& style,
                    const Gdiplus::RectF& area, const Gdiplus::GpStringFormat* format) {
    const OwnedFont font = MakeFont(style.font);
    const OwnedBrush brush = MakeSolidBrush(style.color);
    GdipDrawString(graphics, text.data(), static_cast<INT>(text.size()), font.get(), &area, format,
                   brush.get());
}

}  // namespace

void FillBox(Gdiplus::GpGraphics* graphics, const Box& box, Argb color) {
    const OwnedBrush brush = MakeSolidBrush(color);
    GdipFillRectangleI(graphics, brush.get(), box.x, box.y, box.width, box.height);
}

void OutlineBox(Gdiplus::GpGraphics* graphics, const Box& box, Argb color, float penPx) {
    const OwnedPen pen = MakePen(color, penPx);
    GdipDrawRectangleI(graphics, pen.get(), box.x, box.y, box.width, box.height);
}

void FillDisc(Gdiplus::GpGraphics* graphics, const Box& box, Argb color) {
    const OwnedBrush brush = MakeSolidBrush(color);
    GdipFillEllipseI(graphics, brush.get(), box.x, box.y, box.width, box.height);
}

void OutlineDisc(Gdiplus::GpGraphics* graphics, const Box& box, Argb color, float penPx) {
    const OwnedPen pen = MakePen(color, penPx);
    GdipDrawEllipseI(graphics, pen.get(), box.x, box.y, box.width, box.height);
}

void DrawLines(Gdiplus::GpGraphics* graphics, const Point& origin, std::span<const Point> points,
               Argb color, float penPx) {
    const OwnedPen pen = MakePen(color, penPx);
    std::vector<Gdiplus::GpPoint> corners;
    for (const Point& point : points) {
        corners.emplace_back(origin.x + point.x, origin.y + point.y);
    }
    GdipDrawLinesI(graphics, pen.get(), corners.data(), static_cast<INT>(corners.size()));
}

void DrawTextInBox(Gdiplus::GpGraphics* graphics, std::wstring_view text, const TextStyle& style,
                   const Box& box, TextPlacement placement) {
    const Gdiplus::RectF area(static_cast<float>(box.x), static_cast<float>(box.y),
                              static_cast<float>(box.width), static_cast<float>(box.height));
    const OwnedFormat format = MakeTextFormat(placement);
    DrawStyledText(graphics, text, style, area, format.get());
}

void DrawTextAt(Gdiplus::GpGraphics* graphics, std::wstring_view text, const TextStyle& style,
                const Point& at) {
    // An area without a size does not clip or wrap the text.
    const Gdiplus::RectF area(static_cast<float>(at.x), static_cast<float>(at.y), 0, 0);
    DrawStyledText(graphics, text, style, area, nullptr);
}

bool DrawImageCovering(Gdiplus::GpGraphics* graphics, Gdiplus::GpImage* image, const Box& box) {
    const ImageSize size = SizeOf(image);
    if (!HasPixels(size)) {
        return false;
    }
    const float factor = std::max(static_cast<float>(box.height) / size.height,
                                  static_cast<float>(box.width) / size.width);
    return DrawImageCentered(graphics, image, size, factor, box);
}

bool DrawImageFitting(Gdiplus::GpGraphics* graphics, Gdiplus::GpImage* image, const Box& box) {
    const ImageSize size = SizeOf(image);
    if (!HasPixels(size)) {
        return false;
    }
    const float factor = std::min(static_cast<float>(box.height) / size.height,
                                  static_cast<float>(box.width) / size.width);
    // The default mode skips pixels when shrinking below half. This one does not, but is too slow
    // for the background, which covers the window under a veil anyway.
    GdipSetInterpolationMode(graphics, Gdiplus::InterpolationModeHighQualityBicubic);
    const bool drawn = DrawImageCentered(graphics, image, size, factor, box);
    GdipSetInterpolationMode(graphics, Gdiplus::InterpolationModeDefault);
    return drawn;
}

void CopyImage(Gdiplus::GpGraphics* graphics, Gdiplus::GpImage* image, const Box& box) {
    GdipSetCompositingMode(graphics, Gdiplus::CompositingModeSourceCopy);
    GdipDrawImageRectI(graphics, image, box.x, box.y, box.width, box.height);
}
