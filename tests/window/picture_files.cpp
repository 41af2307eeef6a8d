#include "window/picture_files.h"

#include <gtest/gtest.h>

#include "bench_parts/running_copy.h"
#include "bench_parts/scratch_folder.h"
#include "ui/gdiplus_objects.h"

using namespace Gdiplus::DllExports;

namespace bench {
namespace {

constexpr uint32_t kOpaque = 0xFF000000;
// The PNG encoder that comes with Windows.
constexpr CLSID kPngEncoder{
    0x557CF406, 0x1A04, 0x11D3, {0x9A, 0x73, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};

std::string BytesOf(IStream* stream) {
    HGLOBAL memory = nullptr;
    STATSTG facts{};
    if (FAILED(::GetHGlobalFromStream(stream, &memory)) ||
        FAILED(stream->Stat(&facts, STATFLAG_NONAME))) {
        return {};
    }
    const void* start = ::GlobalLock(memory);
    std::string bytes(static_cast<const char*>(start), facts.cbSize.QuadPart);
    ::GlobalUnlock(memory);
    return bytes;
}

std::string Encoded(Gdiplus::GpBitmap* bitmap) {
    IStream* stream = nullptr;
    if (FAILED(::CreateStreamOnHGlobal(nullptr, TRUE, &stream))) {
        return {};
    }
    const ComPointer<IStream> owner(stream);
    if (GdipSaveImageToStream(bitmap, stream, &kPngEncoder, nullptr) != Gdiplus::Ok) {
        return {};
    }
    return BytesOf(stream);
}

}  // namespace

std::string PngFile(int width, int height, const std::function<uint32_t(int x, int y)>& colorAt) {
    const GdiplusSession gdiplus;
    Gdiplus::GpBitmap* made = nullptr;
    GdipCreateBitmapFromScan0(width, height, 0, PixelFormat24bppRGB, nullptr, &made);
    const OwnedBitmap bitmap(made);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            GdipBitmapSetPixel(bitmap.get(), x, y, kOpaque | colorAt(x, y));
        }
    }
    std::string file = Encoded(bitmap.get());
    EXPECT_FALSE(file.empty()) << "the picture cannot be encoded";
    return file;
}

std::string PlainPngFile(int width, int height, uint32_t color) {
    return PngFile(width, height, [color](int, int) { return color; });
}

std::filesystem::path KeepScreenshot(const WindowShot& shot, const std::wstring& name) {
    // This program is in the build folder's "bin".
    std::filesystem::path file =
        FolderOfThisProgram().parent_path() / L"screenshots" / (name + L".png");
    WriteFile(file, PngFile(kWindow.width, kWindow.height,
                            [&shot](int x, int y) { return shot.At(x, y); }));
    return file;
}

}  // namespace bench
