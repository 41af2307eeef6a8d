#include "kit/picture_header.h"

#include <algorithm>
#include <cstdlib>

namespace {

using namespace std::string_view_literals;

constexpr std::string_view kPngStart = "\x89PNG\r\n\x1A\n\0\0\0\rIHDR"sv;

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
        if (reader.Number(offset, 1) != 0xFF) {  // Decoders skip what is between segments.
            ++offset;
            continue;
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

// The screen or the first frame, whichever is larger.
std::optional<PictureSize> ReadGif(std::string_view file) {
    constexpr uint32_t kExtension = 0x21;
    constexpr uint32_t kFrame = 0x2C;
    HeaderReader reader(file, false);
    uint32_t width = reader.Number(6, 2);
    uint32_t height = reader.Number(8, 2);
    const uint32_t flags = reader.Number(10, 1);
    uint64_t offset = 13 + ((flags & 0x80) != 0 ? uint64_t{3} << ((flags & 7) + 1) : 0);
    while (reader.Number(offset, 1) == kExtension) {
        offset += 2;
        for (uint32_t block = reader.Number(offset, 1); block != 0;
             block = reader.Number(offset, 1)) {
            offset += 1 + block;
        }
        ++offset;
    }
    if (!reader.Failed() && reader.Number(offset, 1) == kFrame) {
        width = std::max(width, reader.Number(offset + 5, 2));
        height = std::max(height, reader.Number(offset + 7, 2));
    }
    return reader.Size(width, height);
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

// Of the first picture, which is the one that is shown. Entries behind the file's end do not
// matter.
std::optional<PictureSize> ReadTiff(std::string_view file, bool bigEndian) {
    constexpr uint32_t kWidthTag = 256;
    constexpr uint32_t kHeightTag = 257;
    constexpr uint32_t kShortType = 3;
    constexpr uint64_t kEntryBytes = 12;
    HeaderReader header(file, bigEndian);
    const uint64_t directory = header.Number(4, 4);
    const uint32_t entries = header.Number(directory, 2);
    uint32_t width = 0;
    uint32_t height = 0;
    HeaderReader reader(file, bigEndian);
    for (uint32_t i = 0; i < entries; ++i) {
        const uint64_t entry = directory + 2 + i * kEntryBytes;
        const uint32_t tag = reader.Number(entry, 2);
        const bool isShort = reader.Number(entry + 2, 2) == kShortType;
        const uint32_t number = reader.Number(entry + 8, isShort ? 2 : 4);
        if (tag == kWidthTag || tag == kHeightTag) {
            uint32_t& side = tag == kWidthTag ? width : height;
            side = std::max(side, number);  // Decoders differ in which of two they take.
        }
    }
    return header.Size(width, height);
}

// The largest of the pictures in an icon file, each by its own header: the directory can be wrong.
std::optional<PictureSize> ReadIcon(std::string_view file) {
    constexpr uint64_t kHeaderBytes = 6;
    constexpr uint64_t kEntryBytes = 16;
    HeaderReader reader(file, false);
    const uint32_t pictures = reader.Number(4, 2);
    uint32_t width = 0;
    uint32_t height = 0;
    for (uint32_t i = 0; i < pictures && !reader.Failed(); ++i) {
        const uint32_t offset = reader.Number(kHeaderBytes + i * kEntryBytes + 12, 4);
        const std::string_view picture = file.substr(std::min<size_t>(offset, file.size()));
        if (picture.starts_with(kPngStart)) {
            const auto size = ReadPng(picture).value_or(PictureSize());
            width = std::max(width, size.width);
            height = std::max(height, size.height);
        } else {
            // A bitmap's header with twice the height, for the mask.
            width = std::max(width, reader.Number(uint64_t{offset} + 4, 4));
            height = std::max(height, reader.Number(uint64_t{offset} + 8, 4) / 2);
        }
    }
    return reader.Size(width, height);
}

uint32_t Distance(int64_t from, int64_t to) {
    return static_cast<uint32_t>(std::min<int64_t>(std::abs(to - from), UINT32_MAX));
}

// Enhanced metafiles: the frame in hundredths of a millimeter, in pixels of its device.
std::optional<PictureSize> ReadEmf(std::string_view file) {
    constexpr uint64_t kFrame = 24;
    constexpr uint64_t kDevicePixels = 72;
    constexpr uint64_t kDeviceMillimeters = 80;
    HeaderReader reader(file, false);
    const auto side = [&](uint64_t axis) -> uint32_t {
        const uint64_t at = axis * 4;
        const auto from = static_cast<int32_t>(reader.Number(kFrame + at, 4));
        const auto to = static_cast<int32_t>(reader.Number(kFrame + 8 + at, 4));
        const uint64_t pixels = reader.Number(kDevicePixels + at, 4);
        const uint64_t millimeters = reader.Number(kDeviceMillimeters + at, 4);
        if (millimeters == 0) {
            return 0;
        }
        const uint64_t size = Distance(from, to) * pixels / (millimeters * 100) + 1;
        return static_cast<uint32_t>(std::min<uint64_t>(size, UINT32_MAX));
    };
    const uint32_t width = side(0);
    return reader.Size(width, side(1));
}

// Metafiles with a header that gives their size, in units of a part of an inch.
std::optional<PictureSize> ReadWmf(std::string_view file) {
    constexpr uint32_t kPixelsPerInch = 96;
    HeaderReader reader(file, false);
    const uint32_t unitsPerInch = reader.Number(14, 2);
    const auto side = [&](uint64_t axis) -> uint32_t {
        const auto from = static_cast<int16_t>(reader.Number(6 + axis * 2, 2));
        const auto to = static_cast<int16_t>(reader.Number(10 + axis * 2, 2));
        return unitsPerInch == 0 ? 0 : Distance(from, to) * kPixelsPerInch / unitsPerInch + 1;
    };
    const uint32_t width = side(0);
    return reader.Size(width, side(1));
}

}  // namespace

std::optional<PictureSize> ReadPictureSize(std::string_view file) {
    if (file.starts_with(kPngStart)) {
        return ReadPng(file);
    }
    if (file.starts_with("\xFF\xD8"sv)) {
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
    if (file.starts_with("\0\0\1\0"sv)) {
        return ReadIcon(file);
    }
    if (file.starts_with("\1\0\0\0"sv) && file.size() > 44 && file.substr(40, 4) == " EMF") {
        return ReadEmf(file);
    }
    if (file.starts_with("\xD7\xCD\xC6\x9A"sv)) {
        return ReadWmf(file);
    }
    return std::nullopt;
}
