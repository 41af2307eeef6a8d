#pragma once

#include <string>
#include <string_view>

// Text helpers without state. Any thread.

// The text without leading and trailing spaces, tabs, carriage returns and line feeds. Other white
// space, such as a no-break space, is kept.
std::wstring TrimWhitespace(std::wstring_view text);

// A file name made from the trimmed `value`, or from `fallback` if that is empty. Each of the nine
// characters that are invalid in a Windows file name (\ / : * ? " < > |) becomes "_".
std::wstring SanitizeFileName(std::wstring_view value, std::wstring_view fallback);

// `text`, not trimmed, with the same characters replaced.
std::wstring ReplaceFileNameCharacters(std::wstring_view text);

// Lower case, character by character, by the C library's towlower in the "C" locale.
std::wstring LowerCase(std::wstring_view text);

// Whether two names are one to Windows: equal when letter case is ignored by the system's own
// table, whatever the user's language (CompareStringOrdinal).
bool IsSameIgnoringCase(std::wstring_view left, std::wstring_view right);

// UTF-8 to UTF-16. Invalid sequences become U+FFFD (MultiByteToWideChar without flags); a
// byte-order mark is kept. Empty when the input is empty or cannot be converted.
std::wstring Utf8ToWide(std::string_view utf8);
