#include "system/installed_programs_values.h"

#include <algorithm>
#include <array>
#include <cwchar>
#include <initializer_list>
#include <limits>

#include "common/text.h"

namespace {

constexpr std::wstring_view kUninstallKeysPath =
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\";
constexpr std::wstring_view kKeyNamePrefix = L"Quellstone.";
constexpr uint64_t kBytesPerKibibyte = 1024;

// The first text that is not blank, trimmed; `fallback` if all are blank.
std::wstring FirstNotBlank(std::initializer_list<std::wstring_view> texts,
                           std::wstring_view fallback) {
    for (const std::wstring_view text : texts) {
        std::wstring trimmed = TrimWhitespace(text);
        if (!trimmed.empty()) {
            return trimmed;
        }
    }
    return std::wstring(fallback);
}

// Year, month and day as eight digits.
std::wstring DateDigits(const SYSTEMTIME& date) {
    std::array<wchar_t, 16> digits{};
    std::swprintf(digits.data(), digits.size(), L"%04u%02u%02u", static_cast<unsigned>(date.wYear),
                  static_cast<unsigned>(date.wMonth), static_cast<unsigned>(date.wDay));
    return digits.data();
}

}  // namespace

std::wstring ProgramsDisplayName(const ToolConfig& config) {
    return FirstNotBlank({config.programsDisplayName, config.shortcutName, config.downloaderName},
                         kFallbackGameName);
}

std::wstring ProgramsPublisher(const ToolConfig& config) {
    return FirstNotBlank({config.programsPublisher, config.companyName}, kFallbackPublisher);
}

std::wstring ProgramsDisplayVersion(const ToolConfig& config) {
    return FirstNotBlank({config.programsDisplayVersion, config.uninstallerProductVersion,
                          config.installerProductVersion, config.downloaderVersion},
                         L"");
}

std::wstring BuildUninstallKeyName(const ToolConfig& config) {
    const std::wstring name = ReplaceFileNameCharacters(ProgramsDisplayName(config));
    return std::wstring(kKeyNamePrefix) + FirstNotBlank({name}, kFallbackGameName);
}

std::wstring UninstallKeyPath(const ToolConfig& config) {
    return std::wstring(kUninstallKeysPath) + BuildUninstallKeyName(config);
}

std::wstring QuoteCommandLinePath(const std::wstring& path) {
    std::wstring quoted = L"\"";
    for (const wchar_t character : path) {
        if (character == L'"') {
            quoted += L'\\';
        }
        quoted += character;
    }
    return quoted + L'"';
}

uint32_t SizeInKibibytes(uint64_t bytes) {
    const uint64_t rounding = bytes % kBytesPerKibibyte == 0 ? 0 : 1;
    const uint64_t kibibytes = bytes / kBytesPerKibibyte + rounding;
    constexpr uint64_t kMax = std::numeric_limits<uint32_t>::max();
    return static_cast<uint32_t>(std::min(kibibytes, kMax));
}

std::vector<RegistryValue> InstalledProgramValues(const ToolConfig& config,
                                                  const InstalledProgramFacts& facts) {
    std::vector<RegistryValue> values{
        {L"DisplayName", ProgramsDisplayName(config)},
        {L"Publisher", ProgramsPublisher(config)},
        {L"DisplayVersion", ProgramsDisplayVersion(config)},
        {L"InstallLocation", facts.clientFolder},
        {L"UninstallString", QuoteCommandLinePath(facts.uninstaller)},
        {L"DisplayIcon", facts.icon + L",0"},
        {L"InstallDate", DateDigits(facts.today)},
    };
    if (const std::wstring website = TrimWhitespace(config.websiteUrl); !website.empty()) {
        values.push_back({L"URLInfoAbout", website});
    }
    values.push_back({L"EstimatedSize", SizeInKibibytes(facts.clientSizeBytes)});
    values.push_back({L"NoModify", uint32_t{1}});
    values.push_back({L"NoRepair", uint32_t{1}});
    return values;
}
