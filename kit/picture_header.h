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

// The size that the header of a file promises, in any of the formats that GDI+ reads: PNG, JPEG,
// GIF, BMP, TIFF, ICO, EMF, WMF. Nothing is decoded. Where a file says it in several places, the
// largest. None for other files and for headers without a size. Any thread.
[[nodiscard]] std::optional<PictureSize> ReadPictureSize(std::string_view file);
