#include "config/config_text.h"

#include <map>
#include <optional>

#include "common/text.h"
#include "config/config_keys.h"

namespace {

// Keys and raw values exactly as in the text: not trimmed, values not unescaped.
using RawValues = std::map<std::string, std::string, std::less<>>;

RawValues SplitConfigText(std::string_view rest) {
    RawValues values;
    while (!rest.empty()) {
        const std::string_view line = TakeConfigLine(rest);
        const size_t split = FindConfigSplitPoint(line);
        if (split != std::string_view::npos) {
            values.insert_or_assign(std::string(line.substr(0, split)),
                                    std::string(line.substr(split + 1)));
        }
    }
    return values;
}

std::optional<std::string_view> FindValue(const RawValues& values, std::string_view key) {
    const auto found = values.find(key);
    if (found == values.end()) {
        return std::nullopt;
    }
    return found->second;
}

std::wstring TextFromRaw(std::string_view raw) {
    return Utf8ToWide(UnescapeConfigValue(raw));
}

// A list is one value with line feeds, written "\n", between the entries: it is unescaped first,
// then split.
std::vector<std::wstring> ListFromRaw(std::string_view raw) {
    const std::wstring text = TextFromRaw(raw);
    std::vector<std::wstring> entries;
    std::wstring_view rest = text;
    while (!rest.empty()) {
        const size_t end = rest.find(L'\n');
        std::wstring entry = TrimWhitespace(rest.substr(0, end));
        rest = end == std::wstring_view::npos ? std::wstring_view() : rest.substr(end + 1);
        if (!entry.empty()) {
            entries.push_back(std::move(entry));
        }
    }
    return entries;
}

// Compares the raw value, neither unescaped nor trimmed.
bool SwitchFromRaw(std::string_view raw) {
    return raw == "1" || raw == "true" || raw == "TRUE";
}

// Converts a raw value to the type of its field and stores it.
struct StoreRawValue {
    ToolConfig& config;
    std::string_view raw;

    void operator()(std::wstring ToolConfig::*field) const {
        config.*field = TextFromRaw(raw);
    }
    void operator()(std::vector<std::wstring> ToolConfig::*field) const {
        config.*field = ListFromRaw(raw);
    }
    void operator()(bool ToolConfig::*field) const {
        config.*field = SwitchFromRaw(raw);
    }
};

}  // namespace

ToolConfig ParseConfigText(std::string_view utf8) {
    const RawValues values = SplitConfigText(utf8);
    ToolConfig config;
    for (const ConfigKey& key : ConfigKeys()) {
        if (const auto raw = FindValue(values, key.name)) {
            std::visit(StoreRawValue{config, *raw}, key.field);
        }
    }
    return config;
}

std::string_view TakeConfigLine(std::string_view& rest) {
    const size_t end = rest.find('\n');
    std::string_view line = rest.substr(0, end);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    if (line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    return line;
}

size_t FindConfigSplitPoint(std::string_view line) {
    bool isEscaped = false;
    for (size_t i = 0; i < line.size(); ++i) {
        if (isEscaped || line[i] == '\\') {
            isEscaped = !isEscaped;
        } else if (line[i] == '=') {
            return i;
        }
    }
    return std::string_view::npos;
}

std::string UnescapeConfigValue(std::string_view raw) {
    std::string value;
    value.reserve(raw.size());
    for (size_t i = 0; i < raw.size(); ++i) {
        if (raw[i] != '\\' || i + 1 == raw.size()) {
            value += raw[i];
            continue;
        }
        ++i;
        switch (raw[i]) {
            case '\\':
                value += '\\';
                break;
            case 'e':
                value += '=';
                break;
            case 'n':
                value += '\n';
                break;
            case 'r':
                value += '\r';
                break;
            case 't':
                value += '\t';
                break;
            default:
                value += '\\';
                value += raw[i];
                break;
        }
    }
    return value;
}
