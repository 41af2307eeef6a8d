#pragma once

#include <array>
#include <optional>
#include <string>

#include "kit/pe/byte_access.h"

// The headers of 64-bit Windows programs (PE32+ for x64), as the published PE format describes
// them.

struct PeDirectory {
    uint32_t address = 0;  // Relative to the image; for the certificates an offset in the file.
    uint32_t size = 0;
};

struct PeSection {
    std::string name;  // Without the zeros that fill it up.
    uint32_t virtualSize = 0;
    uint32_t address = 0;  // Relative to the image, like all addresses here.
    uint32_t rawSize = 0;
    uint32_t rawOffset = 0;
    uint32_t characteristics = 0;

    // The first address behind it. No overflow: ReadPeFile refuses addresses over 2 GiB.
    [[nodiscard]] uint32_t End() const {
        return address + (virtualSize > rawSize ? virtualSize : rawSize);
    }
    // The same in the file; 0 without data there.
    [[nodiscard]] uint64_t RawEnd() const {
        return rawSize == 0 ? 0 : uint64_t{rawOffset} + rawSize;
    }
};

inline constexpr size_t kResourceDirectory = 2;
inline constexpr size_t kCertificateDirectory = 4;
inline constexpr size_t kRelocationDirectory = 5;
inline constexpr size_t kPeDirectories = 16;

struct PeFile {
    size_t optionalHeaderOffset = 0;
    size_t sectionTableOffset = 0;
    uint32_t sectionAlignment = 0;  // Powers of two.
    uint32_t fileAlignment = 0;
    uint32_t imageSize = 0;
    uint32_t headersSize = 0;
    uint32_t initializedDataSize = 0;
    uint32_t symbolTableOffset = 0;
    uint32_t checksum = 0;
    size_t directoryCount = 0;  // How many the headers have room for; the others are empty.
    std::array<PeDirectory, kPeDirectories> directories;
    std::vector<PeSection> sections;  // In ascending order of their addresses; none overlap.

    [[nodiscard]] bool HasCertificates() const {
        return directories[kCertificateDirectory].size != 0;
    }
};

// The program's headers, checked: every section they describe is in the file and in the
// image, and a signature behind all sections. None when the bytes are no such program; `reason`
// then says why, for the end of a sentence. Any thread.
[[nodiscard]] std::optional<PeFile> ReadPeFile(ByteView file, std::string& reason);

// The bytes from `address` on that the file holds for its section, at least one. None outside of
// all sections' data.
[[nodiscard]] std::optional<ByteView> BytesFromAddress(ByteView file, const PeFile& pe,
                                                       uint32_t address);

// Where the optional header keeps what a new section changes.
inline constexpr size_t kInitializedDataSizeField = 8;
inline constexpr size_t kImageSizeField = 56;
inline constexpr size_t kChecksumField = 64;
inline constexpr size_t kDirectoriesField = 112;
inline constexpr size_t kSectionHeaderSize = 40;
// The section count is before the optional header, in the file header.
inline constexpr size_t kSectionCountBeforeOptionalHeader = 18;
