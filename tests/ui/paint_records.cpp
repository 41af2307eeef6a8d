#include "ui/paint_records.h"

#include <map>
#include <sstream>
#include <string_view>

#include "bench_parts/call_hook.h"
#include "bench_parts/utf8.h"
#include "ui/gdiplus_api.h"

using namespace Gdiplus::DllExports;

namespace bench {

namespace {

constexpr wchar_t kGdiplus[] = L"gdiplus.dll";

// Calls `note` after the function itself, with the same arguments.
template <class Function, class Note>
auto HookAfter(const char* functionName, Note note) {
    return HookCall<Function>(
        kGdiplus, functionName,
        [note, real = RealFunction<Function>(kGdiplus, functionName)](auto... arguments) {
            const auto status = real(arguments...);
            note(arguments...);
            return status;
        });
}

// What an object was made with, by the object.
using MadeOf = std::map<const void*, std::string>;

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
    const auto createFamily = HookAfter<decltype(&GdipCreateFontFamilyFromName)>(
        "GdipCreateFontFamilyFromName",
        [&](auto* name, auto*, auto** family) { families[*family] = ToUtf8(name); });
    const auto createFont = HookAfter<decltype(&GdipCreateFont)>(
        "GdipCreateFont",
        [&](auto* family, Gdiplus::REAL size, INT style, Gdiplus::Unit unit, auto** font) {
            fonts[*font] = families[family] + " " + SizeText(size, unit) + StyleText(style);
        });
    const auto drawString = HookAfter<decltype(&GdipDrawString)>(
        "GdipDrawString",
        [&](auto*, auto* text, INT length, auto* font, auto* area, auto* format, auto*) {
            texts.push_back(ToUtf8({text, static_cast<size_t>(length)}) + " | " + fonts[font] +
                            " | " + PlaceText(area->X, area->Y, area->Width, area->Height) +
                            FormatText(format));
        });
    paint();
    return texts;
}

std::vector<std::string> RecordOutlines(const std::function<void()>& paint) {
    MadeOf pens;
    std::vector<std::string> outlines;
    const auto createPen = HookAfter<decltype(&GdipCreatePen1)>(
        "GdipCreatePen1", [&](Gdiplus::ARGB, Gdiplus::REAL width, Gdiplus::GpUnit unit,
                              auto** pen) { pens[*pen] = ", " + SizeText(width, unit); });
    const auto drawRectangle = HookAfter<decltype(&GdipDrawRectangleI)>(
        "GdipDrawRectangleI", [&](auto*, auto* pen, INT x, INT y, INT width, INT height) {
            outlines.push_back("rectangle " + PlaceText(x, y, width, height) + pens[pen]);
        });
    const auto drawEllipse = HookAfter<decltype(&GdipDrawEllipseI)>(
        "GdipDrawEllipseI", [&](auto*, auto* pen, INT x, INT y, INT width, INT height) {
            outlines.push_back("ellipse " + PlaceText(x, y, width, height) + pens[pen]);
        });
    const auto drawLines = HookAfter<decltype(&GdipDrawLinesI)>(
        "GdipDrawLinesI", [&](auto*, auto* pen, auto* points, INT) {
            std::ostringstream start;
            start << "lines from " << points->X << ',' << points->Y;
            outlines.push_back(start.str() + pens[pen]);
        });
    paint();
    return outlines;
}

std::map<std::string, ObjectCount> CountObjects(const std::function<void()>& paint) {
    std::map<std::string, ObjectCount> counts;
    const auto made = [&](const char* kind) {
        return [&count = counts[kind]](auto...) {
            ++count.made;
            ++count.left;
        };
    };
    const auto deleted = [&](const char* kind) {
        return [&count = counts[kind]](auto...) {
            --count.left;
        };
    };
    const auto brushMade =
        HookAfter<decltype(&GdipCreateSolidFill)>("GdipCreateSolidFill", made("brush"));
    const auto brushDeleted =
        HookAfter<decltype(&GdipDeleteBrush)>("GdipDeleteBrush", deleted("brush"));
    const auto penMade = HookAfter<decltype(&GdipCreatePen1)>("GdipCreatePen1", made("pen"));
    const auto penDeleted = HookAfter<decltype(&GdipDeletePen)>("GdipDeletePen", deleted("pen"));
    const auto familyMade = HookAfter<decltype(&GdipCreateFontFamilyFromName)>(
        "GdipCreateFontFamilyFromName", made("family"));
    const auto familyDeleted =
        HookAfter<decltype(&GdipDeleteFontFamily)>("GdipDeleteFontFamily", deleted("family"));
    const auto fontMade = HookAfter<decltype(&GdipCreateFont)>("GdipCreateFont", made("font"));
    const auto fontDeleted =
        HookAfter<decltype(&GdipDeleteFont)>("GdipDeleteFont", deleted("font"));
    const auto formatMade =
        HookAfter<decltype(&GdipCreateStringFormat)>("GdipCreateStringFormat", made("format"));
    const auto formatDeleted =
        HookAfter<decltype(&GdipDeleteStringFormat)>("GdipDeleteStringFormat", deleted("format"));
    const auto bitmapMade = HookAfter<decltype(&GdipCreateBitmapFromScan0)>(
        "GdipCreateBitmapFromScan0", made("bitmap"));
    const auto bitmapDeleted =
        HookAfter<decltype(&GdipDisposeImage)>("GdipDisposeImage", deleted("bitmap"));
    const auto bitmapGraphicsMade = HookAfter<decltype(&GdipGetImageGraphicsContext)>(
        "GdipGetImageGraphicsContext", made("graphics"));
    const auto deviceGraphicsMade =
        HookAfter<decltype(&GdipCreateFromHDC)>("GdipCreateFromHDC", made("graphics"));
    const auto graphicsDeleted =
        HookAfter<decltype(&GdipDeleteGraphics)>("GdipDeleteGraphics", deleted("graphics"));
    paint();
    return counts;
}

}  // namespace bench
