#include "common/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

#include "bench_parts/call_hook.h"
#include "common/windows_api.h"

namespace {

TEST(TrimWhitespace, RemovesExactlyFourCharactersAtBothEnds) {
    const std::pair<std::wstring_view, std::wstring_view> cases[] = {
        {L"", L""},
        {L" \t\r\n", L""},
        {L"a", L"a"},
        {L" \t\r\na b\tc \t\r\n", L"a b\tc"},
        {L"\u00A0a\u00A0", L"\u00A0a\u00A0"},
        {L"\va\f", L"\va\f"},
        {L"\u3000", L"\u3000"},
        {std::wstring_view(L" \0a\0 ", 5), std::wstring_view(L"\0a\0", 3)},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(TrimWhitespace(text), expected);
    }
}

TEST(SanitizeFileName, ReplacesNineCharactersTrimsAndFallsBack) {
    const struct {
        std::wstring_view value;
        std::wstring_view fallback;
        std::wstring_view expected;
    } cases[] = {
        {L"\\/:*?\"<>|", L"x", L"_________"},
        {L"a:b|c.exe", L"x", L"a_b_c.exe"},
        {L" \t A b.c'%&;\u00E4\u4E2D \r\n", L"x", L"A b.c'%&;\u00E4\u4E2D"},
        {L"", L"Karvoth", L"Karvoth"},
        {L" \t\r\n", L"Karvoth", L"Karvoth"},
        {L"", L"Kar:voth", L"Kar_voth"},
        {L"", L"", L""},
    };
    for (const auto& [value, fallback, expected] : cases) {
        EXPECT_EQ(SanitizeFileName(value, fallback), expected);
    }
}

TEST(ReplaceFileNameCharacters, DoesNotTrim) {
    EXPECT_EQ(ReplaceFileNameCharacters(L" A/B: X? "), L" A_B_ X_ ");
}

TEST(LowerCase, ChangesAsciiLettersOnly) {
    EXPECT_EQ(LowerCase(L"RaR.7Z"), L"rar.7z");
    EXPECT_EQ(LowerCase(L""), L"");
    EXPECT_EQ(LowerCase(L"\u00C4\u0416"), L"\u00C4\u0416");
    EXPECT_EQ(LowerCase(std::wstring_view(L"A\0B", 3)), std::wstring(L"a\0b", 3));
}

TEST(IsSameIgnoringCase, FollowsTheSystemsTable) {
    const struct {
        std::wstring_view left;
        std::wstring_view right;
        bool isSame;
    } rows[] = {
        {L"", std::wstring_view(), true},
        {std::wstring_view(), L"a", false},
        {L"Tool.EXE", L"tOOL.exe", true},
        {L"tool", L"tool1", false},
        {L"\u00C4\u0416", L"\u00E4\u0436", true},
        // No user's language makes two letters one, or one letter two.
        {L"I", L"\u0131", false},
        {L"i", L"\u0130", false},
        {L"\u00DF", L"ss", false},
        {std::wstring_view(L"a\0B", 3), std::wstring_view(L"A\0b", 3), true},
        {std::wstring_view(L"a\0b", 3), std::wstring_view(L"a\0c", 3), false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(IsSameIgnoringCase(row.left, row.right), row.isSame) << row.left.size();
    }
}

TEST(Utf8ToWide, ConvertsAndReplacesInvalidSequences) {
    const std::pair<std::string_view, std::wstring_view> cases[] = {
        {"", L""},
        {"a\xC3\xA4\xE4\xB8\xAD\xF0\x9F\x98\x80", L"a\u00E4\u4E2D\U0001F600"},
        {"\xEF\xBB\xBFk", L"\uFEFFk"},
        {std::string_view("a\0b", 3), std::wstring_view(L"a\0b", 3)},
        {"a\xFFz", L"a\uFFFDz"},
        {"\xC3", L"\uFFFD"},
    };
    for (const auto& [utf8, expected] : cases) {
        EXPECT_EQ(Utf8ToWide(utf8), expected);
    }
    // A surrogate encoded as UTF-8 is invalid too; the platform decides how many characters
    // replace it.
    EXPECT_THAT(Utf8ToWide("x\xED\xA0\x80y"),
                testing::AnyOf(L"x\uFFFDy", L"x\uFFFD\uFFFDy", L"x\uFFFD\uFFFD\uFFFDy"));
}

TEST(Utf8ToWide, IsEmptyIfTheConversionFails) {
    int failingCall = 0;
    const auto hook = bench::HookCall<decltype(&::MultiByteToWideChar)>(
        L"kernel32.dll", "MultiByteToWideChar",
        [&](UINT codePage, DWORD flags, LPCCH, int count, LPWSTR buffer, int size) -> int {
            EXPECT_EQ(codePage, 65001u);
            EXPECT_EQ(flags, 0u);
            EXPECT_EQ(size, buffer == nullptr ? 0 : count);
            return (buffer == nullptr ? 1 : 2) == failingCall ? 0 : count;
        });
    for (failingCall = 1; failingCall <= 2; ++failingCall) {
        EXPECT_EQ(Utf8ToWide("abc"), L"");
    }
}

}  // namespace
