#include "common/byte_count_text.h"

#include <algorithm>
#include <array>
#include <cwchar>

std::wstring FormatByteCount(double bytes) {
    constexpr std::array<const wchar_t*, 5> kUnits{L"B", L"KB", L"MB", L"GB", L"TB"};
    size_t divisions = 0;
    while (bytes >= 1024.0 && divisions + 1 < kUnits.size()) {
        bytes /= 1024.0;
        ++divisions;
    }
    // Room for the digits of any double.
    std::array<wchar_t, 330> number{};
    const int length =
        std::swprintf(number.data(), number.size(), L"%.*f", divisions == 0 ? 0 : 1, bytes);
    return std::wstring(number.data(), static_cast<size_t>(std::max(length, 0))) + L' ' +
           kUnits[divisions];
}

std::wstring FormatSpeed(double bytesPerSecond) {
    if (!(bytesPerSecond > 0.0)) {
        return L"0 MB/s";
    }
    return FormatByteCount(bytesPerSecond) + L"/s";
}
