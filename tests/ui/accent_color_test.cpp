#include "ui/accent_color.h"

#include <gtest/gtest.h>

namespace {

constexpr Argb kOrange = 0xFFFFA640;

TEST(ParseAccentColor, ReadsSixHexDigitsOrFallsBackToTheDefault) {
    const std::pair<const wchar_t*, Argb> rows[] = {
        // Red, green, blue; every digit in both letter cases.
        {L"010203", 0xFF010203},
        {L"000000", 0xFF000000},
        {L"FFFFFF", 0xFFFFFFFF},
        {L"456789", 0xFF456789},
        {L"ABCDEF", 0xFFABCDEF},
        {L"abcdef", 0xFFABCDEF},
        // A hash in front, blanks around.
        {L"#112233", 0xFF112233},
        {L" \t\r\n112233 \t\r\n", 0xFF112233},
        {L"  #112233  ", 0xFF112233},
        // Any other character counts as 0.
        {L"GGA640", 0xFF00A640},
        {L"gg1122", 0xFF001122},
        {L"/:1122", 0xFF001122},
        {L"@`1122", 0xFF001122},
        {L"1 1122", 0xFF101122},
        {L"#11223", 0xFF011223},
        {L"\u00e91\u06601\u07771", 0xFF010101},
        // Any other length gives the default.
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
    };
    for (const auto& [accentHex, color] : rows) {
        EXPECT_EQ(ParseAccentColor(accentHex), color)
            << testing::PrintToString(std::wstring(accentHex));
    }
}

}  // namespace
