// Pictures of the default brand in each state, for people to look at; see Keep. Also that
// the bar and the buttons follow real jobs.

#include <gtest/gtest.h>

#include "bench_parts/running_copy.h"
#include "resource_ids.h"
#include "window/tool_test.h"

namespace {

class Screenshots : public bench::ToolTest {
protected:
    Screenshots() {
        Set("repairToolName", L"KrvBrennickInstaller.exe");
        OfferLinksAndShortcut();
        UseBrandPictures();
    }
    // Saves what the window shows as NAME.png in the build folder's "screenshots"; this program is
    // in its "bin".
    void Keep(const std::wstring& name) {
        bench::Pixels shot = Window().Look();
        const OwnedBitmap bitmap = MakeBitmap(shot.width, shot.height, shot.values);
        const auto folder = bench::FolderOfThisProgram().parent_path() / L"screenshots";
        bench::WriteFile(folder / (name + L".png"),
                         bench::EncodedPicture(bitmap.get(), bench::kPngEncoder));
    }

private:
    GdiplusSession gdiplus_;
};

TEST_F(Screenshots, AreKeptOfASuccessfulRepair) {
    const bench::ToolWindow& window = StartTool();
    Keep(L"ready");
    const HWND button = window.Button(ButtonId::RepairClient);
    ::PostMessageW(button, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(5, 5));
    window.AwaitPixel(100, 404, 0xFFD28228);
    Keep(L"pressed");
    ::PostMessageW(button, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(-50, -50));
    ::PostMessageW(button, WM_LBUTTONUP, 0, MAKELPARAM(-50, -50));
    HoldRepair();
    window.AwaitPixel(700, 340, 0xFFFFA640);
    Keep(L"extraction");
    LetItSucceed();
    window.AwaitJobEnd();
    Keep(L"success");
}

TEST_F(Screenshots, AreKeptOfADownloadThatFails) {
    Set("archiveUrl", server_.Url(L"stall_late/3178000/1048576"));
    const bench::ToolWindow& window = StartTool();
    StartRepair();
    // The bar's last filled pixel, and the next: 1,048,576 of 3,178,000 bytes are 207.87 pixels.
    window.AwaitPixel(321, 340, 0xFFFFA640);
    window.AwaitPixel(322, 340, 0xFF0B0C0F);
    Keep(L"download");
    server_.ReleaseWaits();
    window.AwaitCanPress(ButtonId::Retry);
    window.AwaitPixel(116, 340, 0xFF0B0C0F);  // An empty bar.
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
