#include "common/byte_count_text.h"

#include <array>
#include <iomanip>
#include <locale>
#include <sstream>
#include <string_view>

std::wstring FormatByteCount(double bytes) {
    constexpr std::array<std::wstring_view, 5> kUnits{L"B", L"KB", L"MB", L"GB", L"TB"};
    size_t divisions = 0;
    while (bytes >= 1024.0 && divisions + 1 < kUnits.size()) {
        bytes /= 1024.0;
        ++divisions;
    }
    std::wostringstream text;
    text.imbue(std::locale::classic());
    text << std::fixed << std::setprecision(divisions == 0 ? 0 : 1) << bytes << L' '
         << kUnits[divisions];
    return text.str();
}

std::wstring FormatSpeed(double bytesPerSecond) {
    if (!(bytesPerSecond > 0.0)) {
        return L"0 MB/s";
    }
    return FormatByteCount(bytesPerSecond) + L"/s";
}
