#include "system/installed_programs_values.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

// The configured text with each of these indexes overrides those behind it.
struct TextChoice {
    std::wstring (*text)(const ToolConfig&);
    std::vector<std::wstring ToolConfig::*> fields;
    const wchar_t* fallback;
};
const TextChoice kTextChoices[] = {
    {&ProgramsDisplayName,
     {&ToolConfig::programsDisplayName, &ToolConfig::shortcutName, &ToolConfig::downloaderName},
     L"Karvoth"},
    {&ProgramsPublisher, {&ToolConfig::programsPublisher, &ToolConfig::companyName}, L"Brennick"},
    {&ProgramsDisplayVersion,
     {&ToolConfig::programsDisplayVersion, &ToolConfig::uninstallerProductVersion,
      &ToolConfig::installerProductVersion, &ToolConfig::downloaderVersion},
     L""},
};

ToolConfig BlankConfig() {
    ToolConfig config;
    for (const TextChoice& choice : kTextChoices) {
        for (const auto field : choice.fields) {
            (config.*field).clear();
        }
    }
    return config;
}

TEST(InstalledProgramTexts, AreTheFirstThatIsNotBlankTrimmed) {
    for (const TextChoice& choice : kTextChoices) {
        ToolConfig config = BlankConfig();
        EXPECT_EQ(choice.text(config), choice.fallback);
        std::wstring former = choice.fallback;
        for (size_t i = choice.fields.size(); i-- > 0;) {
            std::wstring& field = config.*choice.fields[i];
            field = L" \t\r\n";
            EXPECT_EQ(choice.text(config), former) << i;
            former = L"A/B: " + std::to_wstring(i) + L"\u00a0";
            field = L"\t " + former + L"\r\n";
            EXPECT_EQ(choice.text(config), former) << i;
        }
    }
}

TEST(UninstallKeyPath, EndsInTheDisplayNameAsAFileName) {
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"Karvoth", L"Karvoth"},
        {L"A/B: X?", L"A_B_ X_"},
        {L"\\/:*?\"<>|", L"_________"},
        {L"  in  the  middle  ", L"in  the  middle"},
        {L"\u00dcber.Spiel-2 (beta)'%", L"\u00dcber.Spiel-2 (beta)'%"},
        {L" \t", L"Karvoth"},
        {L"", L"Karvoth"},
    };
    for (const auto& [displayName, keyName] : cases) {
        ToolConfig config = BlankConfig();
        config.programsDisplayName = displayName;
        EXPECT_EQ(BuildUninstallKeyName(config), std::wstring(L"Quellstone.") + keyName);
        EXPECT_EQ(UninstallKeyPath(config),
                  std::wstring(L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\") +
                      L"Quellstone." + keyName);
    }
    ToolConfig config = BlankConfig();
    config.downloaderName = L"Third:";
    EXPECT_EQ(BuildUninstallKeyName(config), L"Quellstone.Third_");
}

TEST(QuoteCommandLinePath, QuotesAndEscapesQuotesOnly) {
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"C:\\Games\\Uninstall.exe", L"\"C:\\Games\\Uninstall.exe\""},
        {L"C:\\a b\\Uninstall.exe", L"\"C:\\a b\\Uninstall.exe\""},
        {L"C:\\a\"b", L"\"C:\\a\\\"b\""},
        {L"\"", L"\"\\\"\""},
        {L"a\"\"b", L"\"a\\\"\\\"b\""},
        // A backslash stays single, even before a quote or at the end.
        {L"a\\\"b", L"\"a\\\\\"b\""},
        {L"C:\\folder\\", L"\"C:\\folder\\\""},
        {L"a/b", L"\"a/b\""},
        {L"", L"\"\""},
    };
    for (const auto& [path, quoted] : cases) {
        EXPECT_EQ(QuoteCommandLinePath(path), quoted);
    }
}

TEST(SizeInKibibytes, RoundsUpAndStopsAtTheLargestNumber) {
    const std::pair<uint64_t, uint32_t> cases[] = {
        {0, 0},
        {1, 1},
        {1023, 1},
        {1024, 1},
        {1025, 2},
        {uint64_t{5} << 30, 5U << 20},
        {(uint64_t{4294967295U} << 10) - 1, 4294967295U},
        {uint64_t{4294967295U} << 10, 4294967295U},
        {(uint64_t{4294967295U} << 10) + 1, 4294967295U},
        {UINT64_MAX, 4294967295U},
    };
    for (const auto& [bytes, kibibytes] : cases) {
        EXPECT_EQ(SizeInKibibytes(bytes), kibibytes) << bytes;
    }
}

}  // namespace
