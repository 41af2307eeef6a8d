#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

// Numbers and parts of a file's bytes, little-endian, for formats whose offsets cannot be trusted.

using ByteView = std::span<const std::byte>;
using ByteBuffer = std::vector<std::byte>;

// `size` bytes from `offset` on; none when they are not all there.
[[nodiscard]] inline std::optional<ByteView> PartOf(ByteView bytes, uint64_t offset,
                                                    uint64_t size) {
    if (offset > bytes.size() || size > bytes.size() - offset) {
        return std::nullopt;
    }
    return bytes.subspan(static_cast<size_t>(offset), static_cast<size_t>(size));
}

// Reads forward. A read beyond the end gives 0 and sets Failed(), so that a whole record can be
// read before that is asked.
class ByteReader {
public:
    explicit ByteReader(ByteView bytes) : bytes_(bytes) {}

    [[nodiscard]] uint8_t U8() {
        return static_cast<uint8_t>(Number(1));
    }
    [[nodiscard]] uint16_t U16() {
        return static_cast<uint16_t>(Number(2));
    }
    [[nodiscard]] uint32_t U32() {
        return static_cast<uint32_t>(Number(4));
    }
    [[nodiscard]] uint64_t U64() {
        return Number(8);
    }
    void Skip(uint64_t size) {
        static_cast<void>(Take(size));  // A skip beyond the end sets Failed().
    }
    [[nodiscard]] ByteView Take(uint64_t size) {
        const auto part = PartOf(bytes_, position_, size);
        if (!part) {
            failed_ = true;
            position_ = bytes_.size();
            return {};
        }
        position_ += part->size();
        return *part;
    }
    [[nodiscard]] size_t Position() const {
        return position_;
    }
    [[nodiscard]] bool Failed() const {
        return failed_;
    }

private:
    uint64_t Number(size_t size) {
        uint64_t number = 0;
        size_t shift = 0;
        for (const std::byte each : Take(size)) {
            number |= std::to_integer<uint64_t>(each) << shift;
            shift += 8;
        }
        return number;
    }

    ByteView bytes_;
    size_t position_ = 0;
    bool failed_ = false;
};

inline void PutNumber(std::span<std::byte> target, uint64_t number) {
    for (std::byte& each : target) {
        each = static_cast<std::byte>(number & 0xFF);
        number >>= 8;
    }
}

// Overwrite a number that is there already: the offsets are the writer's own.
inline void PutU16(ByteBuffer& bytes, size_t offset, uint16_t number) {
    PutNumber(std::span(bytes).subspan(offset, 2), number);
}
inline void PutU32(ByteBuffer& bytes, size_t offset, uint32_t number) {
    PutNumber(std::span(bytes).subspan(offset, 4), number);
}

inline void AppendU8(ByteBuffer& bytes, uint8_t number) {
    bytes.push_back(static_cast<std::byte>(number));
}
inline void AppendU16(ByteBuffer& bytes, uint16_t number) {
    bytes.resize(bytes.size() + 2);
    PutU16(bytes, bytes.size() - 2, number);
}
inline void AppendU32(ByteBuffer& bytes, uint32_t number) {
    bytes.resize(bytes.size() + 4);
    PutU32(bytes, bytes.size() - 4, number);
}
inline void AppendU64(ByteBuffer& bytes, uint64_t number) {
    bytes.resize(bytes.size() + 8);
    PutNumber(std::span(bytes).last(8), number);
}
inline void AppendBytes(ByteBuffer& bytes, ByteView more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}
// UTF-16 without a terminator.
inline void AppendText(ByteBuffer& bytes, std::wstring_view text) {
    for (const wchar_t character : text) {
        AppendU16(bytes, static_cast<uint16_t>(character));
    }
}

// `alignment` is a power of two.
[[nodiscard]] inline uint64_t AlignedUp(uint64_t value, uint64_t alignment) {
    return (value + alignment - 1) & ~(alignment - 1);
}
// Fills up with zeros.
inline void AlignBuffer(ByteBuffer& bytes, size_t alignment) {
    bytes.resize(static_cast<size_t>(AlignedUp(bytes.size(), alignment)));
}
