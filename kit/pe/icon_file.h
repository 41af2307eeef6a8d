#pragma once

#include <optional>
#include <vector>

#include "kit/pe/byte_access.h"
#include "kit/pe/resource_tree.h"

// Icon files (.ico) and the resources that they become: one group and one resource for each
// picture.

struct IconPicture {
    uint8_t storedWidth = 0;  // 0 means 256, like the height.
    uint8_t storedHeight = 0;
    uint8_t colors = 0;  // 0 for 256 or more.
    uint16_t planes = 0;
    uint16_t bitsPerPixel = 0;
    ByteView bytes;  // A bitmap with header, or a PNG. Belongs to the file that was read.

    [[nodiscard]] int Width() const {
        return storedWidth == 0 ? 256 : storedWidth;
    }
    [[nodiscard]] int Height() const {
        return storedHeight == 0 ? 256 : storedHeight;
    }
};

// The pictures of an icon file in their order. None when it is no icon file, has no picture, or
// pictures that overlap or leave the file. What is in a picture is not looked at. Any thread.
[[nodiscard]] std::optional<std::vector<IconPicture>> ReadIconFile(ByteView file);

// The content of a group resource for these pictures, whose own resources have the numbers 1, 2 and
// so on, as the resource compiler gives them to a program's only icon.
[[nodiscard]] ByteBuffer IconGroup(const std::vector<IconPicture>& pictures);

// The pictures of the group with the number `id`. None when group or picture is missing or damaged,
// when the group names a picture twice, and when the pictures together have more bytes than the
// program, which has `programBytes`.
[[nodiscard]] std::optional<std::vector<IconPicture>> ReadIconGroup(
    const std::vector<Resource>& resources, uint16_t id, uint64_t programBytes);

// An icon file with these pictures.
[[nodiscard]] ByteBuffer IconFile(const std::vector<IconPicture>& pictures);
