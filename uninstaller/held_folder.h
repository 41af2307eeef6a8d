#pragma once

#include <string>

#include "common/handles.h"

// Opens a folder by its canonical path. While the handle is open, neither the folder nor its
// parents can be renamed or removed, so the path stays valid. Null when the folder does not exist,
// cannot be listed, or has another final path because a link has replaced it or one of its parents.
// Any thread.
[[nodiscard]] KernelHandle HoldFolder(const std::wstring& canonicalFolder);
