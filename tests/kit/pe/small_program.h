#pragma once

#include <string_view>
#include <vector>

#include "kit/pe/pe_file.h"

// A 64-bit program as a file, with sections of one file page each.
struct SmallSection {
    std::string_view name;
    ByteBuffer bytes;      // At most 512.
    size_t directory = 0;  // The directory that it is all of; 0 for none.
};

inline constexpr uint32_t kSmallFilePage = 0x200;
inline constexpr uint32_t kSmallSectionPage = 0x1000;
inline constexpr size_t kSmallOptionalHeader = 64 + 24;
inline constexpr size_t kSmallSectionTable = kSmallOptionalHeader + 240;

// The first section is at the address 0x1000, the next at 0x2000 and so on. The headers have room
// for four sections.
ByteBuffer SmallProgram(const std::vector<SmallSection>& sections);

// The bytes of a text, or of any literal.
ByteBuffer BytesOf(std::string_view text);
