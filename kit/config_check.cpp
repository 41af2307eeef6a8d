#include "kit/config_check.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <variant>
#include <vector>

#include "common/paths.h"
#include "common/text.h"
#include "config/config_keys.h"
#include "config/config_loader.h"
#include "config/config_text.h"
#include "kit/config_lines.h"
#include "kit/utf8.h"
#include "kit/zip/entry_name.h"
#include "package/http_download.h"
#include "package/package_hash.h"
#include "package/package_source.h"
#include "ui/accent_color.h"
#include "ui/palette.h"

namespace {

// What the rules look at.
struct Judged {
    ToolConfig config;  // Without outer blanks, names filled in as the tool does it.
    SettingLines lines;

    // The line that sets the key; the whole file when none does.
    [[nodiscard]] Place At(std::string_view key) const {
        const auto found = lines.find(key);
        return found == lines.end() ? ConfigMissing() : ConfigLine(found->second);
    }
};

std::string Quoted(std::wstring_view text) {
    return "\"" + WideToUtf8(text) + "\"";
}

// ---- Addresses

constexpr char kAddressHint[] =
    "Write the whole address, such as https://example.com/client-1.4.2.zip.";

bool HasScheme(const std::wstring& url) {
    return JobPackageUrl(url, L"").has_value();
}

// None when the tool could not ask for the address.
std::optional<PackageAddress> SplitAddress(const std::wstring& url) {
    constexpr size_t kMostHostCharacters = 511;
    constexpr size_t kMostPathCharacters = 4095;
    std::optional<PackageAddress> address = SplitPackageUrl(TrimWhitespace(url));
    if (!address || address->host.empty() || address->host.size() > kMostHostCharacters ||
        std::min(address->objectName.find_first_of(L"?#"), address->objectName.size()) >
            kMostPathCharacters) {
        return std::nullopt;
    }
    return address;
}

std::wstring LastSegment(const PackageAddress& address) {
    const std::wstring path = address.objectName.substr(0, address.objectName.find_first_of(L"?#"));
    return path.substr(path.find_last_of(L'/') + 1);
}

void CheckUsableAddress(const std::wstring& url, const PackageAddress& address, const Place& place,
                        Findings& findings) {
    if (!address.secure) {
        findings.Add("url.plain-http", place,
                     Quoted(url) + " is not encrypted: anyone on the way can change the package.",
                     "Use https://.");
    }
    if (LastSegment(address).find_first_of(L"0123456789") == std::wstring::npos) {
        findings.Add("url.not-versioned", place,
                     Quoted(url) + " looks the same for every release: caches can mix two of them.",
                     "Put the release's number into the file's name: client-1.4.2.zip.");
    }
}

void CheckPrimaryAddress(const Judged& judged, Findings& findings) {
    const std::wstring url = TrimWhitespace(judged.config.archiveUrl);
    const Place place = judged.At("archiveUrl");
    if (url.empty()) {
        findings.Add("url.missing", place, "There is no archiveUrl: no repair can start.",
                     kAddressHint);
        return;
    }
    if (!HasScheme(url)) {
        findings.Add("url.scheme", place,
                     Quoted(url) + " begins neither with http:// nor with https:// in lower case.",
                     kAddressHint);
        return;
    }
    const auto address = SplitAddress(url);
    if (!address) {
        findings.Add("url.invalid", place, Quoted(url) + " is no address that the tool can use.",
                     kAddressHint);
        return;
    }
    CheckUsableAddress(url, *address, place, findings);
}

void CheckMirrors(const Judged& judged, Findings& findings) {
    const ToolConfig& config = judged.config;
    const Place place = judged.At("archiveMirrorUrls");
    const size_t used = HasSeveralServers(config) ? 1 : 0;
    if (config.multiRepairTool && config.archiveMirrorUrls.empty()) {
        findings.Add("mirror.missing", judged.At("multiRepairTool"),
                     "multiRepairTool is on, but there is no second server in archiveMirrorUrls.",
                     "Add the second server's address, or switch it off.");
    }
    if (config.archiveMirrorUrls.size() > used) {
        findings.Add("mirror.unused", place,
                     used == 0 ? "The mirrors are not used, because multiRepairTool is off."
                               : "Only the first mirror is used; the others are never offered.",
                     used == 0 ? "Set multiRepairTool=1 if players are to choose a server."
                               : "Nothing has to be done.");
    }
    if (used == 0) {
        return;
    }
    const std::wstring& mirror = config.archiveMirrorUrls.front();
    if (mirror == TrimWhitespace(config.archiveUrl)) {
        findings.Add("mirror.same", place, "The first mirror is the same address as archiveUrl.",
                     "Give the second server's address, or set multiRepairTool=0.");
    }
    const auto address = HasScheme(mirror) ? SplitAddress(mirror) : std::nullopt;
    if (!address) {
        findings.Add("mirror.invalid", place,
                     Quoted(mirror) + " is no address that the tool can use.", kAddressHint);
        return;
    }
    CheckUsableAddress(mirror, *address, place, findings);
}

void CheckLink(const Judged& judged, std::string_view key, const std::wstring& value,
               Findings& findings) {
    const std::wstring lower = LowerCase(value);
    if (value.empty() || lower.starts_with(L"http://") || lower.starts_with(L"https://")) {
        return;
    }
    findings.Add("link.scheme", judged.At(key),
                 Quoted(value) + " begins neither with http:// nor with https://.",
                 "Write the whole address of the page, or leave " + std::string(key) +
                     " empty to hide the button.");
}

// ---- The digest

void CheckDigest(const Judged& judged, bool noDigest, Findings& findings) {
    constexpr size_t kDigits = 64;
    constexpr char kHint[] =
        "Let \"repair_kit pack --brand\" fill it in, or write the 64 hexadecimal digits that "
        "\"certutil -hashfile FILE SHA256\" shows.";
    const std::wstring& digest = judged.config.archiveSha256;
    if (TrimWhitespace(digest).empty()) {
        if (!noDigest) {
            findings.Add("digest.missing", judged.At("archiveSha256"),
                         "There is no archiveSha256: a damaged or changed package reaches players "
                         "unnoticed.",
                         kHint);
        }
        return;
    }
    const size_t digits = NormalizeHexDigest(digest).size();
    if (digits != kDigits) {
        findings.Add("digest.malformed", judged.At("archiveSha256"),
                     Quoted(digest) + " has " + std::to_string(digits) +
                         " hexadecimal digits, so every package is refused.",
                     kHint);
    }
}

// ---- Names

bool HasExeExtension(const std::wstring& path) {
    return IsSameIgnoringCase(FileNameExtension(path), L".exe");
}

bool IsSeparator(wchar_t character) {
    return character == L'\\' || character == L'/';
}

bool HasForbiddenCharacter(const std::wstring& name) {
    return ReplaceFileNameCharacters(name) != name ||
           std::any_of(name.begin(), name.end(),
                       [](wchar_t character) { return character < 0x20; });
}

// The components of a relative path without empty ones and ".", and with ".." resolved. Begins with
// ".." when the path leads outside.
std::vector<std::wstring> Components(const std::wstring& path) {
    std::vector<std::wstring> components;
    std::wstring component;
    for (const wchar_t character : path + L'/') {
        if (!IsSeparator(character)) {
            component += character;
            continue;
        }
        const bool goesBack =
            component == L".." && !components.empty() && components.back() != L"..";
        if (goesBack) {
            components.pop_back();
        } else if (!component.empty() && component != L".") {
            components.push_back(component);
        }
        component.clear();
    }
    return components;
}

bool IsAbsolute(const std::wstring& path) {
    return RootPathLength(path) != 0;
}

std::string ToolNameFault(const ToolConfig& config) {
    constexpr std::wstring_view kTaken[] = {L"Uninstall.exe", L"tar.exe", L"powershell.exe"};
    const std::wstring& name = config.repairToolName;
    if (HasForbiddenCharacter(name)) {
        return "has a character that no file name can have";
    }
    if (name.ends_with(L'.') || TrimWhitespace(name).size() != name.size()) {
        return "begins or ends in a blank, or ends in a dot, which Windows drops";
    }
    if (!HasExeExtension(name)) {
        return "is not a name that ends in .exe";
    }
    if (IsDeviceName(WideToUtf8(name))) {
        return "is the name of a device";
    }
    for (const std::wstring_view taken : kTaken) {
        if (IsSameIgnoringCase(name, taken)) {
            return "is the name of another program that the tool needs";
        }
    }
    const std::vector<std::wstring> startup = Components(config.startupExe);
    if (!IsAbsolute(config.startupExe) && startup.size() == 1 &&
        IsSameIgnoringCase(name, startup[0])) {
        return "is the name of startupExe";
    }
    return {};
}

void CheckToolName(const Judged& judged, Findings& findings) {
    const std::string fault = ToolNameFault(judged.config);
    if (!fault.empty()) {
        findings.Add("name.tool", judged.At("repairToolName"),
                     "The tool cannot be named " + Quoted(judged.config.repairToolName) +
                         ": that " + fault + ".",
                     "Choose a plain file name of its own, such as MyGameRepair.exe.");
    }
}

bool LeadsOutside(const std::wstring& path) {
    const std::vector<std::wstring> components = Components(path);
    return !components.empty() && components[0] == L"..";
}

void CheckStartupExe(const Judged& judged, Findings& findings) {
    constexpr char kHint[] =
        "Write the program's path within the client folder, such as patcher.exe or "
        "bin\\\\game.exe.";
    const std::wstring& startup = judged.config.startupExe;
    const Place place = judged.At("startupExe");
    if (IsAbsolute(startup)) {
        findings.Add("name.startup", Severity::Warning, place,
                     Quoted(startup) +
                         " is not relative to the client folder, which players have "
                         "in different places.",
                     kHint);
    } else if (LeadsOutside(startup)) {
        findings.Add("name.startup", place, Quoted(startup) + " leads out of the client folder.",
                     kHint);
    } else if (!HasExeExtension(startup)) {
        findings.Add("name.startup", place, Quoted(startup) + " does not end in .exe.", kHint);
    }
}

std::string ShortcutNameFault(const std::wstring& name) {
    if (ReplaceFileNameCharacters(name) != name) {
        return "has characters that no file name can have; they become _";
    }
    if (TrimWhitespace(name).size() != name.size()) {
        return "begins or ends in a blank, a tab or a line break, which is left out";
    }
    return name.ends_with(L'.') ? "ends in a dot" : "";
}

void CheckShortcutName(const Judged& judged, Findings& findings) {
    const std::wstring& name = judged.config.shortcutName;
    const std::string fault = ShortcutNameFault(name);
    if (!fault.empty()) {
        findings.Add("name.shortcut", judged.At("shortcutName"), Quoted(name) + " " + fault + ".",
                     "Leave out \\ / : * ? \" < > |, blanks at either end, and dots at the end.");
    }
}

// ---- Look and version texts

bool IsHexOf(std::wstring_view text, size_t digits) {
    return text.size() == digits && NormalizeHexDigest(text).size() == digits;
}

void CheckAccent(const Judged& judged, Findings& findings) {
    constexpr size_t kDigits = 6;
    constexpr double kReadable = 4.5;
    const std::wstring& accentHex = judged.config.accentHex;
    std::wstring digits = TrimWhitespace(accentHex);
    if (digits.starts_with(L'#')) {
        digits.erase(0, 1);
    }
    const Place place = judged.At("accentHex");
    if (!IsHexOf(digits, kDigits)) {
        findings.Add("accent.malformed", place,
                     Quoted(accentHex) + " is no color of six hexadecimal digits.",
                     "Write two digits each for red, green and blue, such as FFA640.");
        return;
    }
    const Argb accent = ParseAccentColor(accentHex);
    const double ratio =
        std::min(ContrastRatio(accent, kPrimaryButtonText), ContrastRatio(accent, kPanelFill));
    if (ratio < kReadable) {
        findings.Add("accent.contrast", place,
                     Quoted(accentHex) +
                         " is too dark: text on the main button and on the panel is "
                         "hard to read.",
                     "Choose a lighter color.");
    }
}

void CheckVersion(const Judged& judged, std::string_view key, const std::wstring& version,
                  Findings& findings) {
    if (!IsProductVersion(version)) {
        findings.Add("version.malformed", judged.At(key),
                     Quoted(version) + " is no version of one to four numbers up to 65535.",
                     "Write numbers with dots between, such as 1.4.2 or 1.4.2-beta.");
    }
}

void CheckLanguage(const Judged& judged, std::string_view key, const std::wstring& language,
                   Findings& findings) {
    constexpr size_t kDigits = 4;
    if (!IsHexOf(TrimWhitespace(language), kDigits)) {
        findings.Add("language.malformed", judged.At(key),
                     Quoted(language) + " is no language identifier of four hexadecimal digits.",
                     "Write 0409 for English or 0407 for German.");
    }
}

void CheckNotActedOn(const Judged& judged, Findings& findings) {
    ToolConfig defaults;
    FillEmptyNames(defaults);
    for (const ConfigKey& key : ConfigKeys()) {
        const bool differs = std::visit(
            [&](auto field) { return judged.config.*field != defaults.*field; }, key.field);
        if (differs && !IsActedOn(key.name)) {
            findings.Add(
                "config.not-acted-on", judged.At(key.name),
                std::string(key.name) +
                    " is set, but neither the tool nor its build nor the uninstaller uses it.",
                "Nothing has to be done: the game's other programs may use it.");
        }
    }
}

double Luminance(uint32_t color) {
    const auto channel = [&](int shift) {
        const double value = static_cast<double>(color >> shift & 0xFF) / 255.0;
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * channel(16) + 0.7152 * channel(8) + 0.0722 * channel(0);
}

}  // namespace

void CheckConfig(const Brand& brand, bool noDigest, Findings& findings) {
    if (!brand.configText) {
        return;
    }
    Judged judged;
    judged.lines = CheckConfigLines(*brand.configText, findings);
    judged.config = ConfigToJudge(brand);
    CheckPrimaryAddress(judged, findings);
    CheckMirrors(judged, findings);
    CheckDigest(judged, noDigest, findings);
    CheckToolName(judged, findings);
    CheckStartupExe(judged, findings);
    CheckShortcutName(judged, findings);
    CheckLink(judged, "websiteUrl", judged.config.websiteUrl, findings);
    CheckLink(judged, "discordUrl", judged.config.discordUrl, findings);
    CheckAccent(judged, findings);
    CheckVersion(judged, "repairProductVersion", judged.config.repairProductVersion, findings);
    CheckVersion(judged, "uninstallerProductVersion", judged.config.uninstallerProductVersion,
                 findings);
    CheckLanguage(judged, "repairLanguage", judged.config.repairLanguage, findings);
    CheckLanguage(judged, "uninstallerLanguage", judged.config.uninstallerLanguage, findings);
    CheckNotActedOn(judged, findings);
}

ToolConfig ConfigToJudge(const Brand& brand) {
    ToolConfig config = ParseWithoutOuterBlanks(brand.configText.value_or(""));
    FillEmptyNames(config);
    return config;
}

bool IsProductVersion(std::wstring_view text) {
    constexpr size_t kMostNumbers = 4;
    constexpr uint32_t kMostNumber = 65535;
    const std::wstring trimmed = TrimWhitespace(text);
    const std::wstring_view whole = trimmed;
    std::wstring_view numbers = whole.substr(0, whole.find(L'-'));
    for (size_t count = 1; count <= kMostNumbers; ++count) {
        const size_t end = numbers.find(L'.');
        const std::wstring_view digits = numbers.substr(0, end);
        uint32_t number = 0;
        for (const wchar_t digit : digits) {
            if (digit < L'0' || digit > L'9' || number > kMostNumber) {
                return false;
            }
            number = number * 10 + static_cast<uint32_t>(digit - L'0');
        }
        if (digits.empty() || number > kMostNumber) {
            return false;
        }
        if (end == std::wstring_view::npos) {
            return true;
        }
        numbers.remove_prefix(end + 1);
    }
    return false;
}

double ContrastRatio(uint32_t left, uint32_t right) {
    constexpr double kFlare = 0.05;
    const auto [darker, lighter] = std::minmax({Luminance(left), Luminance(right)});
    return (lighter + kFlare) / (darker + kFlare);
}
