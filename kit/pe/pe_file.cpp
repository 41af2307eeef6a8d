#include "kit/pe/pe_file.h"

#include <algorithm>

namespace {

constexpr uint16_t kDosSignature = 0x5A4D;  // "MZ"
constexpr uint32_t kPeSignature = 0x4550;   // "PE", two zeros
constexpr uint16_t kMachineX64 = 0x8664;
constexpr uint16_t kPe32PlusMagic = 0x20B;
constexpr size_t kNewHeaderOffsetField = 60;
constexpr uint16_t kMaxSections = 96;  // What Windows loads.
constexpr uint32_t kMaxImageSize = 0x7FFF'FFFF;
constexpr uint32_t kMaxFileAlignment = 0x10000;

struct FileHeader {
    uint16_t sectionCount = 0;
    uint16_t optionalHeaderSize = 0;
};

// Reads up to the optional header.
std::optional<FileHeader> ReadFileHeader(ByteReader& reader, ByteView file, PeFile& pe) {
    ByteReader dos(file);
    if (dos.U16() != kDosSignature) {
        return std::nullopt;
    }
    dos.Skip(kNewHeaderOffsetField - dos.Position());
    reader.Skip(dos.U32());
    if (reader.U32() != kPeSignature || reader.U16() != kMachineX64) {
        return std::nullopt;
    }
    FileHeader header;
    header.sectionCount = reader.U16();
    reader.Skip(4);  // Time stamp.
    pe.symbolTableOffset = reader.U32();
    reader.Skip(4);  // Number of symbols.
    header.optionalHeaderSize = reader.U16();
    reader.Skip(2);  // Characteristics.
    pe.optionalHeaderOffset = reader.Position();
    return header;
}

// False when it is not the optional header of a 64-bit program.
bool ReadOptionalHeader(ByteReader& reader, size_t size, PeFile& pe) {
    if (size < kDirectoriesField || reader.U16() != kPe32PlusMagic) {
        return false;
    }
    reader.Skip(6);  // Linker version, size of the code.
    pe.initializedDataSize = reader.U32();
    reader.Skip(20);  // Sizes and addresses up to the image base.
    pe.sectionAlignment = reader.U32();
    pe.fileAlignment = reader.U32();
    reader.Skip(16);  // Versions.
    pe.imageSize = reader.U32();
    pe.headersSize = reader.U32();
    pe.checksum = reader.U32();
    reader.Skip(40);  // Subsystem, flags, stack and heap sizes, loader flags.
    pe.directoryCount =
        std::min({size_t{reader.U32()}, kPeDirectories, (size - kDirectoriesField) / 8});
    for (size_t i = 0; i < pe.directoryCount; ++i) {
        pe.directories[i].address = reader.U32();
        pe.directories[i].size = reader.U32();
    }
    return true;
}

bool IsPowerOfTwo(uint32_t number) {
    return number != 0 && (number & (number - 1)) == 0;
}

bool AreSizesSound(const PeFile& pe) {
    return IsPowerOfTwo(pe.sectionAlignment) && IsPowerOfTwo(pe.fileAlignment) &&
           pe.fileAlignment <= pe.sectionAlignment && pe.fileAlignment <= kMaxFileAlignment &&
           pe.sectionAlignment <= 0x1000'0000 && pe.imageSize <= kMaxImageSize;
}

PeSection ReadSection(ByteReader& reader) {
    PeSection section;
    for (const std::byte character : reader.Take(8)) {
        if (character == std::byte{0}) {
            break;
        }
        section.name += static_cast<char>(character);
    }
    section.virtualSize = reader.U32();
    section.address = reader.U32();
    section.rawSize = reader.U32();
    section.rawOffset = reader.U32();
    reader.Skip(12);  // Relocations and line numbers, which only object files have.
    section.characteristics = reader.U32();
    return section;
}

// In the image, behind the section before it, and with its data in the file.
bool IsSectionSound(const PeSection& section, uint32_t lowestAddress, ByteView file,
                    const PeFile& pe) {
    return section.address >= lowestAddress && section.address < pe.imageSize &&
           section.virtualSize <= kMaxImageSize - section.address &&
           section.rawSize <= kMaxImageSize - section.address &&
           (section.rawSize == 0 || PartOf(file, section.rawOffset, section.rawSize));
}

// Without a signature, or with one that is in the file, behind everything else, and begins with a
// size (WIN_CERTIFICATE) that it can have.
bool IsSignatureSound(ByteView file, const PeFile& pe) {
    constexpr uint32_t kHeaderSize = 8;
    constexpr uint32_t kAlignment = 8;
    const PeDirectory& place = pe.directories[kCertificateDirectory];
    if (!pe.HasCertificates()) {
        return true;
    }
    uint64_t end = pe.headersSize;
    for (const PeSection& section : pe.sections) {
        end = std::max(end, section.RawEnd());
    }
    const auto bytes = PartOf(file, place.address, place.size);
    if (!bytes || place.address < end || place.address % kAlignment != 0) {
        return false;
    }
    const uint32_t size = ByteReader(*bytes).U32();
    return size >= kHeaderSize && size <= place.size;
}

}  // namespace

std::optional<PeFile> ReadPeFile(ByteView file, std::string& reason) {
    PeFile pe;
    ByteReader reader(file);
    const auto header = ReadFileHeader(reader, file, pe);
    if (!header || !ReadOptionalHeader(reader, header->optionalHeaderSize, pe)) {
        reason = "it is no 64-bit Windows program";
        return std::nullopt;
    }
    if (!AreSizesSound(pe)) {
        reason = "its headers are damaged";
        return std::nullopt;
    }
    pe.sectionTableOffset = pe.optionalHeaderOffset + header->optionalHeaderSize;
    if (header->sectionCount > kMaxSections ||
        !PartOf(file, pe.sectionTableOffset, header->sectionCount * kSectionHeaderSize)) {
        reason = "its table of sections is damaged";
        return std::nullopt;
    }
    ByteReader table(file.subspan(pe.sectionTableOffset));
    uint32_t lowestAddress = 0;
    for (uint16_t i = 0; i < header->sectionCount; ++i) {
        PeSection section = ReadSection(table);
        if (!IsSectionSound(section, lowestAddress, file, pe)) {
            reason = "a section of it is damaged, or the file is cut short";
            return std::nullopt;
        }
        lowestAddress = section.End();
        pe.sections.push_back(std::move(section));
    }
    if (!IsSignatureSound(file, pe)) {
        reason = "its signature is damaged, or the file is cut short";
        return std::nullopt;
    }
    return pe;
}

std::optional<ByteView> BytesFromAddress(ByteView file, const PeFile& pe, uint32_t address) {
    for (const PeSection& section : pe.sections) {
        if (address >= section.address && address - section.address < section.rawSize) {
            const uint32_t skipped = address - section.address;
            return PartOf(file, uint64_t{section.rawOffset} + skipped, section.rawSize - skipped);
        }
    }
    return std::nullopt;
}
