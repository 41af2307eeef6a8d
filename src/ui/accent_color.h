#pragma once

#include <string_view>

#include "ui/palette.h"

// The brand's accent color from `accentHex`: six hexadecimal digits RRGGBB with an optional leading
// "#", surrounding white space ignored. Always opaque. An invalid digit counts as 0, so that a typo
// still gives a similar color. Any other length gives kDefaultAccent.
Argb ParseAccentColor(std::wstring_view accentHex);
