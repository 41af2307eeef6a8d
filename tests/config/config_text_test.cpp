#include "config/config_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(ParseConfigText, TakesKeyAndValueOfEachLine) {
    const ToolConfig config = ParseConfigText(
        "format=Quellstone.v1\n"
        "downloaderName=Karvoth Downloader\n"
        "defaultInstallPath=C:\\\\Games\\\\Karvoth\n"
        "archiveMirrorUrls=http://a/\\nhttp://b/\n"
        "showDiscord=1\n");
    EXPECT_EQ(config.downloaderName, L"Karvoth Downloader");
    EXPECT_EQ(config.defaultInstallPath, L"C:\\Games\\Karvoth");
    EXPECT_THAT(config.archiveMirrorUrls, ElementsAre(L"http://a/", L"http://b/"));
    EXPECT_TRUE(config.showDiscord);
}

TEST(ParseConfigText, TextThatSetsOnlyTheUrlLeavesKindAndMirrorsAtTheirDefaults) {
    const ToolConfig config = ParseConfigText("archiveUrl=http://host/a.zip\n");
    EXPECT_EQ(config.archiveUrl, L"http://host/a.zip");
    EXPECT_EQ(config.archiveType, L"zip");
    EXPECT_THAT(config.archiveMirrorUrls, IsEmpty());
}

TEST(ParseConfigText, YieldsTheLastLineWithoutLineFeed) {
    const ToolConfig config = ParseConfigText("archiveUrl=u\nstartupExe=game.exe");
    EXPECT_EQ(config.startupExe, L"game.exe");
}

TEST(ParseConfigText, DropsOneCarriageReturnAtTheEndOfALine) {
    const ToolConfig config = ParseConfigText("archiveUrl=u\r\nstartupExe=g\r\r\nwebsiteUrl=w\r");
    EXPECT_EQ(config.archiveUrl, L"u");
    EXPECT_EQ(config.startupExe, L"g\r");
    EXPECT_EQ(config.websiteUrl, L"w");
}

TEST(ParseConfigText, SwitchAtTheEndOfACrLfLineIsReadWithoutTheCarriageReturn) {
    EXPECT_TRUE(ParseConfigText("multiRepairTool=1\r\n").multiRepairTool);
}

TEST(ParseConfigText, SkipsEmptyLinesAndLinesWithoutEqualsSign) {
    const ToolConfig config = ParseConfigText(
        "\n\r\n# a comment\n; another\narchiveUrl\nstartupExe: x\narchiveUrl=u\n\n");
    EXPECT_EQ(config.archiveUrl, L"u");
    EXPECT_EQ(config.startupExe, L"");
}

TEST(ParseConfigText, StoresACommentedLineWithEqualsSignUnderItsOddKey) {
    EXPECT_EQ(ParseConfigText("#archiveUrl=u\n;archiveUrl=v").archiveUrl, L"");
}

TEST(ParseConfigText, SplitsAtTheFirstUnprotectedEqualsSign) {
    EXPECT_EQ(ParseConfigText("archiveUrl=http://h/?a=b=c").archiveUrl, L"http://h/?a=b=c");
    EXPECT_EQ(ParseConfigText("archiveUrl==").archiveUrl, L"=");
}

TEST(ParseConfigText, IgnoresALineWhoseKeyHoldsAProtectedEqualsSign) {
    const ToolConfig config = ParseConfigText("path\\=x=1\narchiveUrl\\=u=v\n");
    EXPECT_EQ(config.archiveUrl, L"");
}

TEST(ParseConfigText, IgnoresALineWhoseOnlyEqualsSignIsProtected) {
    EXPECT_EQ(ParseConfigText("archiveUrl\\=u").archiveUrl, L"");
}

TEST(FindConfigSplitPoint, FindsTheFirstEqualsSignThatNoBackslashProtects) {
    constexpr size_t kNone = std::string_view::npos;
    const std::pair<std::string_view, size_t> rows[] = {
        {"a=b", 1},        {"=", 0},        {"a=b=c", 1},         {"", kNone},
        {"a", kNone},      {"a\\", kNone},  {"\\=", kNone},       {"\\=x=1", 3},
        {"path\\=x=1", 7}, {"\\\\=x", 2},   {"\\\\\\=x=1", 5},    {"\\x=1", 2},
        {"\\\\\\\\=", 4},  {"\\a\\==x", 4}, {"x\\\\\\=y", kNone},
    };
    for (const auto& [line, split] : rows) {
        EXPECT_EQ(FindConfigSplitPoint(line), split) << line;
    }
}

TEST(ParseConfigText, NeitherTrimsNorFoldsKeys) {
    const ToolConfig config = ParseConfigText(
        "archiveUrl =a\n archiveUrl=b\nARCHIVEURL=c\narchiveurl=d\n\tarchiveUrl=e\n");
    EXPECT_EQ(config.archiveUrl, L"");
}

TEST(ParseConfigText, KeepsBlanksOfAValue) {
    EXPECT_EQ(ParseConfigText("welcomeBody=  a\t ").welcomeBody, L"  a\t ");
}

TEST(ParseConfigText, TakesTheLastOfSeveralLinesWithOneKey) {
    EXPECT_EQ(ParseConfigText("archiveUrl=first\narchiveUrl=second").archiveUrl, L"second");
    EXPECT_EQ(ParseConfigText("archiveUrl=first\narchiveUrl=").archiveUrl, L"");
    EXPECT_FALSE(ParseConfigText("showLogo=1\nshowLogo=0").showLogo);
}

TEST(ParseConfigText, EmptyTextReplacesItsDefault) {
    const ToolConfig config = ParseConfigText("downloaderName=\nrepairToolName=\nstartupExe=");
    EXPECT_EQ(config.downloaderName, L"");
    EXPECT_EQ(config.repairToolName, L"");
    EXPECT_EQ(config.startupExe, L"");
}

TEST(ParseConfigText, AbsentKeysKeepTheirDefaults) {
    const ToolConfig config = ParseConfigText("archiveUrl=u");
    EXPECT_EQ(config.downloaderName, L"Karvoth Downloader");
    EXPECT_TRUE(config.cleanupArchive);
    EXPECT_FALSE(config.multiRepairTool);
}

TEST(ParseConfigText, ReadsASwitchAsTrueForExactlyThreeSpellings) {
    const std::pair<const char*, bool> cases[] = {
        {"1", true},    {"true", true}, {"TRUE", true},    {"True", false},
        {"yes", false}, {" 1", false},  {"1 ", false},     {"", false},
        {"0", false},   {"11", false},  {"tRUE", false},   {"on", false},
        {"\\1", false}, {"1\\", false}, {"true\t", false}, {"\\true", false}};
    for (const auto& [value, expected] : cases) {
        const std::string line = std::string("cleanupArchive=") + value;
        EXPECT_EQ(ParseConfigText(line).cleanupArchive, expected) << value;
        // A switch whose default is off shows the same.
        EXPECT_EQ(ParseConfigText(std::string("multiRepairTool=") + value).multiRepairTool,
                  expected)
            << value;
    }
}

TEST(ParseConfigText, ResolvesTheEscapePairsOfTexts) {
    EXPECT_EQ(ParseConfigText("welcomeBody=a\\nb").welcomeBody, L"a\nb");
    EXPECT_EQ(ParseConfigText("welcomeBody=x\\qy").welcomeBody, L"x\\qy");
    EXPECT_EQ(ParseConfigText("welcomeBody=a\\eb\\tc\\rd\\\\e").welcomeBody, L"a=b\tc\rd\\e");
}

TEST(ParseConfigText, EscapedCarriageReturnAtTheEndOfALineStays) {
    EXPECT_EQ(ParseConfigText("welcomeBody=a\\r\r\n").welcomeBody, L"a\r");
}

TEST(ParseConfigText, UnescapesMirrorsBeforeSplittingThem) {
    EXPECT_THAT(ParseConfigText("archiveMirrorUrls=  u1 \\n\\n u2\\r").archiveMirrorUrls,
                ElementsAre(L"u1", L"u2"));
    EXPECT_THAT(ParseConfigText("archiveMirrorUrls=a\\r\\nb\\tc\\n\\t \\r\\n").archiveMirrorUrls,
                ElementsAre(L"a", L"b\tc"));
    // An escaped backslash before "n" is a backslash and the letter, no separator.
    EXPECT_THAT(ParseConfigText("archiveMirrorUrls=a\\\\nb").archiveMirrorUrls,
                ElementsAre(L"a\\nb"));
    EXPECT_THAT(ParseConfigText("archiveMirrorUrls=x?a\\eb").archiveMirrorUrls,
                ElementsAre(L"x?a=b"));
}

TEST(ParseConfigText, EmptyMirrorValueGivesAnEmptyList) {
    EXPECT_THAT(ParseConfigText("archiveMirrorUrls=").archiveMirrorUrls, IsEmpty());
    EXPECT_THAT(ParseConfigText("archiveMirrorUrls= \\n \\r\\n").archiveMirrorUrls, IsEmpty());
    EXPECT_THAT(ParseConfigText("archiveMirrorUrls=a\narchiveMirrorUrls=").archiveMirrorUrls,
                IsEmpty());
}

TEST(ParseConfigText, IgnoresUnknownKeysAndNeverExaminesTheFormatLine) {
    const ToolConfig other = ParseConfigText("format=Something.v9\nnoSuchKey=1\narchiveUrl=u");
    EXPECT_EQ(other.archiveUrl, L"u");
    EXPECT_EQ(ParseConfigText("archiveUrl=u\n").archiveUrl, L"u");
}

TEST(ParseConfigText, ByteOrderMarkStaysPartOfTheFirstKey) {
    EXPECT_EQ(ParseConfigText("\xEF\xBB\xBF"
                              "archiveUrl=a\nstartupExe=b")
                  .archiveUrl,
              L"");
    EXPECT_EQ(ParseConfigText("\xEF\xBB\xBF"
                              "format=x\narchiveUrl=a")
                  .archiveUrl,
              L"a");
}

TEST(ParseConfigText, ConvertsValuesFromUtf8) {
    EXPECT_EQ(ParseConfigText("shortcutName=\xC3\x84\xE4\xB8\xAD\xF0\x9F\x98\x80").shortcutName,
              L"\u00C4\u4E2D\U0001F600");
}

TEST(ParseConfigText, TurnsBadUtf8IntoReplacementCharacters) {
    EXPECT_EQ(ParseConfigText("shortcutName=a\xFFz").shortcutName, L"a\uFFFDz");
}

TEST(ParseConfigText, KeepsZeroBytesInsideAValue) {
    EXPECT_EQ(ParseConfigText(std::string_view("shortcutName=a\0b\nstartupExe=x", 29)).shortcutName,
              std::wstring(L"a\0b", 3));
}

TEST(ParseConfigText, KnowsNoLimitOfLengthOrCount) {
    std::string text = "welcomeBody=" + std::string(5'000'000, 'w') + "\n";
    for (int i = 0; i < 20'000; ++i) {
        text += "key" + std::to_string(i) + "=v\n";
    }
    text += "archiveUrl=u";
    const ToolConfig config = ParseConfigText(text);
    EXPECT_EQ(config.welcomeBody.size(), 5'000'000u);
    EXPECT_EQ(config.archiveUrl, L"u");
}

TEST(UnescapeConfigValue, ResolvesPairsFromLeftToRight) {
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"", ""},       {"\\\\", "\\"},      {"\\e", "="},        {"\\n", "\n"},
        {"\\r", "\r"},  {"\\t", "\t"},       {"\\q", "\\q"},      {"\\=", "\\="},
        {"\\", "\\"},   {"a\\", "a\\"},      {"\\\\\\", "\\\\"},  {"\\\\n", "\\n"},
        {"\\N", "\\N"}, {"\\q\\n", "\\q\n"}, {"\\\\\\n", "\\\n"}, {"\\x\\\\", "\\x\\"},
    };
    for (const auto& [raw, expected] : cases) {
        EXPECT_EQ(UnescapeConfigValue(raw), expected) << raw;
    }
}

}  // namespace
