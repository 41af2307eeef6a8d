#include "kit/picture_header.h"

#include <cstdlib>

namespace {

using namespace std::string_view_literals;

// Reads numbers of a file. A read beyond the end gives 0 and makes the whole result none.
class HeaderReader {
public:
    HeaderReader(std::string_view file, bool bigEndian) : file_(file), bigEndian_(bigEndian) {}

    uint32_t Number(uint64_t offset, size_t bytes) {
        if (offset > file_.size() || bytes > file_.size() - offset) {
            failed_ = true;
            return 0;
        }
        uint32_t number = 0;
        for (size_t i = 0; i < bytes; ++i) {
            const size_t at = static_cast<size_t>(offset) + (bigEndian_ ? i : bytes - 1 - i);
            number = number << 8 | static_cast<unsigned char>(file_[at]);
        }
        return number;
    }

    [[nodiscard]] bool Failed() const {
        return failed_;
    }

    [[nodiscard]] std::optional<PictureSize> Size(uint32_t width, uint32_t height) const {
        const bool isSize = !failed_ && width != 0 && height != 0;
        return isSize ? std::optional(PictureSize{width, height}) : std::nullopt;
    }

private:
    std::string_view file_;
    bool bigEndian_;
    bool failed_ = false;
};

std::optional<PictureSize> ReadPng(std::string_view file) {
    HeaderReader reader(file, true);
    const uint32_t width = reader.Number(16, 4);
    return reader.Size(width, reader.Number(20, 4));
}

// Goes from segment to segment to the one that begins the picture.
std::optional<PictureSize> ReadJpeg(std::string_view file) {
    HeaderReader reader(file, true);
    for (uint64_t offset = 2; !reader.Failed();) {
        if (reader.Number(offset, 1) != 0xFF) {
            return std::nullopt;
        }
        const uint32_t marker = reader.Number(offset + 1, 1);
        if (marker == 0xFF) {  // Fill bytes may precede a marker.
            ++offset;
            continue;
        }
        const bool beginsPicture =
            marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
        if (beginsPicture) {
            const uint32_t height = reader.Number(offset + 5, 2);
            return reader.Size(reader.Number(offset + 7, 2), height);
        }
        constexpr uint32_t kEndOfPicture = 0xD9;
        constexpr uint32_t kStartOfScan = 0xDA;
        if (marker == kEndOfPicture || marker == kStartOfScan) {
            return std::nullopt;
        }
        const bool hasLength = marker != 0x01 && (marker < 0xD0 || marker > 0xD8);
        const uint32_t length = hasLength ? reader.Number(offset + 2, 2) : 0;
        if (hasLength && length < 2) {
            return std::nullopt;
        }
        offset += 2 + length;
    }
    return std::nullopt;
}

std::optional<PictureSize> ReadGif(std::string_view file) {
    HeaderReader reader(file, false);
    const uint32_t width = reader.Number(6, 2);
    return reader.Size(width, reader.Number(8, 2));
}

std::optional<PictureSize> ReadBmp(std::string_view file) {
    HeaderReader reader(file, false);
    constexpr uint32_t kOldHeaderBytes = 12;
    if (reader.Number(14, 4) == kOldHeaderBytes) {
        const uint32_t width = reader.Number(18, 2);
        return reader.Size(width, reader.Number(20, 2));
    }
    const auto width = static_cast<int32_t>(reader.Number(18, 4));
    const auto height = static_cast<int32_t>(reader.Number(22, 4));  // Negative: top row first.
    if (width <= 0 || height == INT32_MIN) {
        return std::nullopt;
    }
    return reader.Size(static_cast<uint32_t>(width), static_cast<uint32_t>(std::abs(height)));
}

// One directory of a TIFF file. `next` receives the offset of the next one.
std::optional<PictureSize> ReadTiffDirectory(HeaderReader& reader, uint32_t offset,
                                             uint32_t& next) {
    constexpr uint32_t kWidthTag = 256;
    constexpr uint32_t kHeightTag = 257;
    constexpr uint32_t kShortType = 3;
    constexpr uint64_t kEntryBytes = 12;
    const uint32_t entries = reader.Number(offset, 2);
    uint32_t width = 0;
    uint32_t height = 0;
    for (uint32_t i = 0; i < entries && !reader.Failed(); ++i) {
        const uint64_t entry = offset + 2 + i * kEntryBytes;
        const uint32_t tag = reader.Number(entry, 2);
        if (tag == kWidthTag || tag == kHeightTag) {
            const bool isShort = reader.Number(entry + 2, 2) == kShortType;
            (tag == kWidthTag ? width : height) = reader.Number(entry + 8, isShort ? 2 : 4);
        }
    }
    next = reader.Number(offset + 2 + entries * kEntryBytes, 4);
    return reader.Size(width, height);
}

std::optional<PictureSize> ReadTiff(std::string_view file, bool bigEndian) {
    constexpr int kMostPictures = 100;
    HeaderReader reader(file, bigEndian);
    std::optional<PictureSize> largest;
    uint32_t offset = reader.Number(4, 4);
    for (int i = 0; offset != 0; ++i) {
        const auto size = ReadTiffDirectory(reader, offset, offset);
        if (!size || i == kMostPictures) {
            return std::nullopt;
        }
        if (!largest || size->Pixels() > largest->Pixels()) {
            largest = size;
        }
    }
    return largest;
}

}  // namespace

std::optional<PictureSize> ReadPictureSize(std::string_view file) {
    if (file.starts_with("\x89PNG\r\n\x1A\n\0\0\0\rIHDR"sv)) {
        return ReadPng(file);
    }
    if (file.starts_with("\xFF\xD8\xFF"sv)) {
        return ReadJpeg(file);
    }
    if (file.starts_with("GIF87a"sv) || file.starts_with("GIF89a"sv)) {
        return ReadGif(file);
    }
    if (file.starts_with("BM"sv)) {
        return ReadBmp(file);
    }
    if (file.starts_with("II*\0"sv) || file.starts_with("MM\0*"sv)) {
        return ReadTiff(file, file.front() == 'M');
    }
    return std::nullopt;
}
