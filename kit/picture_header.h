#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

struct PictureSize {
    uint32_t width = 0;  // Pixels; neither is 0.
    uint32_t height = 0;

    [[nodiscard]] uint64_t Pixels() const {
        return uint64_t{width} * height;
    }
};

// The size that the header of a PNG, JPEG, GIF, BMP or TIFF file promises; nothing is decoded. Of a
// file with several pictures the largest. None for other files and for damaged headers. Any thread.
[[nodiscard]] std::optional<PictureSize> ReadPictureSize(std::string_view file);
