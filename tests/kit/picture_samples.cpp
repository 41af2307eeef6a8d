#include "picture_samples.h"

#include <stdexcept>

#include "kit/picture_encoding.h"
#include "ui/gdiplus_objects.h"

namespace kit_test {

namespace {

void AppendNumber(std::string& bytes, uint32_t number, int count) {
    for (int i = 0; i < count; ++i) {
        bytes += static_cast<char>(number >> 8 * i & 0xFF);
    }
}

CLSID EncoderOf(const std::wstring& format) {
    UINT count = 0;
    UINT bytes = 0;
    Gdiplus::DllExports::GdipGetImageEncodersSize(&count, &bytes);
    std::vector<std::byte> memory(bytes);
    auto* encoders = reinterpret_cast<Gdiplus::ImageCodecInfo*>(memory.data());
    Gdiplus::DllExports::GdipGetImageEncoders(count, bytes, encoders);
    for (UINT i = 0; i < count; ++i) {
        if (encoders[i].MimeType == L"image/" + format) {
            return encoders[i].Clsid;
        }
    }
    throw std::runtime_error("no encoder");
}

}  // namespace

std::string MakePicture(const std::wstring& format, int width, int height) {
    const OwnedBitmap bitmap = MakeBitmap(width, height);
    Gdiplus::DllExports::GdipBitmapSetPixel(bitmap.get(), width / 2, height / 2, 0xFF204060);
    std::string file = EncodePicture(bitmap.get(), EncoderOf(format));
    if (file.empty()) {
        throw std::runtime_error("not encoded");
    }
    return file;
}

std::string MakeIcon(const std::vector<int>& sizes) {
    constexpr uint32_t kHeaderBytes = 6;
    constexpr uint32_t kEntryBytes = 16;
    constexpr uint32_t kPictureBytes = 40;
    const auto count = static_cast<uint32_t>(sizes.size());
    std::string file;
    AppendNumber(file, 0, 2);
    AppendNumber(file, 1, 2);
    AppendNumber(file, count, 2);
    for (uint32_t i = 0; i < count; ++i) {
        AppendNumber(file, static_cast<uint32_t>(sizes[i]), 1);
        AppendNumber(file, static_cast<uint32_t>(sizes[i]), 1);
        AppendNumber(file, 0, 2);
        AppendNumber(file, 1, 2);
        AppendNumber(file, 32, 2);
        AppendNumber(file, kPictureBytes, 4);
        AppendNumber(file, kHeaderBytes + count * kEntryBytes + i * kPictureBytes, 4);
    }
    file.append(count * kPictureBytes, '\0');
    return file;
}

}  // namespace kit_test
