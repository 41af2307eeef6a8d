#include "kit/pe/small_program.h"

namespace {

void PutText(ByteBuffer& bytes, size_t offset, std::string_view text) {
    for (size_t i = 0; i < text.size(); ++i) {
        bytes[offset + i] = static_cast<std::byte>(text[i]);
    }
}

void PutOptionalHeader(ByteBuffer& file, uint32_t sectionCount) {
    constexpr size_t kHeader = kSmallOptionalHeader;
    PutU16(file, kHeader, 0x20B);
    PutU32(file, kHeader + 8, sectionCount * kSmallFilePage);
    PutU32(file, kHeader + 32, kSmallSectionPage);
    PutU32(file, kHeader + 36, kSmallFilePage);
    PutU32(file, kHeader + 56, (sectionCount + 1) * kSmallSectionPage);
    PutU32(file, kHeader + 60, kSmallFilePage);
    PutU32(file, kHeader + 108, 16);
}

void PutSection(ByteBuffer& file, uint32_t index, const SmallSection& section) {
    const size_t header = kSmallSectionTable + index * kSectionHeaderSize;
    const uint32_t address = (index + 1) * kSmallSectionPage;
    const auto size = static_cast<uint32_t>(section.bytes.size());
    PutText(file, header, section.name);
    PutU32(file, header + 8, size);
    PutU32(file, header + 12, address);
    PutU32(file, header + 16, kSmallFilePage);
    PutU32(file, header + 20, (index + 1) * kSmallFilePage);
    PutU32(file, header + 36, 0x4000'0040);
    if (section.directory != 0) {
        const size_t directory = kSmallOptionalHeader + kDirectoriesField + section.directory * 8;
        PutU32(file, directory, address);
        PutU32(file, directory + 4, size);
    }
}

}  // namespace

ByteBuffer SmallProgram(const std::vector<SmallSection>& sections) {
    const auto count = static_cast<uint32_t>(sections.size());
    ByteBuffer file(kSmallFilePage);
    PutText(file, 0, "MZ");
    PutU32(file, 60, 64);
    PutText(file, 64, "PE");
    PutU16(file, 68, 0x8664);
    PutU16(file, 70, static_cast<uint16_t>(count));
    PutU16(file, 84, 240);
    PutOptionalHeader(file, count);
    for (uint32_t i = 0; i < count; ++i) {
        PutSection(file, i, sections[i]);
        AppendBytes(file, sections[i].bytes);
        AlignBuffer(file, kSmallFilePage);
    }
    return file;
}

ByteBuffer BytesOf(std::string_view text) {
    const auto bytes = std::as_bytes(std::span(text));
    return {bytes.begin(), bytes.end()};
}
