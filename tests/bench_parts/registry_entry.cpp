#include "bench_parts/registry_entry.h"

#include <vector>

#include "common/handles.h"

namespace bench {
namespace {

std::string BytesOf(const void* data, size_t size) {
    return {static_cast<const char*>(data), size};
}

RegistryKey OpenForReading(const std::wstring& keyPath) {
    HKEY key = nullptr;
    const LSTATUS status =
        ::RegOpenKeyExW(HKEY_CURRENT_USER, keyPath.c_str(), 0, KEY_QUERY_VALUE, &key);
    return RegistryKey(status == ERROR_SUCCESS ? key : nullptr);
}

}  // namespace

StoredValue StoredText(const std::wstring& text) {
    return {REG_SZ, BytesOf(text.c_str(), (text.size() + 1) * sizeof(wchar_t))};
}

StoredValue StoredNumber(uint32_t number) {
    return {REG_DWORD, BytesOf(&number, sizeof number)};
}

std::optional<StoredValues> ReadKey(const std::wstring& keyPath) {
    const RegistryKey key = OpenForReading(keyPath);
    if (!key) {
        return std::nullopt;
    }
    constexpr DWORD kLongestName = 16'383;  // As the registry limits it.
    StoredValues values;
    for (DWORD index = 0;; ++index) {
        std::vector<wchar_t> name(kLongestName + 1);
        std::vector<char> data(1U << 16);
        auto nameLength = static_cast<DWORD>(name.size());
        auto dataSize = static_cast<DWORD>(data.size());
        DWORD type = REG_NONE;
        if (::RegEnumValueW(key.get(), index, name.data(), &nameLength, nullptr, &type,
                            reinterpret_cast<BYTE*>(data.data()), &dataSize) != ERROR_SUCCESS) {
            return values;
        }
        values[name.data()] = {type, BytesOf(data.data(), dataSize)};
    }
}

void StoreValue(const std::wstring& keyPath, const std::wstring& name, const StoredValue& value) {
    ::RegSetKeyValueW(HKEY_CURRENT_USER, keyPath.c_str(), name.c_str(), value.type,
                      value.bytes.data(), static_cast<DWORD>(value.bytes.size()));
}

void RemoveKey(const std::wstring& keyPath) {
    ::RegDeleteTreeW(HKEY_CURRENT_USER, keyPath.c_str());
}

}  // namespace bench
