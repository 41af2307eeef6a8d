#pragma once

#include <string>
#include <string_view>

// UTF-16 to UTF-8 for the demo's scripts.
std::string WideToUtf8(std::wstring_view text);
