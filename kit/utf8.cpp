#include "kit/utf8.h"

#include <array>
#include <cstdint>
#include <cstdio>

#include "common/windows_api.h"

namespace {

struct Character {
    char32_t code = 0;
    size_t bytes = 0;  // 0 when the first byte begins no valid sequence.
};

// The number of bytes of the sequence that `first` begins, with the code's high bits.
Character SequenceStart(unsigned char first) {
    if (first < 0x80) {
        return {first, 1};
    }
    if (first >= 0xC2 && first <= 0xDF) {
        return {static_cast<char32_t>(first & 0x1F), 2};
    }
    if (first >= 0xE0 && first <= 0xEF) {
        return {static_cast<char32_t>(first & 0x0F), 3};
    }
    if (first >= 0xF0 && first <= 0xF4) {
        return {static_cast<char32_t>(first & 0x07), 4};
    }
    return {};
}

bool IsCodePoint(const Character& character) {
    const char32_t code = character.code;
    switch (character.bytes) {
        case 3:
            return code >= 0x800 && (code < 0xD800 || code > 0xDFFF);
        case 4:
            return code >= 0x10000 && code <= 0x10FFFF;
        default:
            return true;
    }
}

// The first character of a text that is not empty.
Character FirstCharacter(std::string_view text) {
    Character character = SequenceStart(static_cast<unsigned char>(text[0]));
    if (character.bytes > text.size()) {
        return {};
    }
    for (size_t i = 1; i < character.bytes; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte & 0xC0) != 0x80) {
            return {};
        }
        character.code = character.code << 6 | (byte & 0x3FU);
    }
    return IsCodePoint(character) ? character : Character{};
}

bool IsUnsafe(char32_t code) {
    const bool isControl = code < 0x20 || (code >= 0x7F && code <= 0x9F);
    const bool isSeparator = code == 0x2028 || code == 0x2029;
    const bool isDirection = code == 0x061C || code == 0x200E || code == 0x200F ||
                             (code >= 0x202A && code <= 0x202E) ||
                             (code >= 0x2066 && code <= 0x2069);
    return isControl || isSeparator || isDirection || code == 0xFEFF;
}

void AppendHex(std::string& target, const char* format, unsigned value) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), format, value);
    target += text.data();
}

void AppendEscaped(std::string& target, char32_t code) {
    switch (code) {
        case '\n':
            target += "\\n";
            break;
        case '\r':
            target += "\\r";
            break;
        case '\t':
            target += "\\t";
            break;
        default:
            AppendHex(target, code < 0x80 ? "\\x%02X" : "\\u%04X", static_cast<unsigned>(code));
            break;
    }
}

}  // namespace

std::string WideToUtf8(std::wstring_view wide) {
    std::string utf8;
    utf8.reserve(wide.size());
    // In pieces, because the system's function takes lengths as int. A pair stays together.
    constexpr size_t kPieceCharacters = 1024;
    while (!wide.empty()) {
        size_t length = wide.size() < kPieceCharacters ? wide.size() : kPieceCharacters;
        if (length < wide.size() && IS_HIGH_SURROGATE(wide[length - 1])) {
            --length;
        }
        const int characters = static_cast<int>(length);
        std::array<char, kPieceCharacters * 3> piece;
        const int bytes = ::WideCharToMultiByte(CP_UTF8, 0, wide.data(), characters, piece.data(),
                                                static_cast<int>(piece.size()), nullptr, nullptr);
        utf8.append(piece.data(), static_cast<size_t>(bytes));
        wide.remove_prefix(length);
    }
    return utf8;
}

bool IsValidUtf8(std::string_view bytes) {
    while (!bytes.empty()) {
        const size_t length = FirstCharacter(bytes).bytes;
        if (length == 0) {
            return false;
        }
        bytes.remove_prefix(length);
    }
    return true;
}

bool HasUnsafeCharacter(std::string_view text) {
    return EscapeForDisplay(text) != text;
}

std::string EscapeForDisplay(std::string_view text) {
    std::string safe;
    safe.reserve(text.size());
    while (!text.empty()) {
        const Character character = FirstCharacter(text);
        if (character.bytes == 0) {
            AppendHex(safe, "\\x%02X", static_cast<unsigned char>(text[0]));
        } else if (IsUnsafe(character.code)) {
            AppendEscaped(safe, character.code);
        } else {
            safe += text.substr(0, character.bytes);
        }
        text.remove_prefix(character.bytes == 0 ? 1 : character.bytes);
    }
    return safe;
}

std::string EscapeForJson(std::string_view text) {
    std::string safe;
    safe.reserve(text.size());
    while (!text.empty()) {
        const Character character = FirstCharacter(text);
        const size_t bytes = character.bytes == 0 ? 1 : character.bytes;
        if (character.bytes != 0 && IsUnsafe(character.code)) {
            AppendHex(safe, "\\u%04X", static_cast<unsigned>(character.code));
        } else {
            safe += text.substr(0, bytes);
        }
        text.remove_prefix(bytes);
    }
    return safe;
}
