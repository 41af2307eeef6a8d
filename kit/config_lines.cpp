#include "kit/config_lines.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>
#include <variant>
#include <vector>

#include "common/text.h"
#include "config/config_keys.h"
#include "config/config_text.h"
#include "kit/utf8.h"

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBlanks = " \t";
// The first line's; no program reads it.
constexpr std::string_view kFormatKey = "format";
constexpr size_t kMostDistance = 2;

constexpr std::string_view kNotActedOn[] = {
    "welcomeTitle",         "welcomeBody",          "installInstruction",
    "defaultInstallPath",   "packageMode",          "embeddedArchiveName",
    "downloadTitle",        "downloadSubtitle",     "installerFileDescription",
    "installerProductName", "installerCopyright",   "installerLanguage",
    "vcRedistMinVersion",   "eacProductId",         "directXWebInstallerUrl",
    "vcRedistX64Url",       "showWelcomeText",      "showDownloadText",
    "installRepairTool",    "installPrerequisites", "installEac",
    "requireAdmin",         "promptOnlineDirectX",  "promptOnlineVcRedist",
};

// A blank around the values of these changes what the tool does.
constexpr std::string_view kBlankSensitive[] = {"archiveUrl", "websiteUrl", "discordUrl",
                                                "startupExe", "repairToolName"};

constexpr std::string_view kPathKeys[] = {"startupExe", "defaultInstallPath", "repairToolName",
                                          "embeddedArchiveName"};

template <size_t Count>
bool IsOneOf(const std::string_view (&list)[Count], std::string_view value) {
    return std::find(std::begin(list), std::end(list), value) != std::end(list);
}

const ConfigKey* FindConfigKey(std::string_view name) {
    const std::span<const ConfigKey> keys = ConfigKeys();
    const auto found = std::find_if(keys.begin(), keys.end(),
                                    [&](const ConfigKey& key) { return key.name == name; });
    return found == keys.end() ? nullptr : &*found;
}

bool IsSwitch(const ConfigKey& key) {
    return std::holds_alternative<bool ToolConfig::*>(key.field);
}

std::string_view WithoutOuterBlanks(std::string_view text) {
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

struct RawSetting {
    std::string_view key;
    std::string_view value;
};

// None for a comment: a line without an equals sign, or one that begins with "#", which the tool
// ignores as an unknown key.
std::optional<RawSetting> SplitLine(std::string_view line) {
    const size_t split = FindConfigSplitPoint(line);
    if (line.starts_with('#') || split == std::string_view::npos) {
        return std::nullopt;
    }
    return RawSetting{line.substr(0, split), line.substr(split + 1)};
}

// Letter case is ignored for the letters that keys have.
std::wstring Folded(std::string_view key) {
    std::wstring folded = Utf8ToWide(key);
    for (wchar_t& character : folded) {
        if (character >= L'A' && character <= L'Z') {
            character = static_cast<wchar_t>(character - L'A' + L'a');
        }
    }
    return folded;
}

// The number of insertions, deletions and replacements that make one text of the other; any number
// over kMostDistance when there are more of them.
size_t EditDistance(std::wstring_view left, std::wstring_view right) {
    constexpr size_t kTooFar = kMostDistance + 1;
    constexpr size_t kCells = 2 * kMostDistance + 1;
    if (left.size() > right.size() + kMostDistance || right.size() > left.size() + kMostDistance) {
        return kTooFar;
    }
    // For the first `i` characters of the left text: the distances from the first `i + cell -
    // kMostDistance` of the right one. Further ones cannot lead to a small distance.
    std::array<size_t, kCells + 1> row{};
    row.fill(kTooFar);
    for (size_t cell = kMostDistance; cell < kCells; ++cell) {
        row[cell] = cell - kMostDistance;
    }
    for (size_t i = 0; i < left.size(); ++i) {
        size_t least = kTooFar;
        for (size_t cell = 0; cell < kCells; ++cell) {
            const size_t end = i + 1 + cell;  // Of the right text's part, plus kMostDistance.
            if (end < kMostDistance || end > right.size() + kMostDistance) {
                row[cell] = kTooFar;
                continue;
            }
            const bool hasLetter = end > kMostDistance;
            const bool isSame = hasLetter && left[i] == right[end - kMostDistance - 1];
            const size_t replaced = hasLetter ? row[cell] + (isSame ? 0 : 1) : kTooFar;
            const size_t removed = row[cell + 1] + 1;
            const size_t added = cell > 0 ? row[cell - 1] + 1 : kTooFar;
            row[cell] = std::min({replaced, removed, added});
            least = std::min(least, row[cell]);
        }
        if (least > kMostDistance) {
            return kTooFar;
        }
    }
    return row[right.size() + kMostDistance - left.size()];
}

const std::vector<std::pair<std::string_view, std::wstring>>& FoldedKeys() {
    static const auto keys = [] {
        std::vector<std::pair<std::string_view, std::wstring>> list;
        for (const ConfigKey& key : ConfigKeys()) {
            list.emplace_back(key.name, Folded(key.name));
        }
        list.emplace_back(kFormatKey, Folded(kFormatKey));
        return list;
    }();
    return keys;
}

void CheckByteOrderMark(std::string_view firstLine, Findings& findings) {
    const auto setting = SplitLine(firstLine);
    const bool hidesSetting =
        setting && FindConfigKey(setting->key) != nullptr && IsActedOn(setting->key);
    const std::string message =
        hidesSetting
            ? "The file begins with a byte-order mark, which becomes part of the first key: "
              "the tool does not see \"" +
                  std::string(setting->key) + "\"."
            : "The file begins with a byte-order mark, which hides the first line from the "
              "tool.";
    findings.Add("config.byte-order-mark", hidesSetting ? Severity::Error : Severity::Warning,
                 ConfigLine(1), message,
                 "Save the file as UTF-8 without a byte-order mark (in some editors: \"without "
                 "BOM\").");
}

void CheckUnknownKey(uint64_t line, std::string_view key, Findings& findings) {
    const std::string shown(key);
    if (const auto nearest = NearestConfigKey(key)) {
        findings.Add(
            "config.misspelt-key", ConfigLine(line),
            "The tool does not know \"" + shown + "\" and ignores the line.",
            "Write \"" + std::string(*nearest) + "\", in these letters and without blanks.");
        return;
    }
    findings.Add("config.unknown-key", ConfigLine(line),
                 "No program knows the key \"" + shown + "\"; the line is ignored.",
                 "Remove the line, or begin it with # if it is a comment.");
}

void CheckSwitch(uint64_t line, const ConfigKey& key, std::string_view value, Findings& findings) {
    constexpr std::string_view kValues[] = {"1", "true", "TRUE", "0", "false", "FALSE", ""};
    if (IsOneOf(kValues, WithoutOuterBlanks(value))) {
        return;
    }
    findings.Add(
        "config.switch-value", ConfigLine(line),
        "\"" + std::string(value) + "\" is no value of a switch and means off.",
        "Write " + std::string(key.name) + "=1 for on or " + std::string(key.name) + "=0 for off.");
}

void CheckOuterBlank(uint64_t line, std::string_view key, bool isSensitive, std::string_view value,
                     Findings& findings) {
    if (WithoutOuterBlanks(value).size() == value.size()) {
        return;
    }
    findings.Add("config.outer-blank", isSensitive ? Severity::Error : Severity::Note,
                 ConfigLine(line),
                 "The value of " + std::string(key) +
                     " has a blank or tab right after the equals sign or at the end of the line, "
                     "which becomes part of it.",
                 "Remove it.");
}

// What is wrong with the first backslash that does not mean what it seems to; empty if none is.
std::string BackslashFault(std::string_view value, bool isPath) {
    for (size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\') {
            continue;
        }
        if (i + 1 == value.size()) {
            return isPath ? "ends in a single backslash" : "";
        }
        ++i;
        const bool isEscape = std::string_view("enrt").find(value[i]) != std::string_view::npos;
        if (isEscape && isPath) {
            return std::string("has \\") + value[i] + " in a path, where it means " +
                   (value[i] == 'e' ? "an equals sign" : "a control character");
        }
        if (value[i] != '\\' && !isEscape) {
            // The whole character, which may have several bytes.
            size_t end = i + 1;
            while (end < value.size() && (static_cast<unsigned char>(value[end]) & 0xC0) == 0x80) {
                ++end;
            }
            return "has the unknown escape \\" + std::string(value.substr(i, end - i));
        }
    }
    return {};
}

bool BeginsWithDrive(std::string_view value) {
    return value.size() >= 2 && value[1] == ':' &&
           ((value[0] >= 'A' && value[0] <= 'Z') || (value[0] >= 'a' && value[0] <= 'z'));
}

void CheckBackslashes(uint64_t line, std::string_view key, std::string_view rawValue,
                      Findings& findings) {
    const std::string_view value = WithoutOuterBlanks(rawValue);
    const bool isPath = IsOneOf(kPathKeys, key) || BeginsWithDrive(value);
    const std::string fault = BackslashFault(value, isPath);
    if (!fault.empty()) {
        findings.Add("config.backslash", ConfigLine(line),
                     "The value of " + std::string(key) + " " + fault + ".",
                     "Write \\\\ for one backslash.");
    }
}

void CheckValueAsWritten(uint64_t line, std::string_view name, std::string_view value,
                         Findings& findings) {
    const ConfigKey* const key = FindConfigKey(name);
    const bool isSwitch = key != nullptr && IsSwitch(*key);
    if (isSwitch) {
        CheckSwitch(line, *key, value, findings);
    }
    CheckBackslashes(line, name, value, findings);
    CheckOuterBlank(line, name, isSwitch || IsOneOf(kBlankSensitive, name), value, findings);
}

struct WinningLine {
    uint64_t line = 0;
    std::string_view value;
};

}  // namespace

SettingLines CheckConfigLines(std::string_view text, Findings& findings) {
    std::map<std::string_view, WinningLine> winners;
    uint64_t number = 0;
    for (std::string_view rest = text; !rest.empty();) {
        const std::string_view line = TakeConfigLine(rest);
        ++number;
        if (!IsValidUtf8(line)) {
            findings.Add(
                "config.not-utf8", ConfigLine(number),
                "The line has bytes that are no UTF-8; players see replacement characters.",
                "Save the file as UTF-8 without a byte-order mark.");
        }
        if (number == 1 && line.starts_with(kByteOrderMark)) {
            CheckByteOrderMark(line.substr(kByteOrderMark.size()), findings);
            continue;
        }
        const auto setting = SplitLine(line);
        if (!setting) {
            continue;
        }
        const bool isFormat = setting->key == kFormatKey;
        const ConfigKey* key = FindConfigKey(setting->key);
        if (key == nullptr && !isFormat) {
            CheckUnknownKey(number, setting->key, findings);
            continue;
        }
        WinningLine& winner = winners[key == nullptr ? kFormatKey : key->name];
        if (winner.line != 0) {
            findings.Add("config.key-twice", ConfigLine(winner.line),
                         "Line " + std::to_string(number) + " sets " + std::string(setting->key) +
                             " again and wins.",
                         "Remove one of the two lines.");
        }
        winner = {number, setting->value};
    }
    SettingLines lines;
    for (const auto& [name, winner] : winners) {
        CheckValueAsWritten(winner.line, name, winner.value, findings);
        lines[name] = winner.line;
    }
    return lines;
}

std::optional<std::string_view> NearestConfigKey(std::string_view key) {
    if (key == kFormatKey || FindConfigKey(key) != nullptr) {
        return std::nullopt;
    }
    const std::wstring folded = Folded(WithoutOuterBlanks(key));
    std::optional<std::string_view> nearest;
    size_t least = kMostDistance + 1;
    for (const auto& [name, foldedName] : FoldedKeys()) {
        const size_t distance = EditDistance(folded, foldedName);
        if (distance < least) {
            least = distance;
            nearest = name;
        }
    }
    return nearest;
}

ToolConfig ParseWithoutOuterBlanks(std::string_view text) {
    std::string trimmed;
    trimmed.reserve(text.size());
    while (!text.empty()) {
        const std::string_view line = TakeConfigLine(text);
        const size_t split = FindConfigSplitPoint(line);
        if (split != std::string_view::npos) {
            trimmed += line.substr(0, split + 1);
            trimmed += WithoutOuterBlanks(line.substr(split + 1));
        }
        trimmed += '\n';
    }
    return ParseConfigText(trimmed);
}

bool IsActedOn(std::string_view key) {
    return !IsOneOf(kNotActedOn, key);
}
