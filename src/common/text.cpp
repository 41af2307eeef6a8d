#include "common/text.h"

#include <cwctype>
#include <limits>

#include "common/windows_api.h"

namespace {

constexpr std::wstring_view kWhitespace = L" \t\r\n";
constexpr std::wstring_view kInvalidFileNameCharacters = L"\\/:*?\"<>|";

}  // namespace

std::wstring TrimWhitespace(std::wstring_view text) {
    const size_t first = text.find_first_not_of(kWhitespace);
    if (first == std::wstring_view::npos) {
        return {};
    }
    const size_t last = text.find_last_not_of(kWhitespace);
    return std::wstring(text.substr(first, last - first + 1));
}

std::wstring SanitizeFileName(std::wstring_view value, std::wstring_view fallback) {
    const std::wstring trimmed = TrimWhitespace(value);
    return ReplaceFileNameCharacters(trimmed.empty() ? fallback : trimmed);
}

std::wstring ReplaceFileNameCharacters(std::wstring_view text) {
    std::wstring name(text);
    for (wchar_t& character : name) {
        if (kInvalidFileNameCharacters.find(character) != std::wstring_view::npos) {
            character = L'_';
        }
    }
    return name;
}

std::wstring LowerCase(std::wstring_view text) {
    std::wstring lower(text);
    for (wchar_t& character : lower) {
        character = static_cast<wchar_t>(std::towlower(character));
    }
    return lower;
}

bool IsSameIgnoringCase(std::wstring_view left, std::wstring_view right) {
    // CompareStringOrdinal refuses the null pointer of an empty view.
    if (left.empty() || right.empty()) {
        return left.empty() && right.empty();
    }
    return ::CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                  static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}

std::wstring Utf8ToWide(std::string_view utf8) {
    // MultiByteToWideChar takes lengths as int; no configuration text is that long.
    if (utf8.empty() || utf8.size() > static_cast<size_t>(std::numeric_limits<int>::max())) {
        return {};
    }
    const int bytes = static_cast<int>(utf8.size());
    const int needed = ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, nullptr, 0);
    if (needed <= 0) {
        return {};
    }
    std::wstring wide(static_cast<size_t>(needed), L'\0');
    const int written = ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, wide.data(), needed);
    wide.resize(written > 0 ? static_cast<size_t>(written) : 0);
    return wide;
}
