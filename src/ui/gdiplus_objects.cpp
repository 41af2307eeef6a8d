#include "ui/gdiplus_objects.h"

#include <cstring>

#include "common/handles.h"

using namespace Gdiplus::DllExports;

namespace {

constexpr wchar_t kFontFamily[] = L"Segoe UI";

struct FreeGlobalMemory {
    void operator()(void* memory) const noexcept {
        ::GlobalFree(memory);
    }
};
using GlobalMemory = std::unique_ptr<void, FreeGlobalMemory>;

using OwnedFontFamily = GdiplusPointer<Gdiplus::GpFontFamily>;

GlobalMemory CopyToGlobalMemory(std::span<const std::byte> bytes) {
    GlobalMemory memory(::GlobalAlloc(GMEM_MOVEABLE, bytes.size()));
    if (!memory) {
        return nullptr;
    }
    void* target = ::GlobalLock(memory.get());
    if (target == nullptr) {
        return nullptr;
    }
    std::memcpy(target, bytes.data(), bytes.size());
    ::GlobalUnlock(memory.get());
    return memory;
}

ComPointer<IStream> MakeStream(std::span<const std::byte> bytes) {
    GlobalMemory memory = CopyToGlobalMemory(bytes);
    IStream* stream = nullptr;
    if (!memory || FAILED(::CreateStreamOnHGlobal(memory.get(), TRUE, &stream))) {
        return nullptr;
    }
    static_cast<void>(memory.release());  // The stream owns it.
    return ComPointer<IStream>(stream);
}

OwnedFontFamily FindFontFamily() {
    Gdiplus::GpFontFamily* family = nullptr;
    if (GdipCreateFontFamilyFromName(kFontFamily, nullptr, &family) != Gdiplus::Ok) {
        GdipGetGenericFontFamilySansSerif(&family);
    }
    return OwnedFontFamily(family);
}

OwnedGraphics WithSmoothEdges(Gdiplus::GpGraphics* graphics) {
    OwnedGraphics owned(graphics);
    GdipSetSmoothingMode(graphics, Gdiplus::SmoothingModeAntiAlias);
    GdipSetTextRenderingHint(graphics, Gdiplus::TextRenderingHintClearTypeGridFit);
    return owned;
}

}  // namespace

GdiplusSession::GdiplusSession() {
    Gdiplus::GdiplusStartupInput input;  // The defaults: version 1, with background thread.
    if (Gdiplus::GdiplusStartup(&token_, &input, nullptr) != Gdiplus::Ok) {
        token_ = 0;
    }
}

GdiplusSession::~GdiplusSession() {
    if (token_ != 0) {
        Gdiplus::GdiplusShutdown(token_);
    }
}

OwnedBrush MakeSolidBrush(Argb color) {
    Gdiplus::GpSolidFill* brush = nullptr;
    GdipCreateSolidFill(color, &brush);
    return OwnedBrush(brush);
}

OwnedPen MakePen(Argb color, float widthPx) {
    Gdiplus::GpPen* pen = nullptr;
    GdipCreatePen1(color, widthPx, Gdiplus::UnitPixel, &pen);
    return OwnedPen(pen);
}

OwnedFont MakeFont(const FontSpec& spec) {
    const OwnedFontFamily family = FindFontFamily();
    Gdiplus::GpFont* font = nullptr;
    GdipCreateFont(family.get(), static_cast<Gdiplus::REAL>(spec.sizePx),
                   spec.bold ? Gdiplus::FontStyleBold : Gdiplus::FontStyleRegular,
                   Gdiplus::UnitPixel, &font);
    return OwnedFont(font);
}

OwnedFormat MakeTextFormat(TextPlacement placement) {
    // Text boxes are a bit taller than one line; without the line limit, the upper half of a second
    // line would show. Button boxes can be shorter than a line, which the limit would hide.
    const int flags = placement == TextPlacement::TopLine ? Gdiplus::StringFormatFlagsLineLimit
                                                          : Gdiplus::StringFormatFlagsNoWrap;
    Gdiplus::GpStringFormat* format = nullptr;
    GdipCreateStringFormat(flags, LANG_NEUTRAL, &format);
    GdipSetStringFormatAlign(format, Gdiplus::StringAlignmentCenter);
    GdipSetStringFormatTrimming(format, Gdiplus::StringTrimmingEllipsisWord);
    if (placement == TextPlacement::Middle) {
        GdipSetStringFormatLineAlign(format, Gdiplus::StringAlignmentCenter);
    }
    return OwnedFormat(format);
}

OwnedBitmap MakeBitmap(int widthPx, int heightPx) {
    Gdiplus::GpBitmap* bitmap = nullptr;
    GdipCreateBitmapFromScan0(widthPx, heightPx, 0, PixelFormat32bppARGB, nullptr, &bitmap);
    return OwnedBitmap(bitmap);
}

OwnedBitmap MakeBitmap(int widthPx, int heightPx, std::span<Argb> pixels) {
    Gdiplus::GpBitmap* bitmap = nullptr;
    GdipCreateBitmapFromScan0(widthPx, heightPx, widthPx * static_cast<INT>(sizeof(Argb)),
                              PixelFormat32bppARGB, reinterpret_cast<BYTE*>(pixels.data()),
                              &bitmap);
    return OwnedBitmap(bitmap);
}

OwnedBitmap MakeCopy(Gdiplus::GpBitmap* bitmap, const Box& area) {
    Gdiplus::GpBitmap* copy = nullptr;
    GdipCloneBitmapAreaI(area.x, area.y, area.width, area.height, PixelFormat32bppARGB, bitmap,
                         &copy);
    return OwnedBitmap(copy);
}

OwnedBitmap MakeBitmapFromFile(std::span<const std::byte> bytes) {
    const ComPointer<IStream> stream = MakeStream(bytes);
    Gdiplus::GpBitmap* bitmap = nullptr;
    if (stream) {
        GdipCreateBitmapFromStream(stream.get(), &bitmap);  // Keeps its own stream reference.
    }
    return OwnedBitmap(bitmap);
}

OwnedGraphics MakeGraphics(Gdiplus::GpImage* target) {
    Gdiplus::GpGraphics* graphics = nullptr;
    GdipGetImageGraphicsContext(target, &graphics);
    return WithSmoothEdges(graphics);
}

OwnedGraphics MakeGraphics(HDC target) {
    Gdiplus::GpGraphics* graphics = nullptr;
    GdipCreateFromHDC(target, &graphics);
    return WithSmoothEdges(graphics);
}
