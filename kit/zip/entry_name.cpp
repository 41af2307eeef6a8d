#include "kit/zip/entry_name.h"

#include <algorithm>
#include <array>
#include <vector>

#include "common/windows_api.h"

namespace {

constexpr size_t kLongestComponent = 255;  // Of NTFS, in UTF-16 characters.
constexpr size_t kLongestPath = 32'767;    // Of any Windows function, in UTF-16 characters.

enum class CharacterKind : unsigned char { Usual, Backslash, Colon, Control, Forbidden };

// Of each byte.
constexpr std::array<CharacterKind, 256> kKinds = [] {
    std::array<CharacterKind, 256> kinds{};
    for (size_t byteValue = 0; byteValue < 0x20; ++byteValue) {
        kinds[byteValue] = CharacterKind::Control;
    }
    kinds[0x7F] = CharacterKind::Control;
    for (const char character : std::string_view("<>\"|?*")) {
        kinds[static_cast<unsigned char>(character)] = CharacterKind::Forbidden;
    }
    kinds['\\'] = CharacterKind::Backslash;
    kinds[':'] = CharacterKind::Colon;
    return kinds;
}();

std::string_view CharacterFault(CharacterKind kind) {
    switch (kind) {
        case CharacterKind::Usual:
            break;
        case CharacterKind::Backslash:
            return "has a backslash";
        case CharacterKind::Colon:
            return "has a colon";
        case CharacterKind::Control:
            return "has a control character";
        case CharacterKind::Forbidden:
            return "has a character that Windows forbids in names";
    }
    return {};
}

bool IsAsciiLetter(char character) {
    return UpperAscii(character) >= 'A' && UpperAscii(character) <= 'Z';
}

// The digits 1 to 9, and the superscript ones that Windows takes for them.
bool IsDeviceNumber(std::string_view text) {
    return (text.size() == 1 && text[0] >= '1' && text[0] <= '9') || text == "\xC2\xB9" ||
           text == "\xC2\xB2" || text == "\xC2\xB3";
}

std::string_view ComponentFault(std::string_view component) {
    if (component.empty()) {
        return "has an empty component";
    }
    if (component == "." || component == "..") {
        return "has a component that is a dot or two dots";
    }
    if (component.ends_with('.')) {
        return "has a component that ends in a dot";
    }
    if (component.ends_with(' ')) {
        return "has a component that ends in a blank";
    }
    if (IsDeviceName(component)) {
        return "has a component that Windows reserves for a device";
    }
    if (component.size() > kLongestComponent && Utf16Length(component) > kLongestComponent) {
        return "has a component of more than 255 characters";
    }
    return {};
}

// Windows' upper-case form of each UTF-16 character, by its own table.
const std::vector<wchar_t>& UpperCaseTable() {
    static const std::vector<wchar_t> table = [] {
        constexpr int kCharacters = 0x10000;
        std::vector<wchar_t> all(kCharacters);
        for (int i = 0; i < kCharacters; ++i) {
            all[static_cast<size_t>(i)] = static_cast<wchar_t>(i);
        }
        std::vector<wchar_t> upper(kCharacters);
        const int count =
            ::LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, all.data(), kCharacters,
                            upper.data(), kCharacters, nullptr, nullptr, 0);
        return count == kCharacters ? upper : all;
    }();
    return table;
}

void AppendUtf8(std::string& target, char32_t code) {
    const auto append = [&](unsigned mark, unsigned shift) {
        const unsigned bits = code >> shift;
        target += static_cast<char>(mark | (mark == 0x80 ? bits & 0x3F : bits));
    };
    if (code < 0x80) {
        append(0, 0);
        return;
    }
    if (code < 0x800) {
        append(0xC0, 6);
    } else {
        if (code < 0x10000) {
            append(0xE0, 12);
        } else {
            append(0xF0, 18);
            append(0x80, 12);
        }
        append(0x80, 6);
    }
    append(0x80, 0);
}

// How many bytes the character has that begins with `first`; the text is valid.
size_t CharacterBytes(unsigned char first) {
    return first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

}  // namespace

bool IsDeviceName(std::string_view component) {
    // Nearly all names end the question here.
    if (component.size() < 3 ||
        std::string_view("CPANL").find(UpperAscii(component[0])) == std::string_view::npos) {
        return false;
    }
    std::string_view base = component.substr(0, component.find('.'));
    while (base.ends_with(' ')) {
        base.remove_suffix(1);
    }
    for (const std::string_view name : {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"}) {
        if (IsSameAscii(base, name)) {
            return true;
        }
    }
    const std::string_view start = base.substr(0, 3);
    return (IsSameAscii(start, "COM") || IsSameAscii(start, "LPT")) &&
           IsDeviceNumber(base.substr(start.size()));
}

std::string_view NameFault(std::string_view name) {
    if (name.empty()) {
        return "is empty";
    }
    if (name.starts_with('/')) {
        return "begins with a slash, so it leads outside";
    }
    if (name.size() >= 2 && name[1] == ':' && IsAsciiLetter(name[0])) {
        return "begins with a drive letter, so it leads outside";
    }
    const auto special = std::find_if(name.begin(), name.end(), [](char character) {
        return kKinds[static_cast<unsigned char>(character)] != CharacterKind::Usual;
    });
    if (special != name.end()) {
        return CharacterFault(kKinds[static_cast<unsigned char>(*special)]);
    }
    if (Utf16Length(name) > kLongestPath) {
        return "is longer than Windows can have a path";
    }
    if (name.ends_with('/')) {
        name.remove_suffix(1);
    }
    for (;;) {
        const size_t slash = name.find('/');
        const std::string_view fault = ComponentFault(name.substr(0, slash));
        if (!fault.empty() || slash == std::string_view::npos) {
            return fault;
        }
        name.remove_prefix(slash + 1);
    }
}

bool IsAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::string_view FirstComponent(std::string_view name) {
    return name.substr(0, name.find('/'));
}

std::string_view AfterFirstComponent(std::string_view name) {
    const size_t slash = name.find('/');
    return slash == std::string_view::npos ? std::string_view() : name.substr(slash + 1);
}

std::string_view LastComponent(std::string_view name) {
    const size_t slash = name.rfind('/');
    return slash == std::string_view::npos ? name : name.substr(slash + 1);
}

size_t Utf16Length(std::string_view utf8) {
    size_t length = 0;
    for (const char character : utf8) {
        const auto value = static_cast<unsigned char>(character);
        // Each character has one byte that does not continue; those of four bytes are pairs.
        length += (value & 0xC0) != 0x80 ? 1U : 0U;
        length += value >= 0xF0 ? 1U : 0U;
    }
    return length;
}

bool IsSameAscii(std::string_view text, std::string_view upper) {
    return std::equal(text.begin(), text.end(), upper.begin(), upper.end(),
                      [](char left, char right) { return UpperAscii(left) == right; });
}

char32_t TakeFolded(std::string_view& utf8) {
    const auto first = static_cast<unsigned char>(utf8.front());
    if (first < 0x80) {
        utf8.remove_prefix(1);
        return static_cast<unsigned char>(UpperAscii(static_cast<char>(first)));
    }
    static const std::vector<wchar_t>& upper = UpperCaseTable();
    const size_t bytes = CharacterBytes(first);
    char32_t code = first & (0xFFU >> (bytes + 1));
    for (const char continued : utf8.substr(1, bytes - 1)) {
        code = code << 6 | (static_cast<unsigned char>(continued) & 0x3FU);
    }
    utf8.remove_prefix(bytes);
    // Windows compares the two halves of a pair, which have no case.
    return code < upper.size() ? upper[code] : code;
}

std::string FoldCase(std::string_view utf8) {
    std::string folded;
    folded.reserve(utf8.size());
    while (!utf8.empty()) {
        AppendUtf8(folded, TakeFolded(utf8));
    }
    return folded;
}
