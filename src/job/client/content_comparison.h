#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "common/files.h"
#include "common/handles.h"

// Whether two files hold the same bytes. Any thread; blocks while both are read.

// Files are compared in chunks of this size, so memory use does not grow with their size.
inline constexpr size_t kComparisonChunkBytes = 0x100000;

// The memory for one comparison at a time. Allocating it takes far longer than comparing two small
// files, so reuse it when comparing many.
struct ComparisonBuffers {
    std::vector<std::byte> source = std::vector<std::byte>(kComparisonChunkBytes);
    std::vector<std::byte> target = std::vector<std::byte>(kComparisonChunkBytes);
};

// Compares byte for byte. Also false when either is not a regular file (links are followed) or
// cannot be opened or read, even if both fail at the same place.
[[nodiscard]] bool FilesHaveSameContent(const std::wstring& source, const std::wstring& target);

// A file opened for one comparison. Its facts come from the handle, which is faster than by path.
struct ComparedFile {
    KernelHandle file;  // Null when it cannot be opened.
    EntryFacts facts;   // Then by path.
};
[[nodiscard]] ComparedFile OpenForComparison(const std::wstring& path);

// FilesHaveSameContent for opened files that are at their beginning.
[[nodiscard]] bool HaveSameContent(const ComparedFile& source, const ComparedFile& target,
                                   ComparisonBuffers& buffers);
