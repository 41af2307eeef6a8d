#include "kit/brand_template.h"

#include <algorithm>
#include <iterator>

#include "common/text.h"
#include "config/config_text.h"
#include "config/tool_config.h"
#include "kit/config_lines.h"
#include "kit/utf8.h"

namespace {

constexpr std::string_view kNamePlace = "{name}";
// Without the characters that file names cannot have.
constexpr std::string_view kFileNamePlace = "{file name}";

struct NamedSetting {
    std::string_view key;
    std::string_view value;
};

constexpr NamedSetting kNamedSettings[] = {
    {"downloaderName", "{name}"},
    {"shortcutName", "{file name}"},
    {"repairToolName", "{file name} Repair.exe"},
    {"uninstallerFileDescription", "{name} Uninstaller"},
    {"uninstallerProductName", "{name} Uninstaller"},
    {"programsDisplayName", "{name}"},
    {"repairFileDescription", "{name} Repair"},
    {"repairProductName", "{name} Repair"},
};

std::string Escaped(std::string_view text) {
    std::string escaped;
    for (const char character : text) {
        escaped += character == '\\' ? "\\\\" : std::string(1, character);
    }
    return escaped;
}

std::string FileNameFor(std::string_view name) {
    std::wstring fileName = ReplaceFileNameCharacters(Utf8ToWide(name));
    while (fileName.ends_with(L'.') || fileName.ends_with(L' ')) {
        fileName.pop_back();
    }
    return fileName.empty() ? "Game" : WideToUtf8(fileName);
}

std::string FilledIn(std::string_view value, std::string_view name) {
    const bool isFileName = value.starts_with(kFileNamePlace);
    const std::string_view place = isFileName ? kFileNamePlace : kNamePlace;
    return (isFileName ? FileNameFor(name) : Escaped(name)) +
           std::string(value.substr(place.size()));
}

// The value with `name` wherever it names the default brand's game.
std::string WithGameName(std::string_view value, std::string_view name) {
    const std::string defaultName = WideToUtf8(ToolConfig().programsDisplayName);
    const std::string escapedName = Escaped(name);
    std::string changed;
    size_t begin = 0;
    for (size_t end = 0; (end = value.find(defaultName, begin)) != std::string_view::npos;) {
        changed += value.substr(begin, end - begin);
        changed += escapedName;
        begin = end + defaultName.size();
    }
    return changed + std::string(value.substr(begin));
}

// What is set for the game `name` instead of the default brand's `value`. A setting without effect
// stays as it is.
std::string ValueFor(std::string_view key, std::string_view value, std::string_view name) {
    const NamedSetting* const setting =
        std::find_if(std::begin(kNamedSettings), std::end(kNamedSettings),
                     [&](const NamedSetting& named) { return named.key == key; });
    if (setting != std::end(kNamedSettings)) {
        return FilledIn(setting->value, name);
    }
    return IsActedOn(key) ? WithGameName(value, name) : std::string(value);
}

}  // namespace

std::string ConfigTextFor(std::string_view defaultText, std::string_view name) {
    if (name.empty()) {
        return std::string(defaultText);
    }
    std::string text;
    while (!defaultText.empty()) {
        std::string_view rest = defaultText;
        const std::string_view line = TakeConfigLine(rest);
        const std::string_view whole = defaultText.substr(0, defaultText.size() - rest.size());
        const size_t split = FindConfigSplitPoint(line);
        const std::string_view key = line.substr(0, std::min(split, line.size()));
        if (split != std::string_view::npos && !line.starts_with('#')) {
            text += std::string(key) + "=" + ValueFor(key, line.substr(split + 1), name);
            text += whole.substr(line.size());
        } else {
            text += whole;
        }
        defaultText = rest;
    }
    return text;
}
