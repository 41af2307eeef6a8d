#include "ui/gdiplus_objects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <string>
#include <string_view>

#include "bench_parts/call_hook.h"
#include "ui/button_painter.h"
#include "ui/canvas.h"
#include "ui/drawing.h"
#include "ui/painted_window.h"

using namespace Gdiplus::DllExports;

namespace {

using namespace bench;

std::span<const std::byte> BytesOf(std::string_view text) {
    return std::as_bytes(std::span(text));
}

Canvas SamplePicture() {
    Canvas picture(30, 20, 0xFF33CC99);
    FillBox(picture.Graphics(), {10, 0, 20, 20}, 0xFFCC2211);
    return picture;
}

std::pair<UINT, UINT> SizeOf(const OwnedBitmap& bitmap) {
    UINT width = 0;
    UINT height = 0;
    GdipGetImageWidth(bitmap.get(), &width);
    GdipGetImageHeight(bitmap.get(), &height);
    return {width, height};
}

Argb PixelOf(const OwnedBitmap& bitmap, int x, int y) {
    Gdiplus::ARGB color = 0;
    GdipBitmapGetPixel(bitmap.get(), x, y, &color);
    return static_cast<Argb>(color);
}

class GdiplusObjects : public PaintingTest {};

TEST_F(GdiplusObjects, ReadAPictureOfAnyUsualFormatAndKeepNoBytes) {
    for (const CLSID& encoder : {kPngEncoder, kJpegEncoder}) {
        std::string bytes = EncodedPicture(SamplePicture().Bitmap(), encoder);
        const OwnedBitmap bitmap = MakeBitmapFromFile(BytesOf(bytes));
        std::ranges::fill(bytes, '\0');
        ASSERT_TRUE(bitmap);
        EXPECT_EQ(SizeOf(bitmap), std::pair(30U, 20U));
        // JPEG stores colors only roughly.
        EXPECT_LE(ColorDistance(PixelOf(bitmap, 3, 10), 0xFF33CC99), 20);
        EXPECT_LE(ColorDistance(PixelOf(bitmap, 25, 10), 0xFFCC2211), 20);
    }
}

TEST_F(GdiplusObjects, KeepATransparentPicturesAlpha) {
    const std::string bytes = EncodedPicture(MakeBitmap(8, 8).get(), kPngEncoder);
    const OwnedBitmap bitmap = MakeBitmapFromFile(BytesOf(bytes));
    ASSERT_TRUE(bitmap);
    EXPECT_EQ(PixelOf(bitmap, 4, 4) >> 24, 0U);
}

TEST_F(GdiplusObjects, MakeNoPictureOfOtherBytes) {
    const std::string png = EncodedPicture(SamplePicture().Bitmap(), kPngEncoder);
    const std::string jpeg = EncodedPicture(SamplePicture().Bitmap(), kJpegEncoder);
    for (const std::string& bytes :
         {std::string(), std::string("This is no picture at all, but a text."), png.substr(0, 8),
          png.substr(0, 20), jpeg.substr(0, 10), png.substr(1)}) {
        EXPECT_FALSE(MakeBitmapFromFile(BytesOf(bytes))) << bytes.size();
    }
}

constexpr wchar_t kKernel32[] = L"kernel32.dll";

TEST_F(GdiplusObjects, MakeNoPictureWhenMemoryRunsOut) {
    const std::string encoded = EncodedPicture(SamplePicture().Bitmap(), kPngEncoder);
    const auto png = BytesOf(encoded);
    {
        const auto hook = bench::HookCall<decltype(&::GlobalAlloc)>(
            kKernel32, "GlobalAlloc", [](auto...) -> HGLOBAL { return nullptr; });
        EXPECT_FALSE(MakeBitmapFromFile(png));
    }
    {
        const auto hook = bench::HookCall<decltype(&::GlobalLock)>(
            kKernel32, "GlobalLock", [](auto...) -> LPVOID { return nullptr; });
        EXPECT_FALSE(MakeBitmapFromFile(png));
    }
    {
        const auto hook = bench::HookCall<decltype(&::CreateStreamOnHGlobal)>(
            L"ole32.dll", "CreateStreamOnHGlobal",
            [](auto...) -> HRESULT { return E_OUTOFMEMORY; });
        EXPECT_FALSE(MakeBitmapFromFile(png));
    }
    EXPECT_TRUE(MakeBitmapFromFile(png));
}

TEST_F(GdiplusObjects, StartWithATransparentBitmap) {
    const OwnedBitmap bitmap = MakeBitmap(30, 20);
    EXPECT_EQ(SizeOf(bitmap), std::pair(30U, 20U));
    EXPECT_EQ(PixelOf(bitmap, 15, 10), 0U);
    Gdiplus::PixelFormat format = 0;
    GdipGetImagePixelFormat(bitmap.get(), &format);
    EXPECT_EQ(format, PixelFormat32bppARGB);
}

TEST_F(GdiplusObjects, TakeTheUsualSansSerifFontWhereSegoeUIIsMissing) {
    using Find = decltype(&GdipCreateFontFamilyFromName);
    const auto find = bench::RealFunction<Find>(L"gdiplus.dll", "GdipCreateFontFamilyFromName");
    const auto named = bench::HookCall<Find>(L"gdiplus.dll", "GdipCreateFontFamilyFromName",
                                             [](auto...) { return Gdiplus::FontFamilyNotFound; });
    // Any family will do: the bench has no generic one.
    int generic = 0;
    const auto usual = bench::HookCall<decltype(&GdipGetGenericFontFamilySansSerif)>(
        L"gdiplus.dll", "GdipGetGenericFontFamilySansSerif", [&](Gdiplus::GpFontFamily** family) {
            ++generic;
            return find(L"Segoe UI", nullptr, family);
        });
    EXPECT_TRUE(MakeFont({12, false}));
    EXPECT_TRUE(MakeFont({28, true}));
    EXPECT_EQ(generic, 2);
}

TEST_F(GdiplusObjects, DrawWithSmoothEdgesAndClearType) {
    const OwnedBitmap bitmap = MakeBitmap(10, 10);
    const HDC device = ::CreateCompatibleDC(nullptr);
    for (const OwnedGraphics& graphics : {MakeGraphics(bitmap.get()), MakeGraphics(device)}) {
        ASSERT_TRUE(graphics);
        auto smoothing = Gdiplus::SmoothingModeDefault;
        auto hint = Gdiplus::TextRenderingHintSystemDefault;
        GdipGetSmoothingMode(graphics.get(), &smoothing);
        GdipGetTextRenderingHint(graphics.get(), &hint);
        EXPECT_EQ(smoothing, Gdiplus::SmoothingModeAntiAlias);
        EXPECT_EQ(hint, Gdiplus::TextRenderingHintClearTypeGridFit);
    }
    ::DeleteDC(device);
}

TEST_F(GdiplusObjects, AreNoneWithoutATarget) {
    EXPECT_FALSE(MakeGraphics(static_cast<Gdiplus::GpImage*>(nullptr)));
    EXPECT_FALSE(MakeGraphics(static_cast<HDC>(nullptr)));
}

// Not a PaintingTest: nothing else may have started GDI+.
TEST(GdiplusSession, LeavesAllHarmlessWhenItDoesNotStart) {
    int shutdowns = 0;
    {
        const auto start = bench::HookCall<decltype(&Gdiplus::GdiplusStartup)>(
            L"gdiplus.dll", "GdiplusStartup", [](ULONG_PTR* token, auto...) {
                *token = 77;  // To be ignored.
                return Gdiplus::GenericError;
            });
        const auto stop = bench::HookCall<decltype(&Gdiplus::GdiplusShutdown)>(
            L"gdiplus.dll", "GdiplusShutdown", [&](ULONG_PTR) { ++shutdowns; });
        const GdiplusSession session;
        const HDC device = ::CreateCompatibleDC(nullptr);
        PaintWindow(device, BarePicture());
        PaintButton(MakeGraphics(device).get(), {0, 0, 10, 10}, {.text = L"Text"});
        MakeBitmapFromFile(BytesOf("no picture"));
        ::DeleteDC(device);
    }
    EXPECT_EQ(shutdowns, 0);
}

TEST(GdiplusSession, AsksForVersionOneWithNothingSuppressed) {
    int started = 0;
    ULONG_PTR shutDown = 0;
    {
        const auto start = bench::HookCall<decltype(&Gdiplus::GdiplusStartup)>(
            L"gdiplus.dll", "GdiplusStartup",
            [&](ULONG_PTR* token, const Gdiplus::GdiplusStartupInput* input, auto...) {
                ++started;
                *token = 55;
                EXPECT_EQ(input->GdiplusVersion, 1U);
                EXPECT_EQ(input->DebugEventCallback, nullptr);
                EXPECT_FALSE(input->SuppressBackgroundThread);
                EXPECT_FALSE(input->SuppressExternalCodecs);
                return Gdiplus::Ok;
            });
        const auto stop = bench::HookCall<decltype(&Gdiplus::GdiplusShutdown)>(
            L"gdiplus.dll", "GdiplusShutdown", [&](ULONG_PTR token) { shutDown = token; });
        const GdiplusSession session;
    }
    EXPECT_EQ(started, 1);
    EXPECT_EQ(shutDown, 55U);
}

}  // namespace
