// The brand's pictures reach the screen. What is painted, in every detail and state, is tested in
// tests/ui.

#include <gtest/gtest.h>

#include <array>

#include "resource_ids.h"
#include "window/tool_test.h"

namespace {

using namespace bench;

class BrandLook : public ToolTest {};

TEST_F(BrandLook, ShowsItsPictures) {
    constexpr Argb kLogoColor = 0xFFD040E0;
    const GdiplusSession gdiplus;
    Embed(ID_BACKGROUND_IMAGE, EncodedPicture(Canvas(860, 560, 0xFFF0A050).Bitmap(), kPngEncoder));
    Embed(ID_LOGO_IMAGE, EncodedPicture(Canvas(340, 120, kLogoColor).Bitmap(), kPngEncoder));
    const Pixels shot = StartTool().Look();
    ExpectColor(shot, 0xFF372819, {{4, 60}, {840, 545}}, 1);  // Veiled.
    // Scaled down to 170 x 60 pixels, centered.
    ExpectColor(shot, kLogoColor, {{430, 150}, {510, 176}});
    ExpectColor(shot, 0xFF111215, {{430, 117}});
}

TEST_F(BrandLook, IsTheDefaultWithoutEmbeddedData) {
    UseBareTool();
    const ToolWindow& window = StartTool();
    const Pixels shot = window.Look();
    ExpectColor(shot, kDefaultAccent, {{430, 47}});
    ExpectColor(shot, 0xFF0A0B0C, {{4, 60}});    // A plain background.
    ExpectColor(shot, 0xFF121316, {{429, 96}});  // The logo's placeholder.
    std::array<wchar_t, 64> title{};
    ::SendMessageW(window.Handle(), WM_GETTEXT, title.size(),
                   reinterpret_cast<LPARAM>(title.data()));
    EXPECT_STREQ(title.data(), L"KrvBrennickInstaller.exe");
}

}  // namespace
