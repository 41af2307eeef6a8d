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

ExcludedBoxes::ExcludedBoxes(Gdiplus::GpGraphics* graphics, std::initializer_list<Box> boxes)
    : graphics_(graphics) {
    for (const Box& box : boxes) {
        GdipSetClipRectI(graphics, box.x, box.y, box.width, box.height,
                         Gdiplus::CombineModeExclude);
    }
}

ExcludedBoxes::~ExcludedBoxes() {
    GdipResetClip(graphics_);
}

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

bool CopyImage(Gdiplus::GpGraphics* graphics, Gdiplus::GpImage* image, const Box& box) {
    GdipSetCompositingMode(graphics, Gdiplus::CompositingModeSourceCopy);
    const auto status = GdipDrawImageRectI(graphics, image, box.x, box.y, box.width, box.height);
    GdipSetCompositingMode(graphics, Gdiplus::CompositingModeSourceOver);
    return status == Gdiplus::Ok;
}

bool ReadPixels(Gdiplus::GpBitmap* bitmap, const Box& box, std::span<Argb> pixels) {
    const Gdiplus::Rect whole(0, 0, box.width, box.height);
    Gdiplus::BitmapData target{};
    target.Width = static_cast<UINT>(box.width);
    target.Height = static_cast<UINT>(box.height);
    target.Stride = box.width * static_cast<INT>(sizeof(Argb));
    target.PixelFormat = PixelFormat32bppARGB;
    target.Scan0 = pixels.data();
    const bool success =
        GdipBitmapLockBits(bitmap, &whole,
                           Gdiplus::ImageLockModeRead | Gdiplus::ImageLockModeUserInputBuf,
                           PixelFormat32bppARGB, &target) == Gdiplus::Ok;
    if (success) {
        GdipBitmapUnlockBits(bitmap, &target);
    }
    return success;
}

bool CopyPixels(Gdiplus::GpBitmap* source, Gdiplus::GpBitmap* target, const Box& box) {
    const ImageSize size = SizeOf(source);
    if (size.width != static_cast<float>(box.width) ||
        size.height != static_cast<float>(box.height)) {
        return false;
    }
    const Gdiplus::Rect whole(0, 0, box.width, box.height);
    Gdiplus::BitmapData data{};
    if (GdipBitmapLockBits(target, &whole, Gdiplus::ImageLockModeWrite, PixelFormat32bppARGB,
                           &data) != Gdiplus::Ok) {
        return false;
    }
    const size_t pixelCount = static_cast<size_t>(box.width) * static_cast<size_t>(box.height);
    const bool hasNoGaps = data.Stride == box.width * static_cast<INT>(sizeof(Argb));
    const bool success =
        hasNoGaps && ReadPixels(source, box, {static_cast<Argb*>(data.Scan0), pixelCount});
    GdipBitmapUnlockBits(target, &data);
    return success;
}

void ShowPixels(HDC device, const Box& box, std::span<const Argb> pixels) {
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = box.width;
    info.bmiHeader.biHeight = -box.height;  // From the top row down.
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    ::SetDIBitsToDevice(device, box.x, box.y, static_cast<DWORD>(box.width),
                        static_cast<DWORD>(box.height), 0, 0, 0, static_cast<UINT>(box.height),
                        pixels.data(), &info, DIB_RGB_COLORS);
}
