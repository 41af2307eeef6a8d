#pragma once

#include <string>
#include <string_view>

// UTF-16 to UTF-8, which is what the demo's scripts read. Empty for an empty input.
std::string WideToUtf8(std::wstring_view text);
