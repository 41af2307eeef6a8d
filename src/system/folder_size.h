#pragma once

#include <cstdint>
#include <filesystem>

// Sum of the sizes in bytes of all files below `root`. A file link counts with its target's size,
// folder links are not entered. What cannot be read is left out: an unreadable, missing or empty
// `root` gives 0. Any thread; blocks while it walks through the tree.
[[nodiscard]] uint64_t FolderSizeBytes(const std::filesystem::path& root);
