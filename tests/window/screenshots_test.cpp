// Pictures of the default brand in each state, for people to look at; see KeepScreenshot.

#include <gtest/gtest.h>

#include "resource_ids.h"
#include "window/picture_files.h"
#include "window/tool_test.h"

namespace {

class Screenshots : public bench::ToolTest {
protected:
    Screenshots() {
        Unset("repairToolName");
        OfferLinksAndShortcut();
        UseBrandPictures();
    }
    void Keep(const wchar_t* name) {
        const std::filesystem::path file = bench::KeepScreenshot(Window().Look(), name);
        EXPECT_TRUE(std::filesystem::exists(file));
    }
};

TEST_F(Screenshots, AreKeptOfASuccessfulRepair) {
    const bench::ToolWindow& window = StartTool();
    Keep(L"ready");
    const HWND button = window.Button(ButtonId::RepairClient);
    ::PostMessageW(button, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(5, 5));
    window.AwaitPixel(100, 404, 0xD28228);
    Keep(L"pressed");
    ::PostMessageW(button, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(-50, -50));
    ::PostMessageW(button, WM_LBUTTONUP, 0, MAKELPARAM(-50, -50));
    HoldRepair();
    window.AwaitPixel(700, 340, 0xFFA640);
    Keep(L"extraction");
    LetItSucceed();
    window.AwaitJobEnd();
    Keep(L"success");
}

TEST_F(Screenshots, AreKeptOfADownloadThatFails) {
    Set("archiveUrl", server_.Url(L"stall_late/3178000/1048576"));
    const bench::ToolWindow& window = StartTool();
    StartRepair();
    // The bar's last filled pixel.
    window.AwaitPixel(321, 340, 0xFFA640);
    Keep(L"download");
    server_.ReleaseWaits();
    window.AwaitCanPress(ButtonId::Retry);
    Keep(L"failure");
}

TEST_F(Screenshots, AreKeptOfSeveralServers) {
    OfferSeveralServers(PackageUrl(kZip));
    StartTool();
    Keep(L"servers");
    HoldRepair();
    Keep(L"servers_job");
}

TEST_F(Screenshots, AreKeptWithoutPictures) {
    Embed(ID_BACKGROUND_IMAGE, "no picture");
    Embed(ID_LOGO_IMAGE, "no picture");
    StartTool();
    Keep(L"placeholder");
}

}  // namespace
