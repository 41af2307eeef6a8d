#include "system/installed_programs_values.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <optional>

namespace {

using testing::ElementsAre;

ToolConfig BlankConfig() {
    ToolConfig config;
    for (std::wstring* text :
         {&config.programsDisplayName, &config.shortcutName, &config.downloaderName,
          &config.programsPublisher, &config.companyName, &config.programsDisplayVersion,
          &config.uninstallerProductVersion, &config.installerProductVersion,
          &config.downloaderVersion, &config.websiteUrl}) {
        text->clear();
    }
    return config;
}

TEST(ProgramsDisplayName, IsTheFirstNameThatIsNotBlank) {
    ToolConfig config = BlankConfig();
    EXPECT_EQ(ProgramsDisplayName(config), L"Karvoth");
    config.downloaderName = L"Third";
    EXPECT_EQ(ProgramsDisplayName(config), L"Third");
    config.shortcutName = L"Second";
    EXPECT_EQ(ProgramsDisplayName(config), L"Second");
    config.programsDisplayName = L" \t\r\n";
    EXPECT_EQ(ProgramsDisplayName(config), L"Second");
    config.programsDisplayName = L"First";
    EXPECT_EQ(ProgramsDisplayName(config), L"First");
}

TEST(ProgramsDisplayName, IsTrimmedAndOtherwiseKept) {
    ToolConfig config = BlankConfig();
    config.programsDisplayName = L"\t A/B: X? \u00a0\r\n";
    EXPECT_EQ(ProgramsDisplayName(config), L"A/B: X? \u00a0");
    config.programsDisplayName.clear();
    config.shortcutName = L" Second\n";
    EXPECT_EQ(ProgramsDisplayName(config), L"Second");
}

TEST(ProgramsPublisher, IsTheFirstPublisherThatIsNotBlank) {
    ToolConfig config = BlankConfig();
    EXPECT_EQ(ProgramsPublisher(config), L"Brennick");
    config.companyName = L" By Somebody ";
    EXPECT_EQ(ProgramsPublisher(config), L"By Somebody");
    config.programsPublisher = L"\tSomebody\t";
    EXPECT_EQ(ProgramsPublisher(config), L"Somebody");
}

TEST(ProgramsDisplayVersion, IsTheFirstVersionThatIsNotBlankOrEmpty) {
    ToolConfig config = BlankConfig();
    EXPECT_EQ(ProgramsDisplayVersion(config), L"");
    config.downloaderVersion = L" v4 ";
    EXPECT_EQ(ProgramsDisplayVersion(config), L"v4");
    config.installerProductVersion = L"3";
    EXPECT_EQ(ProgramsDisplayVersion(config), L"3");
    config.uninstallerProductVersion = L"2";
    EXPECT_EQ(ProgramsDisplayVersion(config), L"2");
    config.programsDisplayVersion = L"1\n";
    EXPECT_EQ(ProgramsDisplayVersion(config), L"1");
}

TEST(BuildUninstallKeyName, ReplacesWhatNoKeyOrFileNameShouldHold) {
    const struct {
        const wchar_t* displayName;
        const wchar_t* keyName;
    } cases[] = {
        {L"Karvoth", L"Quellstone.Karvoth"},
        {L"A/B: X?", L"Quellstone.A_B_ X_"},
        {L"\\/:*?\"<>|", L"Quellstone._________"},
        {L"a\\b|c", L"Quellstone.a_b_c"},
        {L"  in  the  middle  ", L"Quellstone.in  the  middle"},
        {L"\u00dcber.Spiel-2 (beta)'%", L"Quellstone.\u00dcber.Spiel-2 (beta)'%"},
        {L" \t", L"Quellstone.Karvoth"},
        {L"", L"Quellstone.Karvoth"},
    };
    for (const auto& [displayName, keyName] : cases) {
        ToolConfig config = BlankConfig();
        config.programsDisplayName = displayName;
        EXPECT_EQ(BuildUninstallKeyName(config), keyName);
    }
}

TEST(BuildUninstallKeyName, FollowsTheNameThatIsShown) {
    ToolConfig config = BlankConfig();
    config.downloaderName = L"Third:";
    EXPECT_EQ(BuildUninstallKeyName(config), L"Quellstone.Third_");
    config.shortcutName = L"Second*";
    EXPECT_EQ(BuildUninstallKeyName(config), L"Quellstone.Second_");
}

TEST(UninstallKeyPath, LiesAmongTheInstalledPrograms) {
    EXPECT_EQ(UninstallKeyPath(ToolConfig{}),
              L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Quellstone.Karvoth");
}

TEST(QuoteCommandLinePath, QuotesAndGuardsQuotesOnly) {
    const struct {
        const wchar_t* path;
        const wchar_t* quoted;
    } cases[] = {
        {L"C:\\Games\\Uninstall.exe", L"\"C:\\Games\\Uninstall.exe\""},
        {L"C:\\a b\\Uninstall.exe", L"\"C:\\a b\\Uninstall.exe\""},
        {L"C:\\a\"b", L"\"C:\\a\\\"b\""},
        {L"\"", L"\"\\\"\""},
        {L"a\"\"b", L"\"a\\\"\\\"b\""},
        // A backslash stays single, before a quote and at the end as well.
        {L"a\\\"b", L"\"a\\\\\"b\""},
        {L"C:\\folder\\", L"\"C:\\folder\\\""},
        {L"a/b", L"\"a/b\""},
        {L"", L"\"\""},
    };
    for (const auto& [path, quoted] : cases) {
        EXPECT_EQ(QuoteCommandLinePath(path), quoted);
    }
}

TEST(SizeInKibibytes, CountsAStartedOneAndStopsAtTheLargest) {
    const struct {
        uint64_t bytes;
        uint32_t kibibytes;
    } cases[] = {
        {0, 0},
        {1, 1},
        {1023, 1},
        {1024, 1},
        {1025, 2},
        {uint64_t{5} << 30, 5U << 20},
        {(uint64_t{4294967295U} << 10) - 1, 4294967295U},
        {uint64_t{4294967295U} << 10, 4294967295U},
        {(uint64_t{4294967295U} << 10) + 1, 4294967295U},
        {uint64_t{1} << 42, 4294967295U},
        {UINT64_MAX, 4294967295U},
    };
    for (const auto& [bytes, kibibytes] : cases) {
        EXPECT_EQ(SizeInKibibytes(bytes), kibibytes) << bytes;
    }
}

InstalledProgramFacts SampleFacts() {
    InstalledProgramFacts facts;
    facts.clientFolder = L"D:\\games/Karvoth";
    facts.uninstaller = L"D:\\games/Karvoth\\Uninstall.exe";
    facts.icon = L"D:\\games/Karvoth\\patcher.exe";
    facts.clientSizeBytes = 2049;
    facts.today.wYear = 2026;
    facts.today.wMonth = 3;
    facts.today.wDay = 9;
    return facts;
}

std::vector<std::wstring> NamesOf(const std::vector<RegistryValue>& values) {
    std::vector<std::wstring> names;
    names.reserve(values.size());
    for (const RegistryValue& value : values) {
        names.push_back(value.name);
    }
    return names;
}

TEST(InstalledProgramValues, StandInTheirOrder) {
    ToolConfig config;
    config.websiteUrl = L"https://game.example/";
    EXPECT_THAT(NamesOf(InstalledProgramValues(config, SampleFacts())),
                ElementsAre(L"DisplayName", L"Publisher", L"DisplayVersion", L"InstallLocation",
                            L"UninstallString", L"DisplayIcon", L"InstallDate", L"URLInfoAbout",
                            L"EstimatedSize", L"NoModify", L"NoRepair"));
}

// The named text; none when it is missing or a number.
std::optional<std::wstring> TextOf(const std::vector<RegistryValue>& values,
                                   std::wstring_view name) {
    for (const RegistryValue& value : values) {
        if (value.name == name && std::holds_alternative<std::wstring>(value.data)) {
            return std::get<std::wstring>(value.data);
        }
    }
    return std::nullopt;
}

std::optional<uint32_t> NumberOf(const std::vector<RegistryValue>& values, std::wstring_view name) {
    for (const RegistryValue& value : values) {
        if (value.name == name && std::holds_alternative<uint32_t>(value.data)) {
            return std::get<uint32_t>(value.data);
        }
    }
    return std::nullopt;
}

TEST(InstalledProgramValues, SayWhatIsConfiguredAndFound) {
    ToolConfig config;
    config.programsDisplayName = L" A/B: X? ";
    config.websiteUrl = L"\thttps://game.example/\n";
    const auto values = InstalledProgramValues(config, SampleFacts());
    EXPECT_EQ(TextOf(values, L"DisplayName"), L"A/B: X?");
    EXPECT_EQ(TextOf(values, L"Publisher"), L"Brennick");
    EXPECT_EQ(TextOf(values, L"DisplayVersion"), L"2.0.0");
    EXPECT_EQ(TextOf(values, L"InstallLocation"), L"D:\\games/Karvoth");
    EXPECT_EQ(TextOf(values, L"UninstallString"), L"\"D:\\games/Karvoth\\Uninstall.exe\"");
    EXPECT_EQ(TextOf(values, L"DisplayIcon"), L"D:\\games/Karvoth\\patcher.exe,0");
    EXPECT_EQ(TextOf(values, L"InstallDate"), L"20260309");
    EXPECT_EQ(TextOf(values, L"URLInfoAbout"), L"https://game.example/");
    EXPECT_EQ(NumberOf(values, L"EstimatedSize"), 3U);
    EXPECT_EQ(NumberOf(values, L"NoModify"), 1U);
    EXPECT_EQ(NumberOf(values, L"NoRepair"), 1U);
}

TEST(InstalledProgramValues, LeaveOutAnEmptyOrBlankWebsite) {
    ToolConfig config;
    for (const wchar_t* const website : {L"", L" \t\r\n"}) {
        config.websiteUrl = website;
        EXPECT_FALSE(TextOf(InstalledProgramValues(config, SampleFacts()), L"URLInfoAbout"));
    }
}

TEST(InstalledProgramValues, KeepAnEmptyVersion) {
    EXPECT_EQ(TextOf(InstalledProgramValues(BlankConfig(), SampleFacts()), L"DisplayVersion"), L"");
}

TEST(InstalledProgramValues, WriteTheDateInEightDigits) {
    InstalledProgramFacts facts = SampleFacts();
    facts.today.wYear = 987;
    facts.today.wMonth = 12;
    facts.today.wDay = 31;
    EXPECT_EQ(TextOf(InstalledProgramValues(ToolConfig{}, facts), L"InstallDate"), L"09871231");
}

}  // namespace
