#include <gtest/gtest.h>

#include "bench_parts/waiting.h"
#include "resource_ids.h"
#include "window/held_job.h"
#include "window/picture_files.h"

// Pictures of the default brand in each state, for people to look at; see KeepScreenshot.

namespace {

class Screenshots : public HeldJob {
protected:
    Screenshots() {
        Unset("repairToolName");
        Set("websiteUrl", L"http://127.0.0.1/");
        Set("discordUrl", L"http://127.0.0.1/");
        Set("offerDesktopShortcut", L"1");
    }
    void Keep(const wchar_t* name) {
        const std::filesystem::path file = KeepScreenshot(Window().Look(), name);
        EXPECT_TRUE(std::filesystem::exists(file));
    }
};

TEST_F(Screenshots, AreKeptOfTheReadyWindow) {
    StartTool();
    Keep(L"ready");
}

TEST_F(Screenshots, AreKeptOfSeveralServers) {
    OfferSeveralServers(PackageUrl(kZip));
    StartTool();
    Keep(L"servers");
}

TEST_F(Screenshots, AreKeptOfADownload) {
    Set("archiveUrl", server_.Url(L"stall_late/3178000/1048576"));
    StartRepair();
    // The bar's last filled pixel.
    EXPECT_TRUE(Window().AwaitPixel(321, 340, 0xFFA640));
    Keep(L"download");
    server_.ReleaseWaits();
}

TEST_F(Screenshots, AreKeptOfSeveralServersDuringAJob) {
    Set("archiveUrl", server_.Url(L"stall/2000/1000"));
    OfferSeveralServers(PackageUrl(kZip));
    StartRepair();
    Keep(L"servers_job");
    server_.ReleaseWaits();
}

TEST_F(Screenshots, AreKeptOfTheExtraction) {
    StartTool();
    HoldRepair();
    EXPECT_TRUE(Window().AwaitPixel(700, 340, 0xFFA640));
    Keep(L"extraction");
}

TEST_F(Screenshots, AreKeptOfSuccess) {
    HoldNoMore();
    StartRepair();
    Window().AwaitJobEnd();
    Keep(L"success");
}

TEST_F(Screenshots, AreKeptOfAFailure) {
    StartTool();
    HoldRepair();
    LetItFail();
    ASSERT_TRUE(bench::Await([this] { return Window().CanPress(ButtonId::Retry); }));
    Keep(L"failure");
}

TEST_F(Screenshots, AreKeptOfAPressedButton) {
    StartTool();
    const HWND button = Window().Button(ButtonId::RepairClient);
    ::PostMessageW(button, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(5, 5));
    EXPECT_TRUE(Window().AwaitPixel(100, 404, 0xD28228));
    Keep(L"pressed");
}

TEST_F(Screenshots, AreKeptWithoutPictures) {
    Embed(ID_BACKGROUND_IMAGE, "no picture");
    Embed(ID_LOGO_IMAGE, "no picture");
    StartTool();
    Keep(L"placeholder");
}

}  // namespace
