#pragma once

#include <cstdint>
#include <string>

// The total size in bytes of all files below `root`. File links count with their target's size,
// folder links are not entered, and unreadable entries are skipped. 0 for a missing, unreadable or
// empty `root`. Any thread; blocks for the whole walk.
[[nodiscard]] uint64_t FolderSizeBytes(const std::wstring& root);
