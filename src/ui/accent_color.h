#pragma once

#include <string_view>

#include "ui/palette.h"

// The brand's highlight color as `accentHex` gives it: six hexadecimal digits, red first, with or
// without "#" in front, blanks around it left aside. Always opaque. A character that is no digit
// counts as 0, so that a slip of the keys still gives a color near the wanted one; a text of
// another length gives kDefaultAccent.
Argb ParseAccentColor(std::wstring_view accentHex);
