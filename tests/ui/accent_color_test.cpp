#include "ui/accent_color.h"

#include <gtest/gtest.h>

namespace {

constexpr Argb kOrange = 0xFFFFA640;

struct Row {
    const wchar_t* accentHex;
    Argb color;
};

void ExpectColors(std::initializer_list<Row> rows) {
    for (const auto& [accentHex, color] : rows) {
        EXPECT_EQ(ParseAccentColor(accentHex), color)
            << testing::PrintToString(std::wstring(accentHex));
    }
}

TEST(ParseAccentColor, ReadsRedThenGreenThenBlueAsOpaque) {
    ExpectColors({
        {L"010203", 0xFF010203},
        {L"000000", 0xFF000000},
        {L"FFFFFF", 0xFFFFFFFF},
        {L"9a8B7c", 0xFF9A8B7C},
    });
}

TEST(ParseAccentColor, TakesEveryDigitInBothLetterCases) {
    ExpectColors({
        {L"012345", 0xFF012345},
        {L"6789AB", 0xFF6789AB},
        {L"CDEFab", 0xFFCDEFAB},
        {L"cdef00", 0xFFCDEF00},
    });
}

TEST(ParseAccentColor, TakesAHashInFrontAndBlanksAround) {
    ExpectColors({
        {L"#112233", 0xFF112233},
        {L" \t\r\n112233 \t\r\n", 0xFF112233},
        {L"  #112233  ", 0xFF112233},
    });
}

TEST(ParseAccentColor, ReadsACharacterThatIsNoDigitAsZero) {
    ExpectColors({
        {L"GGA640", 0xFF00A640},
        {L"gg1122", 0xFF001122},
        {L"/:1122", 0xFF001122},
        {L"@`1122", 0xFF001122},
        {L"1 1122", 0xFF101122},
        {L"#11223", 0xFF011223},
        {L"\u00e91\u06601\u07771", 0xFF010101},
    });
}

TEST(ParseAccentColor, GivesTheDefaultForAnotherLength) {
    ExpectColors({
        {L"", kOrange},
        {L"#", kOrange},
        {L"   ", kOrange},
        {L"11223", kOrange},
        {L"1122334", kOrange},
        {L"x112233", kOrange},
        {L"##112233", kOrange},
        {L"#1122334", kOrange},
        {L"FF112233", kOrange},
        {L"# 112233", kOrange},
        {L"\u00a0112233\u00a0", kOrange},
    });
}

}  // namespace
