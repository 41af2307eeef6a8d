#pragma once

#include <cstdint>
#include <functional>

#include "kit/zip/random_access_file.h"
#include "kit/zip/zip_directory.h"

// Places before the directory that belong to no entry.
struct StrayPlaces {
    uint64_t bytes = 0;
    uint64_t places = 0;
    uint64_t firstOffset = UINT64_MAX;
};

struct StrayBytes {
    StrayPlaces plain;
    // Those that begin with a local header: entries that the directory does not list.
    StrayPlaces unlisted;
};

using ByteProgress = std::function<void(uint64_t moreBytes)>;

// Reads every entry of a whole directory: its local header, its data and the record behind it.
// Sets each entry's `damage`, with up to `threads` threads. No byte of the file is unpacked twice,
// because entries that share bytes are damaged and not unpacked. What follows a damaged entry
// counts as stray only if the entry's end is certain: both headers agree on its size. What begins
// like an entry does not count if the directory gives a wrong place for one. `onRead` is told how
// many more bytes of the file are done, never more than there are, from any thread.
//
// Throws OutsideFailure when the file cannot be read.
[[nodiscard]] StrayBytes CheckEntries(const RandomAccessFile& file, ZipDirectory& directory,
                                      unsigned threads, const ByteProgress& onRead);
