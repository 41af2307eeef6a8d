#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

#include "kit/pe/byte_access.h"
#include "kit/zip/random_access_file.h"
#include "kit/zip/text_storage.h"

// The directory at the end of a ZIP file, read without trust: nothing is believed that the file's
// size does not allow.

// What is wrong with an entry's data or its local header.
enum class EntryDamage : uint8_t {
    None,
    NoHeader,    // There is no local header where the directory says.
    LeavesFile,  // Its data extends beyond the directory or the end of the file.
    Overlaps,    // It shares bytes with another entry.
    OtherName,   // These four: the local header says something else than the directory.
    OtherMethod,
    OtherFlags,
    OtherSizes,
    OtherDescriptor,  // The record behind the data says something else than the directory.
    BadData,          // The data does not inflate.
    WrongSize,        // It inflates to another size, or does not use all of its packed bytes.
    WrongChecksum,
    OtherDisk,  // It is on another disk.
};

struct ZipEntry {
    std::string_view name;  // The bytes as they are.
    uint64_t headerOffset = 0;
    uint64_t packedBytes = 0;
    uint64_t unpackedBytes = 0;
    uint32_t checksum = 0;            // CRC-32 of the unpacked data.
    uint32_t externalAttributes = 0;  // DOS attributes below; above, a mode if the host has such.
    uint16_t flags = 0;
    uint16_t method = 0;
    uint8_t host = 0;  // The system whose attributes these are.
    EntryDamage damage = EntryDamage::None;

    [[nodiscard]] bool IsFolder() const {
        return name.ends_with('/');
    }
};

struct ZipDirectory {
    // What is wrong with the directory itself, a sentence; empty when it is whole. Then `entries`
    // are those before the fault.
    std::string problem;
    std::deque<ZipEntry> entries;  // Does not copy its elements when it grows.
    TextStorage names;
    uint64_t offset = 0;  // Where it begins; entries lie before.
    uint64_t bytesBehindArchive = 0;
};

// Throws OutsideFailure when the file cannot be read. Any thread.
[[nodiscard]] ZipDirectory ReadZipDirectory(const RandomAccessFile& file);

// The numbers of a header that can be too large for it.
struct LargeNumbers {
    uint64_t unpackedBytes = 0;
    uint64_t packedBytes = 0;
    uint64_t headerOffset = 0;  // 0 in local headers, which have none.
};

// Replaces each number that says "see the ZIP64 extra field" by that field's, if it has it.
void TakeZip64Numbers(ByteView extraFields, LargeNumbers& numbers);
