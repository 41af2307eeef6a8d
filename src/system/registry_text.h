#pragma once

#include <optional>
#include <string>

#include "common/windows_api.h"

// A text from the registry without its terminator; an expandable one with its variables replaced.
// None when there is no such value, when it is no text, and when it is empty. `keyPath` is below
// `key` and may be empty. Any thread.
[[nodiscard]] std::optional<std::wstring> RegistryText(HKEY key, const std::wstring& keyPath,
                                                       const wchar_t* valueName);
