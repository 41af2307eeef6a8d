#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "common/files.h"

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

// The same in two steps, for callers that know both files' facts: first kinds and sizes, then, for
// two files of `size` bytes, the bytes.
[[nodiscard]] bool CanHaveSameContent(const EntryFacts& source, const EntryFacts& target);
[[nodiscard]] bool HaveSameBytes(const std::wstring& source, const std::wstring& target,
                                 uint64_t size, ComparisonBuffers& buffers);
