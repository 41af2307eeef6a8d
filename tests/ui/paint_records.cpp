#include "ui/paint_records.h"

#include <map>
#include <sstream>
#include <string_view>

#include "bench_parts/call_hook.h"
#include "ui/gdiplus_api.h"

using namespace Gdiplus::DllExports;

namespace {

constexpr wchar_t kGdiplus[] = L"gdiplus.dll";

using CreateFamilyFunction = decltype(&GdipCreateFontFamilyFromName);
using CreateFontFunction = decltype(&GdipCreateFont);
using DrawStringFunction = decltype(&GdipDrawString);
using CreatePenFunction = decltype(&GdipCreatePen1);
using DrawRectangleFunction = decltype(&GdipDrawRectangleI);
using DrawEllipseFunction = decltype(&GdipDrawEllipseI);
using DrawLinesFunction = decltype(&GdipDrawLinesI);

// What an object was made with, by the object.
using MadeOf = std::map<const void*, std::string>;

// The tests draw plain ASCII.
std::string Narrow(std::wstring_view text) {
    std::string narrow;
    for (const wchar_t character : text) {
        narrow += static_cast<char>(character);
    }
    return narrow;
}

std::string SizeText(Gdiplus::REAL size, Gdiplus::Unit unit) {
    std::ostringstream text;
    text << size << (unit == Gdiplus::UnitPixel ? " px" : " of another unit");
    return text.str();
}

std::string StyleText(INT style) {
    switch (style) {
        case Gdiplus::FontStyleRegular:
            return " regular";
        case Gdiplus::FontStyleBold:
            return " bold";
        default:
            return " in another style";
    }
}

template <class Number>
std::string PlaceText(Number x, Number y, Number width, Number height) {
    std::ostringstream text;
    text << x << ',' << y << ' ' << width << 'x' << height;
    return text.str();
}

std::string AlignmentText(Gdiplus::StringAlignment alignment, const char* atStart,
                          const char* atCenter) {
    switch (alignment) {
        case Gdiplus::StringAlignmentNear:
            return atStart;
        case Gdiplus::StringAlignmentCenter:
            return atCenter;
        default:
            return "far";
    }
}

std::string FormatText(const Gdiplus::GpStringFormat* format) {
    if (format == nullptr) {
        return {};
    }
    auto across = Gdiplus::StringAlignmentFar;
    auto down = Gdiplus::StringAlignmentFar;
    auto trimming = Gdiplus::StringTrimmingNone;
    GdipGetStringFormatAlign(format, &across);
    GdipGetStringFormatLineAlign(format, &down);
    GdipGetStringFormatTrimming(format, &trimming);
    return " " + AlignmentText(across, "left", "center") + ", " +
           AlignmentText(down, "top", "middle") +
           (trimming == Gdiplus::StringTrimmingEllipsisWord ? ", word ellipsis" : ", cut");
}

}  // namespace

std::vector<std::string> RecordTexts(const std::function<void()>& paint) {
    MadeOf families;
    MadeOf fonts;
    std::vector<std::string> texts;
    const auto createFamily = bench::HookCall<CreateFamilyFunction>(
        kGdiplus, "GdipCreateFontFamilyFromName", [&](auto* name, auto* collection, auto** family) {
            const auto status = bench::RealFunction<CreateFamilyFunction>(
                kGdiplus, "GdipCreateFontFamilyFromName")(name, collection, family);
            families[*family] = Narrow(name);
            return status;
        });
    const auto createFont = bench::HookCall<CreateFontFunction>(
        kGdiplus, "GdipCreateFont",
        [&](auto* family, Gdiplus::REAL size, INT style, Gdiplus::Unit unit, auto** font) {
            const auto status = bench::RealFunction<CreateFontFunction>(kGdiplus, "GdipCreateFont")(
                family, size, style, unit, font);
            fonts[*font] = families[family] + " " + SizeText(size, unit) + StyleText(style);
            return status;
        });
    const auto drawString = bench::HookCall<DrawStringFunction>(
        kGdiplus, "GdipDrawString",
        [&](auto* graphics, auto* text, INT length, auto* font, auto* area, auto* format,
            auto* brush) {
            texts.push_back(Narrow({text, static_cast<size_t>(length)}) + " | " + fonts[font] +
                            " | " + PlaceText(area->X, area->Y, area->Width, area->Height) +
                            FormatText(format));
            return bench::RealFunction<DrawStringFunction>(kGdiplus, "GdipDrawString")(
                graphics, text, length, font, area, format, brush);
        });
    paint();
    return texts;
}

std::vector<std::string> RecordOutlines(const std::function<void()>& paint) {
    MadeOf pens;
    std::vector<std::string> outlines;
    const auto createPen = bench::HookCall<CreatePenFunction>(
        kGdiplus, "GdipCreatePen1",
        [&](Gdiplus::ARGB color, Gdiplus::REAL width, Gdiplus::GpUnit unit, auto** pen) {
            const auto status = bench::RealFunction<CreatePenFunction>(kGdiplus, "GdipCreatePen1")(
                color, width, unit, pen);
            pens[*pen] = ", " + SizeText(width, unit);
            return status;
        });
    const auto drawRectangle = bench::HookCall<DrawRectangleFunction>(
        kGdiplus, "GdipDrawRectangleI",
        [&](auto* graphics, auto* pen, INT x, INT y, INT width, INT height) {
            outlines.push_back("rectangle " + PlaceText(x, y, width, height) + pens[pen]);
            return bench::RealFunction<DrawRectangleFunction>(kGdiplus, "GdipDrawRectangleI")(
                graphics, pen, x, y, width, height);
        });
    const auto drawEllipse = bench::HookCall<DrawEllipseFunction>(
        kGdiplus, "GdipDrawEllipseI",
        [&](auto* graphics, auto* pen, INT x, INT y, INT width, INT height) {
            outlines.push_back("ellipse " + PlaceText(x, y, width, height) + pens[pen]);
            return bench::RealFunction<DrawEllipseFunction>(kGdiplus, "GdipDrawEllipseI")(
                graphics, pen, x, y, width, height);
        });
    const auto drawLines = bench::HookCall<DrawLinesFunction>(
        kGdiplus, "GdipDrawLinesI", [&](auto* graphics, auto* pen, auto* points, INT count) {
            std::ostringstream start;
            start << "lines from " << points->X << ',' << points->Y;
            outlines.push_back(start.str() + pens[pen]);
            return bench::RealFunction<DrawLinesFunction>(kGdiplus, "GdipDrawLinesI")(
                graphics, pen, points, count);
        });
    paint();
    return outlines;
}
