#include "kit/picture_encoding.h"

#include "common/handles.h"

std::string EncodePicture(Gdiplus::GpImage* image, const CLSID& encoder) {
    IStream* made = nullptr;
    if (FAILED(::CreateStreamOnHGlobal(nullptr, TRUE, &made))) {
        return {};
    }
    const ComPointer<IStream> stream(made);
    STATSTG facts{};
    if (Gdiplus::DllExports::GdipSaveImageToStream(image, stream.get(), &encoder, nullptr) !=
            Gdiplus::Ok ||
        FAILED(stream->Stat(&facts, STATFLAG_NONAME)) ||
        FAILED(stream->Seek({}, STREAM_SEEK_SET, nullptr))) {
        return {};
    }
    std::string file(static_cast<size_t>(facts.cbSize.QuadPart), '\0');
    ULONG bytes = 0;
    const HRESULT result = stream->Read(file.data(), static_cast<ULONG>(file.size()), &bytes);
    return SUCCEEDED(result) && bytes == file.size() ? file : std::string();
}
