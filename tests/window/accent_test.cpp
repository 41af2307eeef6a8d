#include <gtest/gtest.h>

#include <ostream>

#include "window/tool_test.h"

namespace {

constexpr uint32_t kDefaultColor = 0xFFA640;

struct AccentCase {
    const char* name;
    std::wstring setting;
    uint32_t color;
};

std::ostream& operator<<(std::ostream& out, const AccentCase& accent) {
    return out << accent.name;
}

class Accent : public ToolTest {};
class AccentSettings : public Accent, public testing::WithParamInterface<AccentCase> {};

TEST_P(AccentSettings, AreReadAsAColor) {
    Set("accentHex", GetParam().setting);
    EXPECT_EQ(StartTool().Look().At(430, 47), GetParam().color);
}

INSTANTIATE_TEST_SUITE_P(Settings, AccentSettings,
                         testing::Values(AccentCase{"Plain", L"FFA640", 0xFFA640},
                                         AccentCase{"Another", L"12AB9F", 0x12AB9F},
                                         AccentCase{"WithSign", L"#12AB9F", 0x12AB9F},
                                         AccentCase{"LowerCase", L"12ab9f", 0x12AB9F},
                                         AccentCase{"BlanksAround", L" \t#12aB9f  ", 0x12AB9F},
                                         AccentCase{"NoDigits", L"GGA640", 0x00A640},
                                         AccentCase{"OneNoDigit", L"1G345z", 0x103450},
                                         AccentCase{"FiveDigits", L"12AB9", kDefaultColor},
                                         AccentCase{"SevenDigits", L"12AB9F0", kDefaultColor},
                                         AccentCase{"SignAndFive", L"#12AB9", 0x012AB9},
                                         AccentCase{"SignAndSeven", L"#12AB9F0", kDefaultColor},
                                         AccentCase{"SignAlone", L"#", kDefaultColor},
                                         AccentCase{"Empty", L"", kDefaultColor},
                                         AccentCase{"Blanks", L"  ", kDefaultColor}),
                         [](const auto& accent) { return accent.param.name; });

TEST_F(Accent, IsTheDefaultWithoutASetting) {
    Unset("accentHex");
    EXPECT_EQ(StartTool().Look().At(430, 47), kDefaultColor);
}

TEST_F(Accent, IsTheDefaultWithoutAConfiguration) {
    UseBareTool();
    EXPECT_EQ(StartTool().Look().At(430, 47), kDefaultColor);
}

TEST_F(Accent, ColorsEverythingThatIsTheBrands) {
    constexpr uint32_t kColor = 0x5A3CE1;
    Set("accentHex", L"#5A3CE1");
    Set("websiteUrl", L"http://127.0.0.1/");
    Set("showLogo", L"0");
    const WindowShot shot = StartTool().Look();
    EXPECT_EQ(shot.At(0, 47), kColor);
    EXPECT_EQ(shot.At(859, 47), kColor);
    EXPECT_TRUE(shot.Holds({72, 214, 716, 40}, kColor)) << "heading";
    EXPECT_TRUE(shot.Holds({404, 124, 50, 40}, kColor)) << "monogram";
    EXPECT_EQ(shot.At(100, 404), kColor) << "Repair Client's fill";
    EXPECT_EQ(shot.At(298, 410), kColor) << "Reinstall Game's border";
    EXPECT_TRUE(shot.Holds({28, 520, 102, 22}, kColor)) << "Website's text";
    EXPECT_TRUE(shot.Holds({826, 14, 20, 20}, kColor)) << "the x";
    EXPECT_TRUE(shot.Holds({796, 14, 20, 20}, kColor)) << "the -";
    EXPECT_FALSE(shot.Holds({0, 0, 860, 560}, kDefaultColor)) << "what is left of the default";
}

}  // namespace
