#pragma once

#include <string>
#include <string_view>

// UTF-8, which everything but paths has within the kit. Any thread.

// UTF-16 to UTF-8. A surrogate without its partner becomes U+FFFD.
std::string WideToUtf8(std::wstring_view wide);

// Whether the bytes are UTF-8 throughout: no overlong forms, no surrogates, nothing over U+10FFFF.
bool IsValidUtf8(std::string_view bytes);

// Whether the text has a character that EscapeForDisplay would escape.
bool HasUnsafeCharacter(std::string_view text);

// The text made safe to show: control characters (C0 with line feed and tab, DEL, C1), the line and
// paragraph separators, and the invisible characters that change the direction of text become
// escapes such as \n, \x1B and \u202E. Bytes that are no UTF-8 become \xNN. The rest, also a
// backslash, is unchanged.
std::string EscapeForDisplay(std::string_view text);

// The same for a text that is within a JSON string already: four digits always, and bytes that are
// no UTF-8 are unchanged.
std::string EscapeForJson(std::string_view text);
