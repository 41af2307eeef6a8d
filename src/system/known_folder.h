#pragma once

#include <string>

#include "common/shell_api.h"

// The path of a known folder (FOLDERID_... of knownfolders.h). Empty on failure; with `flags` 0
// also when the folder does not exist. Any thread.
[[nodiscard]] std::wstring KnownFolder(const KNOWNFOLDERID& id, DWORD flags = 0);
