#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <vector>

#include "common/files.h"

// Whether two files hold the same bytes. Any thread; blocks for the reading of both.

// Files are compared in pieces of this size, so memory use does not grow with them.
inline constexpr size_t kComparisonChunkBytes = 0x100000;

// The memory of a comparison. Allocating it takes far longer than comparing two small files, so
// whoever compares many keeps it. For one comparison at a time.
struct ComparisonBuffers {
    std::vector<std::byte> source = std::vector<std::byte>(kComparisonChunkBytes);
    std::vector<std::byte> target = std::vector<std::byte>(kComparisonChunkBytes);
};

// Byte for byte. False as well when either is no regular file (links are followed), cannot be
// opened for reading, or fails to be read, even if both fail at the same place.
[[nodiscard]] bool FilesHaveSameContent(const std::filesystem::path& source,
                                        const std::filesystem::path& target);

// The same question for one who has looked at both paths already, in these two steps: what the
// sizes tell, and then, for two files of `size` bytes, what the bytes tell.
[[nodiscard]] bool CanHaveSameContent(const EntryFacts& source, const EntryFacts& target);
[[nodiscard]] bool HaveSameBytes(const std::filesystem::path& source,
                                 const std::filesystem::path& target, uint64_t size,
                                 ComparisonBuffers& buffers);
