#pragma once

#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "config/tool_config.h"

// The field for a key's value. Its type decides how the value is parsed: as a text, a list of
// mirrors or a switch.
using ConfigField = std::variant<std::wstring ToolConfig::*,
                                 std::vector<std::wstring> ToolConfig::*, bool ToolConfig::*>;

struct ConfigKey {
    std::string_view name;  // As written in the configuration text, case-sensitive.
    ConfigField field;
};

// All 57 keys of the configuration text, in the order of the record's fields. The parser ignores
// any other key.
std::span<const ConfigKey> ConfigKeys();
