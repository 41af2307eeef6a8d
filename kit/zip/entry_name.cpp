#include "kit/zip/entry_name.h"

#include <algorithm>
#include <array>
#include <vector>

#include "common/windows_api.h"

namespace {

constexpr size_t kLongestComponent = 255;  // Of NTFS, in UTF-16 characters.

bool IsControl(unsigned char byte) {
    return byte < 0x20 || byte == 0x7F;
}

bool IsForbidden(char character) {
    return std::string_view("<>\"|?*").find(character) != std::string_view::npos;
}

char UpperAscii(char character) {
    return character >= 'a' && character <= 'z' ? static_cast<char>(character - 'a' + 'A')
                                                : character;
}

bool IsAsciiLetter(char character) {
    return UpperAscii(character) >= 'A' && UpperAscii(character) <= 'Z';
}

// The digits 1 to 9, and the superscript ones that Windows takes for them.
bool IsDeviceNumber(std::string_view text) {
    return (text.size() == 1 && text[0] >= '1' && text[0] <= '9') || text == "\xC2\xB9" ||
           text == "\xC2\xB2" || text == "\xC2\xB3";
}

// Devices keep their meaning with an extension, and with blanks before it.
bool IsDeviceName(std::string_view component) {
    std::string_view base = component.substr(0, component.find('.'));
    while (base.ends_with(' ')) {
        base.remove_suffix(1);
    }
    std::string upper(base);
    std::transform(upper.begin(), upper.end(), upper.begin(), UpperAscii);
    static constexpr std::array<std::string_view, 6> kNames{"CON", "PRN",    "AUX",
                                                            "NUL", "CONIN$", "CONOUT$"};
    if (std::find(kNames.begin(), kNames.end(), upper) != kNames.end()) {
        return true;
    }
    return (upper.starts_with("COM") || upper.starts_with("LPT")) && IsDeviceNumber(base.substr(3));
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

void AppendUtf8(std::string& target, unsigned code) {
    if (code < 0x80) {
        target += static_cast<char>(code);
    } else if (code < 0x800) {
        target += static_cast<char>(0xC0 | (code >> 6));
        target += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        target += static_cast<char>(0xE0 | (code >> 12));
        target += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        target += static_cast<char>(0x80 | (code & 0x3F));
    }
}

// How many bytes the character has that begins with `first`; the text is valid.
size_t CharacterBytes(unsigned char first) {
    return first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

}  // namespace

std::string_view NameFault(std::string_view name) {
    if (name.empty()) {
        return "is empty";
    }
    if (name.find('\\') != std::string_view::npos) {
        return "has a backslash";
    }
    if (name.starts_with('/')) {
        return "begins with a slash, so it leads outside";
    }
    if (name.size() >= 2 && name[1] == ':' && IsAsciiLetter(name[0])) {
        return "begins with a drive letter, so it leads outside";
    }
    if (name.find(':') != std::string_view::npos) {
        return "has a colon";
    }
    if (std::any_of(name.begin(), name.end(),
                    [](char c) { return IsControl(static_cast<unsigned char>(c)); })) {
        return "has a control character";
    }
    if (std::any_of(name.begin(), name.end(), IsForbidden)) {
        return "has a character that Windows forbids in names";
    }
    if (name.ends_with('/')) {
        name.remove_suffix(1);
    }
    for (;;) {
        const std::string_view fault = ComponentFault(FirstComponent(name));
        if (!fault.empty() || name.find('/') == std::string_view::npos) {
            return fault;
        }
        name = AfterFirstComponent(name);
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

std::string FoldCase(std::string_view utf8) {
    const std::vector<wchar_t>& upper = UpperCaseTable();
    std::string folded;
    folded.reserve(utf8.size());
    for (size_t i = 0; i < utf8.size();) {
        const auto first = static_cast<unsigned char>(utf8[i]);
        const size_t bytes = CharacterBytes(first);
        const auto continued = [&](size_t index) {
            return static_cast<unsigned>(static_cast<unsigned char>(utf8[i + index]) & 0x3F);
        };
        if (bytes == 1) {
            folded += static_cast<char>(upper[first]);
        } else if (bytes == 2) {
            AppendUtf8(folded, upper[(first & 0x1FU) << 6 | continued(1)]);
        } else if (bytes == 3) {
            AppendUtf8(folded, upper[(first & 0x0FU) << 12 | continued(1) << 6 | continued(2)]);
        } else {
            // Windows compares the two halves of a pair, which have no case.
            folded.append(utf8.substr(i, 4));
        }
        i += bytes;
    }
    return folded;
}

bool IsSameIgnoringCase(std::string_view left, std::string_view right) {
    return FoldCase(left) == FoldCase(right);
}
