#include "system/registry_text.h"

#include <algorithm>

std::optional<std::wstring> RegistryText(HKEY key, const std::wstring& keyPath,
                                         const wchar_t* valueName) {
    // Includes REG_EXPAND_SZ, which is expanded.
    constexpr DWORD kTexts = RRF_RT_REG_SZ;
    DWORD bytes = 0;
    if (::RegGetValueW(key, keyPath.c_str(), valueName, kTexts, nullptr, nullptr, &bytes) !=
        ERROR_SUCCESS) {
        return std::nullopt;
    }
    std::wstring text(bytes / sizeof(wchar_t) + 1, L'\0');
    bytes = static_cast<DWORD>(text.size() * sizeof(wchar_t));
    if (::RegGetValueW(key, keyPath.c_str(), valueName, kTexts, nullptr, text.data(), &bytes) !=
        ERROR_SUCCESS) {
        return std::nullopt;
    }
    text.resize(std::min(text.find(L'\0'), text.size()));
    return text.empty() ? std::nullopt : std::optional(text);
}
