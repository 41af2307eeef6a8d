#include "kit/zip/entry_name.h"

#include <gtest/gtest.h>

#include <string>

#include "common/text.h"
#include "common/windows_api.h"
#include "kit/utf8.h"

namespace {

TEST(NameFault, AcceptsWhatWindowsAccepts) {
    for (const std::string name : {"a",           "a/b.txt",
                                   "folder/",     "a/b/c/",
                                   ".hidden",     "...a",
                                   "a b",         "a.b.c",
                                   "COM",         "COM0.txt",
                                   "COM10",       "CONSOLE.txt",
                                   "NULL",        "LPT",
                                   "AUXILIARY/x", "CON1",
                                   "XCON",        "CONIN",
                                   "\xC3\xA4",    "COM\xC2\xB4",
                                   "a'b",         "a;b,c=d+e[f]{g}~`!@#$%^&()-_"}) {
        EXPECT_EQ(NameFault(name), "") << name;
    }
    EXPECT_EQ(NameFault(std::string(255, 'a') + "/" + std::string(255, 'b')), "");
    std::string umlauts;
    for (int i = 0; i < 255; ++i) {
        umlauts += "\xC3\xA4";
    }
    EXPECT_EQ(NameFault(umlauts), "");
}

TEST(NameFault, FindsNamesThatWindowsCannotHaveOrThatLeadOutside) {
    for (const std::string name : {"",
                                   "/",
                                   "/a",
                                   "//server/a",
                                   "C:/a",
                                   "c:a",
                                   "a:b",
                                   "a/b:stream",
                                   "..",
                                   ".",
                                   "../a",
                                   "a/../b",
                                   "a/./b",
                                   "a/..",
                                   "a/../",
                                   "a\\b",
                                   "\\a",
                                   "a//b",
                                   "a<b",
                                   "a>b",
                                   "a\"b",
                                   "a|b",
                                   "a?b",
                                   "a*b",
                                   "a\nb",
                                   "a\x1F",
                                   "a\x7F",
                                   "CON",
                                   "con",
                                   "Con.txt",
                                   "a/PRN/b",
                                   "AUX.",
                                   "nul.a.b",
                                   "COM1",
                                   "com9.log",
                                   "LPT1",
                                   "lpt9",
                                   "COM\xC2\xB9",
                                   "com\xC2\xB2.txt",
                                   "LPT\xC2\xB3",
                                   "CONIN$",
                                   "conout$.txt",
                                   "CON .txt",
                                   "a.",
                                   "a ",
                                   "a./b",
                                   "a /b",
                                   "folder./",
                                   "folder /"}) {
        EXPECT_NE(NameFault(name), "") << name;
    }
    EXPECT_NE(NameFault(std::string(256, 'a')), "");
    EXPECT_NE(NameFault("a/" + std::string(256, 'b') + "/c"), "");
    EXPECT_NE(NameFault(std::string("a\0b", 3)), "");
    std::string deep;
    while (deep.size() < 32'767) {
        deep += "a/";
    }
    EXPECT_EQ(NameFault(deep.substr(0, 32'767)), "");
    EXPECT_NE(NameFault(deep.substr(0, 32'767) + "/a"), "");
}

TEST(NameFault, IsRightForBytesThatAreNoText) {
    EXPECT_EQ(NameFault("\xFF\xFE/\x80"), "");
    EXPECT_NE(NameFault("\xFF/../\x80"), "");
}

TEST(Utf16Length, CountsPairsTwice) {
    EXPECT_EQ(Utf16Length("a\xC3\xA4\xE8\xAA\xAD\xF0\x9F\x98\x80"), 5U);
}

bool FoldsToSame(wchar_t left, wchar_t right) {
    return FoldCase(WideToUtf8({&left, 1})) == FoldCase(WideToUtf8({&right, 1}));
}

// Every character against those that some rule could take for its other case.
TEST(FoldCase, FollowsWindowsForEveryCharacter) {
    for (int code = 1; code < 0x10000; ++code) {
        const auto character = static_cast<wchar_t>(code);
        if ((IS_HIGH_SURROGATE(character) || IS_LOW_SURROGATE(character))) {
            continue;
        }
        wchar_t lower = character;
        wchar_t upper = character;
        wchar_t title = character;
        ::LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_LOWERCASE, &character, 1, &lower, 1, nullptr,
                        nullptr, 0);
        ::LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE | LCMAP_LINGUISTIC_CASING,
                        &character, 1, &upper, 1, nullptr, nullptr, 0);
        ::LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_LOWERCASE | LCMAP_LINGUISTIC_CASING,
                        &character, 1, &title, 1, nullptr, nullptr, 0);
        for (const wchar_t other : {lower, upper, title, static_cast<wchar_t>(code ^ 0x20),
                                    static_cast<wchar_t>(code ^ 1)}) {
            if (other != 0 && !(IS_HIGH_SURROGATE(other) || IS_LOW_SURROGATE(other))) {
                ASSERT_EQ(FoldsToSame(character, other),
                          IsSameIgnoringCase({&character, 1}, {&other, 1}))
                    << code << " and " << static_cast<int>(other);
            }
        }
    }
}

TEST(FoldCase, KeepsCharactersBeyondThePlaneOfPairs) {
    EXPECT_EQ(FoldCase("\xF0\x90\x90\xA8"), "\xF0\x90\x90\xA8");  // A letter with a capital form.
}

}  // namespace
