#pragma once

#include <string>
#include <string_view>

#include "config/tool_config.h"

// The configuration that the UTF-8 text `utf8` describes, lines of the form key "=" value: the
// defaults, with every field replaced whose key the text names. Never fails on content: a line
// without an unprotected "=" is a comment, an unknown key is ignored, the last of several lines
// with one key wins, and bytes that are no UTF-8 become U+FFFD. Any thread.
ToolConfig ParseConfigText(std::string_view utf8);

// The position of the "=" that ends the key of `line`, or npos. A backslash protects the byte
// behind it, so "\=" does not split; "\\" is a pair of its own and leaves the next byte
// unprotected.
size_t FindConfigSplitPoint(std::string_view line);

// A raw value with its escape pairs resolved: \\ \e (equals sign) \n \r \t. Any other pair, and a
// backslash at the very end, stay as they are.
std::string UnescapeConfigValue(std::string_view raw);
