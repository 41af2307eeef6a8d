#include "ui/accent_color.h"

#include <string>

#include "common/text.h"

namespace {

constexpr size_t kDigits = 6;
constexpr Argb kOpaque = 0xFF000000;

Argb DigitValue(wchar_t digit) {
    if (digit >= L'0' && digit <= L'9') {
        return static_cast<Argb>(digit - L'0');
    }
    if (digit >= L'a' && digit <= L'f') {
        return static_cast<Argb>(digit - L'a' + 10);
    }
    if (digit >= L'A' && digit <= L'F') {
        return static_cast<Argb>(digit - L'A' + 10);
    }
    return 0;
}

}  // namespace

Argb ParseAccentColor(std::wstring_view accentHex) {
    std::wstring text = TrimWhitespace(accentHex);
    if (text.size() == kDigits + 1 && text.front() == L'#') {
        text.erase(0, 1);
    }
    if (text.size() != kDigits) {
        return kDefaultAccent;
    }
    Argb color = 0;
    for (const wchar_t digit : text) {
        color = color << 4 | DigitValue(digit);
    }
    return kOpaque | color;
}
