// The brand's pictures reach the screen. What is painted, in every detail and state, is tested in
// tests/ui.

#include <gtest/gtest.h>

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

}  // namespace
