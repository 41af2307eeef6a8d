#pragma once

#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "config/tool_config.h"

// Where a key's value goes. The alternative decides how the value is read: a text, the list of
// mirrors, or a switch.
using ConfigField = std::variant<std::wstring ToolConfig::*,
                                 std::vector<std::wstring> ToolConfig::*, bool ToolConfig::*>;

struct ConfigKey {
    std::string_view name;  // As it stands in the configuration text: exact, case-sensitive.
    ConfigField field;
};

// All 57 keys of the configuration text, in the order of the record. The one list that the parser
// walks, so a key that is missing here is a key that does not exist.
std::span<const ConfigKey> ConfigKeys();
