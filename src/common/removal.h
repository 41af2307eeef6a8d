#pragma once

#include <string>

#include "common/windows_api.h"

// Deletion. Links are never followed: the link is removed, its target is kept. Read-only entries
// are removed too. Each function returns a Win32 error code; a missing path counts as removed. Any
// thread.

// Removes one file, link or empty folder; ERROR_DIR_NOT_EMPTY (145) for a folder with content.
[[nodiscard]] DWORD RemoveEntry(const std::wstring& path);

// Removes a file, a link, or a folder with its content. Continues after an entry that cannot be
// removed and returns the first error.
[[nodiscard]] DWORD RemoveTree(const std::wstring& path);

// RemoveEntry, then RemoveTree if the folder is not empty. Any other error is final.
[[nodiscard]] DWORD RemoveEntryOrTree(const std::wstring& path);
