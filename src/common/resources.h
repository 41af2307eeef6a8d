#pragma once

#include <cstddef>
#include <span>

#include "common/windows_api.h"

// The raw-data resource (RT_RCDATA) with the number `id` (see resource_ids.h) in `module`; null
// means the running exe. If there is one per language, the system chooses. The bytes belong to the
// module and stay valid while it is loaded. Empty when the resource is missing, cannot be loaded or
// has no bytes. Any thread.
[[nodiscard]] std::span<const std::byte> EmbeddedData(HMODULE module, int id);
