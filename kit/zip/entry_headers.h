#pragma once

#include <cstdint>
#include <string_view>

#include "kit/pe/byte_access.h"

// The records of a package, as they are written.

struct PackedEntry {
    std::string_view name;       // UTF-8; a folder's ends in a slash.
    uint64_t lastWriteTime = 0;  // 100 ns units since 1601 (FILETIME).
    uint64_t headerOffset = 0;
    uint64_t packedBytes = 0;
    uint64_t unpackedBytes = 0;
    uint32_t checksum = 0;
    bool isStored = false;
};

// The header before the entry's data. Its length depends on the name and `unpackedBytes` alone.
[[nodiscard]] ByteBuffer LocalHeader(const PackedEntry& entry);

[[nodiscard]] ByteBuffer DirectoryHeader(const PackedEntry& entry);

// What ends the file.
[[nodiscard]] ByteBuffer EndRecords(uint64_t entries, uint64_t directoryOffset,
                                    uint64_t directoryBytes);

// Seconds since 1970 in UTC for the extended time stamp: from 1970 to 2038. Its 32 bits are signed,
// but tar.exe takes times before 1970 for some after 2038.
[[nodiscard]] uint32_t UnixTime(uint64_t fileTime);

// Date (high) and time (low) of the DOS format in UTC, from 1980 to 2107, even seconds.
[[nodiscard]] uint32_t DosTime(uint64_t fileTime);
