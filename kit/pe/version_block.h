#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "kit/pe/byte_access.h"

// The version resource (VS_VERSIONINFO, as Windows documents it).

struct VersionText {
    std::wstring name;
    std::wstring text;
};

// The version resource of a program in one language.
struct VersionBlock {
    std::array<uint16_t, 4> numbers{};  // Of file and product alike.
    uint16_t language = 0;              // A Windows language identifier.
    std::wstring languageDigits;        // The same as four hexadecimal digits, as configured.
    std::vector<VersionText> texts;
};

// The resource of a windowed program with these texts, byte for byte as the resource compiler makes
// it from resources/version_info.rc. None when the texts are too long for the format: 65,535 bytes
// in all.
[[nodiscard]] std::optional<ByteBuffer> MakeVersionResource(const VersionBlock& block);

// The texts of a version resource in its first language, in their order. Empty when it is damaged
// or has none. Any thread.
[[nodiscard]] std::vector<VersionText> ReadVersionTexts(ByteView resource);
