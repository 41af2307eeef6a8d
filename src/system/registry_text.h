#pragma once

#include <optional>
#include <string>

#include "common/windows_api.h"

// A string value from the registry, without its terminator and with environment variables expanded
// (REG_EXPAND_SZ). None when the value is missing, empty or not a string. `keyPath` is relative to
// `key` and may be empty. Any thread.
[[nodiscard]] std::optional<std::wstring> RegistryText(HKEY key, const std::wstring& keyPath,
                                                       const wchar_t* valueName);
