#pragma once

#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

// Unpacks raw Deflate data just to know its size and checksum. One thread; can be used again.
class Inflater {
public:
    Inflater();
    ~Inflater();
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;

    // Begins new data that must not unpack to more than `largestSize` bytes.
    void Begin(uint64_t largestSize);

    // Takes the next bytes. False once the data is damaged or gets too large.
    [[nodiscard]] bool Take(std::span<const std::byte> packed);

    // Whether the data's end was reached, with its last byte the last one taken.
    [[nodiscard]] bool IsComplete() const {
        return isAtEnd_ && unused_ == 0;
    }
    [[nodiscard]] bool IsTooLarge() const {
        return isTooLarge_;
    }
    [[nodiscard]] uint64_t Size() const {
        return size_;
    }
    // CRC-32.
    [[nodiscard]] uint32_t Checksum() const {
        return checksum_;
    }

private:
    z_stream stream_{};
    std::unique_ptr<std::byte[]> unpacked_;
    uint64_t largestSize_ = 0;
    uint64_t size_ = 0;
    uint64_t unused_ = 0;
    uint32_t checksum_ = 0;
    bool isAtEnd_ = false;
    bool isTooLarge_ = false;
};

// CRC-32 of `bytes`, continued from `checksum`, which is 0 at first.
[[nodiscard]] uint32_t ContinueChecksum(uint32_t checksum, std::span<const std::byte> bytes);
