#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "config/tool_config.h"
#include "kit/findings.h"

// The lines of a configuration text, beyond the values that the tool reads from them.

// Of each known key that the text sets: the line that wins. Lines count from 1.
using SettingLines = std::map<std::string_view, uint64_t>;

// Looks at each line: encoding, keys, switches, blanks, backslashes.
[[nodiscard]] SettingLines CheckConfigLines(std::string_view text, Findings& findings);

// The known key that `key` probably means: the same but for letter case and blanks around it, or at
// most two characters away. None when it is exactly a known key or resembles none.
[[nodiscard]] std::optional<std::string_view> NearestConfigKey(std::string_view key);

// The text's values as the tool reads them, but without blanks and tabs around them.
[[nodiscard]] ToolConfig ParseWithoutOuterBlanks(std::string_view text);

// Whether the tool, its build or the uninstaller uses the known key. The others belong to the
// game's other programs.
[[nodiscard]] bool IsActedOn(std::string_view key);
