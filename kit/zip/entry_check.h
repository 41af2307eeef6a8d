#pragma once

#include <cstdint>
#include <functional>

#include "kit/zip/random_access_file.h"
#include "kit/zip/zip_directory.h"

// Bytes before the directory that belong to no entry.
struct StrayBytes {
    uint64_t bytes = 0;
    uint64_t places = 0;
    uint64_t firstOffset = UINT64_MAX;
    uint64_t unlistedEntries = 0;  // Places that begin with a local header.
};

using ByteProgress = std::function<void(uint64_t moreBytes)>;

// Reads every entry of a whole directory: its local header, its data and the record behind it.
// Sets each entry's `damage`, with up to `threads` threads. No byte of the file is unpacked twice,
// because entries that share bytes are damaged and not unpacked. `onRead` is told how many more
// bytes of the file are done, from any thread.
//
// Throws OutsideFailure when the file cannot be read.
[[nodiscard]] StrayBytes CheckEntries(const RandomAccessFile& file, ZipDirectory& directory,
                                      unsigned threads, const ByteProgress& onRead);
