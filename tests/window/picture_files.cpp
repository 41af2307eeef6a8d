#include "window/picture_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <initializer_list>
#include <sstream>

#include "bench_parts/running_copy.h"
#include "bench_parts/scratch_folder.h"
#include "bench_parts/waiting.h"
#include "ui/gdiplus_objects.h"

using namespace Gdiplus::DllExports;

namespace {

constexpr uint32_t kOpaque = 0xFF000000;

// The encoders that come with Windows differ in one byte of their identifiers.
CLSID EncoderOf(PictureFormat format) {
    CLSID encoder{0x557CF400, 0x1A04, 0x11D3, {0x9A, 0x73, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};
    switch (format) {
        case PictureFormat::Bmp:
            break;
        case PictureFormat::Jpeg:
            encoder.Data1 += 1;
            break;
        case PictureFormat::Png:
            encoder.Data1 += 6;
            break;
    }
    return encoder;
}

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

std::string Encoded(Gdiplus::GpBitmap* bitmap, PictureFormat format) {
    IStream* stream = nullptr;
    if (FAILED(::CreateStreamOnHGlobal(nullptr, TRUE, &stream))) {
        return {};
    }
    const ComPointer<IStream> owner(stream);
    const CLSID encoder = EncoderOf(format);
    if (GdipSaveImageToStream(bitmap, stream, &encoder, nullptr) != Gdiplus::Ok) {
        return {};
    }
    return BytesOf(stream);
}

}  // namespace

std::string PictureFile(PictureFormat format, int width, int height,
                        const std::function<uint32_t(int x, int y)>& colorAt) {
    const GdiplusSession gdiplus;
    Gdiplus::GpBitmap* made = nullptr;
    GdipCreateBitmapFromScan0(width, height, 0, PixelFormat24bppRGB, nullptr, &made);
    const OwnedBitmap bitmap(made);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            GdipBitmapSetPixel(bitmap.get(), x, y, kOpaque | colorAt(x, y));
        }
    }
    std::string file = Encoded(bitmap.get(), format);
    EXPECT_FALSE(file.empty()) << "the picture cannot be encoded";
    return file;
}

std::string PlainPictureFile(PictureFormat format, int width, int height, uint32_t color) {
    return PictureFile(format, width, height, [color](int, int) { return color; });
}

std::filesystem::path KeepScreenshot(const WindowShot& shot, const std::wstring& name) {
    // The programs lie in the build folder's "bin".
    std::filesystem::path file =
        bench::FolderOfThisProgram().parent_path() / L"screenshots" / (name + L".png");
    bench::WriteFile(file, PictureFile(PictureFormat::Png, kWindow.width, kWindow.height,
                                       [&shot](int x, int y) { return shot.At(x, y); }));
    return file;
}

std::string Difference(const WindowShot& expected, const WindowShot& actual) {
    int count = 0;
    int left = kWindow.width;
    int top = kWindow.height;
    int right = 0;
    int bottom = 0;
    for (int y = 0; y < kWindow.height; ++y) {
        for (int x = 0; x < kWindow.width; ++x) {
            if (expected.At(x, y) != actual.At(x, y)) {
                ++count;
                left = std::min(left, x);
                right = std::max(right, x);
                top = std::min(top, y);
                bottom = std::max(bottom, y);
            }
        }
    }
    if (count == 0) {
        return "";
    }
    std::ostringstream text;
    text << count << " pixels differ, from " << left << ", " << top << " to " << right << ", "
         << bottom << "; the first from " << std::hex << expected.At(left, top) << " to "
         << actual.At(left, top);
    return text.str();
}

std::string AwaitPicture(const ToolWindow& window, const WindowShot& wanted) {
    std::string difference;
    bench::Await([&] {
        difference = Difference(wanted, window.Look());
        return difference.empty();
    });
    return difference;
}

int NearestDistance(const WindowShot& shot, const Box& box, uint32_t color) {
    int nearest = 255;
    for (int y = box.y; y < box.y + box.height; ++y) {
        for (int x = box.x; x < box.x + box.width; ++x) {
            int distance = 0;
            for (const int shift : {0, 8, 16}) {
                const int difference = static_cast<int>(shot.At(x, y) >> shift & 0xFF) -
                                       static_cast<int>(color >> shift & 0xFF);
                distance = std::max(distance, std::abs(difference));
            }
            nearest = std::min(nearest, distance);
        }
    }
    return nearest;
}
