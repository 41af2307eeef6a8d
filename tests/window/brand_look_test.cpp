// The brand's settings and pictures reach the screen. What is painted, in every detail and state,
// is tested in tests/ui.

#include <gmock/gmock.h>

#include <array>
#include <span>
#include <vector>

#include "resource_ids.h"
#include "window/picture_files.h"
#include "window/tool_test.h"

namespace {

using testing::ElementsAreArray;

constexpr uint32_t kDefaultAccent = 0xFFA640;

class BrandLook : public bench::ToolTest {};

TEST_F(BrandLook, HasItsAccentEverywhere) {
    constexpr uint32_t kAccent = 0x5A3CE1;
    Set("accentHex", L"#5A3CE1");
    Set("websiteUrl", L"http://127.0.0.1/");
    Set("showLogo", L"0");
    const bench::WindowShot shot = StartTool().Look();
    EXPECT_EQ(shot.At(0, 47), kAccent);
    EXPECT_EQ(shot.At(859, 47), kAccent);
    EXPECT_TRUE(shot.Holds({72, 214, 716, 40}, kAccent)) << "heading";
    EXPECT_TRUE(shot.Holds({404, 124, 50, 40}, kAccent)) << "monogram";
    EXPECT_EQ(shot.At(100, 404), kAccent) << "Repair Client's fill";
    EXPECT_EQ(shot.At(298, 410), kAccent) << "Reinstall Game's border";
    EXPECT_TRUE(shot.Holds({28, 520, 102, 22}, kAccent)) << "Website's text";
    EXPECT_TRUE(shot.Holds({826, 14, 20, 20}, kAccent)) << "the x";
    EXPECT_TRUE(shot.Holds({796, 14, 20, 20}, kAccent)) << "the -";
    EXPECT_FALSE(shot.Holds(kWindow, kDefaultAccent));
}

TEST_F(BrandLook, ShowsItsPictures) {
    constexpr uint32_t kLogoColor = 0xD040E0;
    Embed(ID_BACKGROUND_IMAGE, bench::PlainPngFile(860, 560, 0xF0A050));
    Embed(ID_LOGO_IMAGE, bench::PlainPngFile(340, 120, kLogoColor));
    const bench::WindowShot shot = StartTool().Look();
    for (const Point& open : {Point{4, 60}, Point{855, 60}, Point{30, 480}, Point{840, 545}}) {
        constexpr uint32_t kVeiled = 0x372819;
        EXPECT_LE(shot.Distance({open.x, open.y, 1, 1}, kVeiled), 1) << open.x << ", " << open.y;
    }
    // Scaled down to 170 x 60 pixels, centered.
    EXPECT_EQ(shot.At(430, 150), kLogoColor);
    EXPECT_EQ(shot.At(349, 125), kLogoColor);
    EXPECT_EQ(shot.At(510, 176), kLogoColor);
    EXPECT_EQ(shot.At(430, 117), 0x111215U) << "above the logo";
    EXPECT_EQ(shot.At(430, 184), 0x111215U) << "below the logo";
}

TEST_F(BrandLook, IsTheDefaultWithoutEmbeddedData) {
    UseBareTool();
    const bench::ToolWindow& window = StartTool();
    const bench::WindowShot shot = window.Look();
    EXPECT_EQ(shot.At(430, 47), kDefaultAccent);
    EXPECT_EQ(shot.At(4, 60), 0x0A0B0CU) << "plain background";
    EXPECT_EQ(shot.At(429, 96), 0x121316U) << "the logo's placeholder";
    EXPECT_TRUE(shot.Holds({404, 124, 50, 40}, kDefaultAccent)) << "its monogram";
    std::array<wchar_t, 64> title{};
    ::SendMessageW(window.Handle(), WM_GETTEXT, title.size(),
                   reinterpret_cast<LPARAM>(title.data()));
    EXPECT_STREQ(title.data(), L"KrvBrennickInstaller.exe");
}

struct ShownButton {
    ButtonId id;
    const wchar_t* text;
    Box place;
};

constexpr ShownButton kForOneServer[] = {
    {ButtonId::RepairClient, L"Repair Client", {92, 396, 188, 44}},
    {ButtonId::ReinstallGame, L"Reinstall Game", {298, 396, 188, 44}},
    {ButtonId::CreateShortcut, L"Create Game Shortcut", {504, 396, 180, 44}},
    {ButtonId::RunPatcher, L"Run Patcher", {342, 456, 176, 42}},
    {ButtonId::Website, L"Website", {24, 516, 110, 30}},
    {ButtonId::Discord, L"Discord", {142, 516, 110, 30}},
    {ButtonId::Minimize, L"-", {792, 10, 28, 28}},
    {ButtonId::CloseMark, L"x", {822, 10, 28, 28}},
};

constexpr ShownButton kForSeveralServers[] = {
    {ButtonId::RepairClient, L"Repair Client", {342, 440, 176, 42}},
    {ButtonId::PrimaryServer, L"Repair game on Asia Download Server", {112, 396, 300, 34}},
    {ButtonId::SecondServer, L"Repair game on EU Download Server", {448, 396, 300, 34}},
    {ButtonId::CreateShortcut, L"Create Game Shortcut", {178, 486, 220, 28}},
    {ButtonId::RunPatcher, L"Run Patcher", {462, 486, 176, 28}},
    {ButtonId::Website, L"Website", {24, 516, 110, 30}},
    {ButtonId::Discord, L"Discord", {142, 516, 110, 30}},
    {ButtonId::Minimize, L"-", {792, 10, 28, 28}},
    {ButtonId::CloseMark, L"x", {822, 10, 28, 28}},
};

void ExpectButtons(const bench::ToolWindow& window, std::span<const ShownButton> expected) {
    std::vector<std::wstring> texts;
    for (const auto& [id, text, place] : expected) {
        texts.emplace_back(text);
        const Box seen = window.See(id).place;
        EXPECT_THAT((std::array{seen.x, seen.y, seen.width, seen.height}),
                    testing::ElementsAre(place.x, place.y, place.width, place.height))
            << static_cast<int>(id);
    }
    EXPECT_THAT(window.ShownButtons(), ElementsAreArray(texts));
}

TEST_F(BrandLook, HasTheButtonsThatItsSettingsAskFor) {
    OfferLinksAndShortcut();
    ExpectButtons(StartTool(), kForOneServer);
    OfferSeveralServers(PackageUrl(kZip));
    ExpectButtons(StartTool(), kForSeveralServers);
}

TEST_F(BrandLook, ShowsWhetherAButtonIsPressedOrDisabled) {
    const bench::ToolWindow& window = StartTool();
    const HWND button = window.Button(ButtonId::RepairClient);
    const auto expectFill = [&](uint32_t color) {
        window.AwaitPixel(100, 404, color);
    };
    expectFill(kDefaultAccent);
    ::PostMessageW(button, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(5, 5));
    expectFill(0xD28228);
    // Released beside the button, so that it is not a click.
    ::PostMessageW(button, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(-50, -50));
    ::PostMessageW(button, WM_LBUTTONUP, 0, MAKELPARAM(-50, -50));
    expectFill(kDefaultAccent);
    ::EnableWindow(button, FALSE);
    expectFill(0x504637);
    ::EnableWindow(button, TRUE);
    expectFill(kDefaultAccent);
}

// By commands: a click also moves the focus, which makes the system repaint both buttons.
TEST_F(BrandLook, MarksTheChosenServer) {
    OfferSeveralServers(PackageUrl(kZip));
    const bench::ToolWindow& window = StartTool();
    const auto expectChosen = [&](bool primary) {
        constexpr uint32_t kOther = 0x5C5766;
        window.AwaitPixel(112, 413, primary ? kDefaultAccent : kOther);
        window.AwaitPixel(448, 413, primary ? kOther : kDefaultAccent);
    };
    expectChosen(true);
    window.PostCommand(ButtonId::SecondServer);
    expectChosen(false);
    window.PostCommand(ButtonId::PrimaryServer);
    expectChosen(true);
}

}  // namespace
