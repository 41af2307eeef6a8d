#pragma once

#include <filesystem>

#include "common/shell_api.h"

// Where the system keeps one of the current user's or its own folders (FOLDERID_... of
// knownfolders.h). Empty when it does not say; with `flags` 0 also when the folder is not there.
// Any thread.
[[nodiscard]] std::filesystem::path KnownFolder(const KNOWNFOLDERID& id, DWORD flags = 0);
