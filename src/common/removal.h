#pragma once

#include <filesystem>

#include "common/windows_api.h"

// Deleting. None of these ever follows a link: a link itself goes, what it leads to stays.
// Read-only entries go too. Each returns a Win32 error code; a path where nothing is counts as
// removed. Any thread.

// Removes one file, link or empty folder; ERROR_DIR_NOT_EMPTY (145) for a folder with content.
[[nodiscard]] DWORD RemoveEntry(const std::filesystem::path& path);

// Removes a file, link, or a folder with everything in it. Goes on after an entry that cannot be
// removed and returns the first error.
[[nodiscard]] DWORD RemoveTree(const std::filesystem::path& path);

// RemoveEntry, answered by RemoveTree when the folder is not empty. Any other error is final.
[[nodiscard]] DWORD RemoveEntryOrTree(const std::filesystem::path& path);
