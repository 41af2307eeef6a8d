#include "config/config_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using std::string_view_literals::operator""sv;

// The values of archiveUrl and startupExe, empty by default, after a text.
TEST(ParseConfigText, SplitsLinesKeysAndValues) {
    const struct {
        std::string_view text;
        std::wstring_view archiveUrl;
        std::wstring_view startupExe;
    } cases[] = {
        // Ends of lines: LF, one CR before it, none.
        {"archiveUrl=u\nstartupExe=game.exe", L"u", L"game.exe"},
        {"archiveUrl=u\r\nstartupExe=g\r\r\n", L"u", L"g\r"},
        {"archiveUrl=u\r", L"u", L""},
        {"archiveUrl=a\\r\r\n", L"a\r", L""},
        // No line of a value.
        {"\n\r\n# a comment\n; another\narchiveUrl\nstartupExe: x\narchiveUrl=u\n\n", L"u", L""},
        {"#archiveUrl=u\n;startupExe=v", L"", L""},
        {"format=Something.v9\nnoSuchKey=1\narchiveUrl=u", L"u", L""},
        // The first equals sign that no backslash protects.
        {"archiveUrl=http://h/?a=b=c", L"http://h/?a=b=c", L""},
        {"archiveUrl==", L"=", L""},
        {"path\\=x=1\narchiveUrl\\=u=v\nstartupExe\\=x", L"", L""},
        // Keys are neither trimmed nor folded, values not trimmed.
        {"archiveUrl =a\n archiveUrl=b\nARCHIVEURL=c\narchiveurl=d\n\tarchiveUrl=e\n", L"", L""},
        {"archiveUrl=  a\t ", L"  a\t ", L""},
        // The last line wins.
        {"archiveUrl=first\nstartupExe=first\narchiveUrl=second\nstartupExe=", L"second", L""},
        // A byte order mark is part of the first key.
        {"\xEF\xBB\xBF"
         "archiveUrl=a\nstartupExe=b",
         L"", L"b"},
        {"\xEF\xBB\xBF"
         "format=x\narchiveUrl=a",
         L"a", L""},
        // Escapes and UTF-8.
        {"archiveUrl=a\\nb\nstartupExe=x\\qy", L"a\nb", L"x\\qy"},
        {"archiveUrl=a\\eb\\tc\\rd\\\\e", L"a=b\tc\rd\\e", L""},
        {"archiveUrl=\xC3\x84\xE4\xB8\xAD\xF0\x9F\x98\x80", L"\u00C4\u4E2D\U0001F600", L""},
        {"archiveUrl=a\xFFz", L"a\uFFFDz", L""},
        {"archiveUrl=a\0b\nstartupExe=x"sv, std::wstring_view(L"a\0b", 3), L"x"},
    };
    for (const auto& [text, archiveUrl, startupExe] : cases) {
        const ToolConfig config = ParseConfigText(text);
        EXPECT_EQ(config.archiveUrl, archiveUrl) << text;
        EXPECT_EQ(config.startupExe, startupExe) << text;
    }
}

TEST(ParseConfigText, ReadsASwitchAsTrueForExactlyThreeSpellings) {
    const std::pair<const char*, bool> cases[] = {
        {"1", true},       {"true", true},   {"TRUE", true}, {"1\r\n", true}, {"True", false},
        {"yes", false},    {" 1", false},    {"1 ", false},  {"", false},     {"0", false},
        {"11", false},     {"tRUE", false},  {"on", false},  {"\\1", false},  {"1\\", false},
        {"true\t", false}, {"\\true", false}};
    for (const auto& [value, expected] : cases) {
        SCOPED_TRACE(value);
        // One whose default is on and one whose default is off.
        EXPECT_EQ(ParseConfigText(std::string("cleanupArchive=") + value).cleanupArchive, expected);
        EXPECT_EQ(ParseConfigText(std::string("multiRepairTool=") + value).multiRepairTool,
                  expected);
    }
}

TEST(ParseConfigText, UnescapesMirrorsBeforeSplittingThem) {
    const std::pair<const char*, std::vector<std::wstring>> cases[] = {
        {"  u1 \\n\\n u2\\r", {L"u1", L"u2"}},
        {"a\\r\\nb\\tc\\n\\t \\r\\n", {L"a", L"b\tc"}},
        // An escaped backslash before "n" is a backslash and the letter, no separator.
        {"a\\\\nb", {L"a\\nb"}},
        {"x?a\\eb", {L"x?a=b"}},
        {"", {}},
        {" \\n \\r\\n", {}},
        {"a\narchiveMirrorUrls=", {}},
    };
    for (const auto& [value, mirrors] : cases) {
        EXPECT_EQ(ParseConfigText(std::string("archiveMirrorUrls=") + value).archiveMirrorUrls,
                  mirrors)
            << value;
    }
}

TEST(ParseConfigText, HasNoLimitOfLengthOrCount) {
    std::string text = "welcomeBody=" + std::string(5'000'000, 'w') + "\n";
    for (int i = 0; i < 20'000; ++i) {
        text += "key" + std::to_string(i) + "=v\n";
    }
    text += "archiveUrl=u";
    const ToolConfig config = ParseConfigText(text);
    EXPECT_EQ(config.welcomeBody.size(), 5'000'000u);
    EXPECT_EQ(config.archiveUrl, L"u");
}

TEST(FindConfigSplitPoint, FindsTheFirstEqualsSignThatNoBackslashProtects) {
    constexpr size_t kNone = std::string_view::npos;
    const std::pair<std::string_view, size_t> cases[] = {
        {"a=b", 1},        {"=", 0},        {"a=b=c", 1},         {"", kNone},
        {"a", kNone},      {"a\\", kNone},  {"\\=", kNone},       {"\\=x=1", 3},
        {"path\\=x=1", 7}, {"\\\\=x", 2},   {"\\\\\\=x=1", 5},    {"\\x=1", 2},
        {"\\\\\\\\=", 4},  {"\\a\\==x", 4}, {"x\\\\\\=y", kNone},
    };
    for (const auto& [line, split] : cases) {
        EXPECT_EQ(FindConfigSplitPoint(line), split) << line;
    }
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
