#include <gtest/gtest.h>

#include <ostream>

#include "window/tool_on_client.h"

namespace {

constexpr uint32_t kDefaultColour = 0xFFA640;

struct AccentCase {
    const char* name;
    std::wstring setting;
    uint32_t colour;
};

std::ostream& operator<<(std::ostream& out, const AccentCase& accent) {
    return out << accent.name;
}

class Accent : public ToolOnClient {};
class AccentSettings : public Accent, public testing::WithParamInterface<AccentCase> {};

TEST_P(AccentSettings, AreReadAsAColour) {
    Set("accentHex", GetParam().setting);
    EXPECT_EQ(StartTool().Look().At(430, 47), GetParam().colour);
}

INSTANTIATE_TEST_SUITE_P(Settings, AccentSettings,
                         testing::Values(AccentCase{"Plain", L"FFA640", 0xFFA640},
                                         AccentCase{"Another", L"12AB9F", 0x12AB9F},
                                         AccentCase{"WithSign", L"#12AB9F", 0x12AB9F},
                                         AccentCase{"LowerCase", L"12ab9f", 0x12AB9F},
                                         AccentCase{"BlanksAround", L" \t#12aB9f  ", 0x12AB9F},
                                         AccentCase{"NoDigits", L"GGA640", 0x00A640},
                                         AccentCase{"OneNoDigit", L"1G345z", 0x103450},
                                         AccentCase{"FiveDigits", L"12AB9", kDefaultColour},
                                         AccentCase{"SevenDigits", L"12AB9F0", kDefaultColour},
                                         AccentCase{"SignAndFive", L"#12AB9", 0x012AB9},
                                         AccentCase{"SignAndSeven", L"#12AB9F0", kDefaultColour},
                                         AccentCase{"SignAlone", L"#", kDefaultColour},
                                         AccentCase{"Empty", L"", kDefaultColour},
                                         AccentCase{"Blanks", L"  ", kDefaultColour}),
                         [](const auto& accent) { return accent.param.name; });

TEST_F(Accent, IsTheDefaultWithoutASetting) {
    Unset("accentHex");
    EXPECT_EQ(StartTool().Look().At(430, 47), kDefaultColour);
}

TEST_F(Accent, IsTheDefaultWithoutAConfiguration) {
    UseBareTool();
    EXPECT_EQ(StartTool().Look().At(430, 47), kDefaultColour);
}

TEST_F(Accent, ColoursEverythingThatIsTheBrands) {
    constexpr uint32_t kColour = 0x5A3CE1;
    Set("accentHex", L"#5A3CE1");
    Set("websiteUrl", L"http://127.0.0.1/");
    Set("showLogo", L"0");
    const WindowShot shot = StartTool().Look();
    EXPECT_EQ(shot.At(0, 47), kColour);
    EXPECT_EQ(shot.At(859, 47), kColour);
    EXPECT_TRUE(shot.Holds({72, 214, 716, 40}, kColour)) << "heading";
    EXPECT_TRUE(shot.Holds({404, 124, 50, 40}, kColour)) << "monogram";
    EXPECT_EQ(shot.At(100, 404), kColour) << "Repair Client's fill";
    EXPECT_EQ(shot.At(298, 410), kColour) << "Reinstall Game's border";
    EXPECT_TRUE(shot.Holds({28, 520, 102, 22}, kColour)) << "Website's text";
    EXPECT_TRUE(shot.Holds({826, 14, 20, 20}, kColour)) << "the x";
    EXPECT_TRUE(shot.Holds({796, 14, 20, 20}, kColour)) << "the -";
    EXPECT_FALSE(shot.Holds({0, 0, 860, 560}, kDefaultColour)) << "what is left of the default";
}

}  // namespace
