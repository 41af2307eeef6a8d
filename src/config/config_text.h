#pragma once

#include <string>
#include <string_view>

#include "config/tool_config.h"

// Parses lines of the form key=value in UTF-8. Fields whose keys are missing keep their defaults.
// Any content is accepted: a line without an unescaped "=" is a comment, unknown keys are ignored,
// the last line of a key wins, and invalid UTF-8 becomes U+FFFD. Any thread.
ToolConfig ParseConfigText(std::string_view utf8);

// Removes the first line from `rest` and returns it without its LF and one CR before that.
std::string_view TakeConfigLine(std::string_view& rest);

// The position of the first unescaped "=" of `line`, which ends the key; npos if there is none. A
// backslash escapes the next byte, also another backslash.
size_t FindConfigSplitPoint(std::string_view line);

// A raw value with its escape sequences replaced: \\ \e (equals sign) \n \r \t. Other sequences and
// a trailing backslash are unchanged.
std::string UnescapeConfigValue(std::string_view raw);
