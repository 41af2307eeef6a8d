#pragma once

#include <string>
#include <string_view>

// The default brand's config.txt for a game of another name, UTF-8: `name` replaces the default
// brand's name wherever players of this game see it. Everything else, also line ends, is unchanged.
// An empty name changes nothing.
[[nodiscard]] std::string ConfigTextFor(std::string_view defaultText, std::string_view name);
