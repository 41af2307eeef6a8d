#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace bench {

inline std::string ToUtf8(std::wstring_view text) {
    const std::u8string utf8 = std::filesystem::path(text).u8string();
    return {utf8.begin(), utf8.end()};
}

}  // namespace bench
