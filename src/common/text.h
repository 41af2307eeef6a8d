#pragma once

#include <string>
#include <string_view>

// Text helpers without state. Any thread.

// The text without leading and trailing space, tab, carriage return and line feed; exactly these
// four characters, so a no-break space stays.
std::wstring TrimWhitespace(std::wstring_view text);

// A file name made of `value`: trimmed, `fallback` when nothing is left, and each of the nine
// characters that a Windows file name cannot hold (\ / : * ? " < > |) replaced by "_". The
// fallback takes the replacement too.
std::wstring SanitizeFileName(std::wstring_view value, std::wstring_view fallback);

// `text` with each of the nine characters named above replaced by "_", nothing trimmed.
std::wstring ReplaceFileNameCharacters(std::wstring_view text);

// Lower case, character by character as the C library's towlower has it in the "C" locale.
std::wstring LowerCase(std::wstring_view text);

// UTF-8 to UTF-16. Invalid sequences become U+FFFD, as MultiByteToWideChar without flags does it;
// a byte-order mark is kept. Empty for an empty input and for one that cannot be converted.
std::wstring Utf8ToWide(std::string_view utf8);
