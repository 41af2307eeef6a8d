#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "common/windows_api.h"

namespace bench {

// Keys below HKEY_CURRENT_USER as they are stored, for tests. A key path has no leading backslash.

// One value as it is stored: the type and the very bytes.
struct StoredValue {
    DWORD type;
    std::string bytes;

    bool operator==(const StoredValue&) const = default;
};
using StoredValues = std::map<std::wstring, StoredValue>;

// How a text looks with its terminator, and a number in the machine's byte order.
StoredValue StoredText(const std::wstring& text);
StoredValue StoredNumber(uint32_t number);

// All values of the key; empty optional if the key does not exist.
std::optional<StoredValues> ReadKey(const std::wstring& keyPath);

// Creates the key when missing and writes the value as it is.
void StoreValue(const std::wstring& keyPath, const std::wstring& name, const StoredValue& value);

// Removes the key and everything below it, if it exists.
void RemoveKey(const std::wstring& keyPath);

}  // namespace bench
