#pragma once

#include <filesystem>

#include "common/handles.h"

// Opens a folder by its canonical path. While the handle is open, neither the folder nor one above
// it can be renamed or removed, so the path keeps leading to it. Null when it cannot be listed,
// when it does not exist, and when the path leads elsewhere because a link has taken the place of
// the folder or of one above it. Any thread.
[[nodiscard]] KernelHandle HoldFolder(const std::filesystem::path& canonicalFolder);
