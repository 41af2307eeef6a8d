#pragma once

#include <string>
#include <string_view>

// Names of entries, judged as the bytes that they are. A slash separates their components; a
// folder's name ends in one.

// What makes the name one that Windows cannot have or that leads outside, as the end of a sentence:
// "has a component that ends in a dot". Empty when nothing does. Also right for bytes that are no
// UTF-8.
[[nodiscard]] std::string_view NameFault(std::string_view name);

// Whether Windows reserves the file name for a device, such as CON and COM1. Devices keep their
// meaning with an extension, and with blanks before it.
[[nodiscard]] bool IsDeviceName(std::string_view component);

// Whether all bytes are ASCII.
[[nodiscard]] bool IsAscii(std::string_view text);

// The text before the first slash, and what follows that; all of the text and nothing when there is
// none.
[[nodiscard]] std::string_view FirstComponent(std::string_view name);
[[nodiscard]] std::string_view AfterFirstComponent(std::string_view name);
// The text behind the last slash of a file's name.
[[nodiscard]] std::string_view LastComponent(std::string_view name);

// UTF-16 characters of valid UTF-8.
[[nodiscard]] size_t Utf16Length(std::string_view utf8);

// ASCII letters in capitals, everything else as it is.
[[nodiscard]] inline char UpperAscii(char character) {
    return character >= 'a' && character <= 'z' ? static_cast<char>(character - 'a' + 'A')
                                                : character;
}

// Whether the text is `upper`, which has no small letters, in any letter case.
[[nodiscard]] bool IsSameAscii(std::string_view text, std::string_view upper);

// Takes the first character off valid UTF-8 that is not empty: in the case that Windows compares
// names in.
[[nodiscard]] char32_t TakeFolded(std::string_view& utf8);

// Valid UTF-8 with each letter in the case that Windows compares names in: two names are one to
// IsSameIgnoringCase exactly when their folded forms are equal.
[[nodiscard]] std::string FoldCase(std::string_view utf8);
