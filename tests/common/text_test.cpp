#include "common/text.h"

#include <gtest/gtest.h>

#include "bench_parts/import_hook.h"
#include "common/windows_api.h"

namespace {

TEST(TrimWhitespace, RemovesExactlyTheFourCharactersAtBothEnds) {
    struct Case {
        std::wstring_view input;
        std::wstring_view expected;
    };
    const Case cases[] = {
        {L"", L""},
        {L" \t\r\n", L""},
        {L"a", L"a"},
        {L" \t\r\na b\tc \t\r\n", L"a b\tc"},
        {L"\u00A0a\u00A0", L"\u00A0a\u00A0"},
        {L"\va\f", L"\va\f"},
        {L"\u3000", L"\u3000"},
    };
    for (const Case& row : cases) {
        EXPECT_EQ(TrimWhitespace(row.input), row.expected);
    }
}

TEST(TrimWhitespace, KeepsEmbeddedZeroCharacters) {
    EXPECT_EQ(TrimWhitespace(std::wstring_view(L" \0a\0 ", 5)), std::wstring(L"\0a\0", 3));
}

TEST(SanitizeFileName, ReplacesEachOfTheNineCharacters) {
    EXPECT_EQ(SanitizeFileName(L"\\/:*?\"<>|", L"x"), L"_________");
    EXPECT_EQ(SanitizeFileName(L"a:b|c.exe", L"x"), L"a_b_c.exe");
    EXPECT_EQ(SanitizeFileName(L"My:Game?", L"x"), L"My_Game_");
}

TEST(SanitizeFileName, TrimsAndKeepsEverythingElse) {
    EXPECT_EQ(SanitizeFileName(L" \t A b.c'%&;\u00E4\u4E2D \r\n", L"x"), L"A b.c'%&;\u00E4\u4E2D");
}

TEST(SanitizeFileName, TakesTheFallbackWhenNothingIsLeft) {
    EXPECT_EQ(SanitizeFileName(L"", L"Karvoth"), L"Karvoth");
    EXPECT_EQ(SanitizeFileName(L" \t\r\n", L"Karvoth"), L"Karvoth");
    EXPECT_EQ(SanitizeFileName(L"", L"Kar:voth"), L"Kar_voth");
    EXPECT_EQ(SanitizeFileName(L"", L""), L"");
}

TEST(ReplaceFileNameCharacters, DoesNotTrim) {
    EXPECT_EQ(ReplaceFileNameCharacters(L" A/B: X? "), L" A_B_ X_ ");
}

TEST(LowerCase, LowersCharacterByCharacter) {
    EXPECT_EQ(LowerCase(L"RaR.7Z"), L"rar.7z");
    EXPECT_EQ(LowerCase(L""), L"");
    // The "C" locale knows no other letters.
    EXPECT_EQ(LowerCase(L"\u00C4\u0416"), L"\u00C4\u0416");
    EXPECT_EQ(LowerCase(std::wstring_view(L"A\0B", 3)), std::wstring(L"a\0b", 3));
}

TEST(Utf8ToWide, ConvertsEveryLengthOfSequence) {
    EXPECT_EQ(Utf8ToWide("a\xC3\xA4\xE4\xB8\xAD\xF0\x9F\x98\x80"), L"a\u00E4\u4E2D\U0001F600");
}

TEST(Utf8ToWide, GivesTheEmptyTextForNoBytes) {
    EXPECT_EQ(Utf8ToWide(""), L"");
}

TEST(Utf8ToWide, TurnsInvalidSequencesIntoReplacementCharacters) {
    EXPECT_EQ(Utf8ToWide("a\xFF"
                         "b"),
              L"a\uFFFDb");
    EXPECT_EQ(Utf8ToWide("\xC3"), L"\uFFFD");
    // A surrogate encoded as UTF-8 is invalid too; how many marks stand for it is the platform's.
    const std::wstring surrogate = Utf8ToWide("x\xED\xA0\x80y");
    EXPECT_EQ(surrogate.front(), L'x');
    EXPECT_EQ(surrogate.back(), L'y');
    EXPECT_EQ(surrogate.find_first_not_of(L"x\uFFFDy"), std::wstring::npos);
    EXPECT_NE(surrogate.find(L'\uFFFD'), std::wstring::npos);
}

int callToFail = 0;

int WINAPI ConvertOrFail(UINT codePage, DWORD flags, LPCCH bytes, int count, LPWSTR buffer,
                         int size) {
    EXPECT_EQ(codePage, 65001u);
    EXPECT_EQ(flags, 0u);
    EXPECT_NE(bytes, nullptr);
    EXPECT_EQ(size, buffer == nullptr ? 0 : count);
    const int call = buffer == nullptr ? 1 : 2;
    return call == callToFail ? 0 : count;
}

TEST(Utf8ToWide, GivesTheEmptyTextWhenTheConversionYieldsNothing) {
    const bench::ImportHook hook(L"kernel32.dll", "MultiByteToWideChar",
                                 reinterpret_cast<void*>(&ConvertOrFail));
    ASSERT_TRUE(hook.Installed());
    callToFail = 1;  // The measuring one.
    EXPECT_EQ(Utf8ToWide("abc"), L"");
    callToFail = 2;  // The second one.
    EXPECT_EQ(Utf8ToWide("abc"), L"");
}

TEST(Utf8ToWide, KeepsByteOrderMarkAndZeroBytes) {
    EXPECT_EQ(Utf8ToWide("\xEF\xBB\xBFk"), L"\uFEFFk");
    EXPECT_EQ(Utf8ToWide(std::string_view("a\0b", 3)), std::wstring(L"a\0b", 3));
}

}  // namespace
