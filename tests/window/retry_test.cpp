// A failed job and the way back from it.

#include <gmock/gmock.h>

#include "bench_parts/message_boxes.h"
#include "bench_parts/waiting.h"
#include "window/held_job.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kFirstName[] = "/archive/zip_lone_folder.zip";
constexpr wchar_t kWrongHash[] =
    L"0000000000000000000000000000000000000000000000000000000000000000";

class Retry : public ToolTest {
protected:
    Retry() {
        Set("offerDesktopShortcut", L"1");
        Set("websiteUrl", L"http://127.0.0.1:1/");
    }

    void AwaitFailure() {
        EXPECT_TRUE(bench::Await([this] { return Window().CanPress(ButtonId::Retry); }));
        EXPECT_TRUE(Window().AwaitIdle());
    }

    void FailARepair() {
        Window().Press(ButtonId::RepairClient);
        AwaitFailure();
    }

    void PressRetry() {
        Window().Press(ButtonId::Retry);
        EXPECT_TRUE(bench::Await([this] { return Window().CanPress(ButtonId::RepairClient); }));
        EXPECT_TRUE(Window().AwaitIdle());
    }

    void RepairWell() {
        Window().Press(ButtonId::RepairClient);
        Window().AwaitJobStart();
        EXPECT_TRUE(bench::Await([this] { return Window().CanPress(ButtonId::RepairClient); }));
        EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
    }

    // Everything that the window shows, to the pixel.
    void ExpectLook(const WindowShot& expected) {
        EXPECT_TRUE(bench::Await([&] { return Window().Look() == expected; }));
    }
};

TEST_F(Retry, IsOfferedWithCloseAfterAFailure) {
    Set("archiveUrl", server_.Url(L"status/404"));
    ToolWindow& window = StartTool();
    FailARepair();
    EXPECT_THAT(window.ShownButtons(), ElementsAre(L"Website", L"Retry", L"Close", L"-", L"x"));
}

TEST_F(Retry, IsOfferedWithSeveralServers) {
    OfferSeveralServers(server_.Url(L"status/500"));
    Set("archiveUrl", server_.Url(L"status/404"));
    ToolWindow& window = StartTool();
    FailARepair();
    EXPECT_THAT(window.ShownButtons(), ElementsAre(L"Website", L"Retry", L"Close", L"-", L"x"));
}

TEST_F(Retry, IsOfferedAfterAFailedReinstall) {
    Set("archiveSha256", kWrongHash);
    ToolWindow& window = StartTool();
    window.Press(ButtonId::ReinstallGame);
    bench::Answer(bench::AwaitBox(L"Confirm Reinstall"), IDYES);
    AwaitFailure();
    EXPECT_THAT(window.ShownButtons(), ElementsAre(L"Website", L"Retry", L"Close", L"-", L"x"));
}

TEST_F(Retry, IsNotOfferedBeforeAFailure) {
    ToolWindow& window = StartTool();
    EXPECT_FALSE(window.See(ButtonId::Retry).visible);
    EXPECT_FALSE(window.See(ButtonId::Close).visible);
    RepairWell();
    EXPECT_FALSE(window.See(ButtonId::Retry).visible);
    EXPECT_FALSE(window.See(ButtonId::Close).visible);
}

TEST_F(Retry, BringsTheReadyWindowBack) {
    Set("archiveUrl", server_.Url(L"status/404"));
    ToolWindow& window = StartTool();
    const auto readyButtons = window.ShownButtons();
    const WindowShot ready = window.Look();
    FailARepair();
    EXPECT_FALSE(window.Look().Equals(ready, kStatus));
    PressRetry();
    EXPECT_EQ(window.ShownButtons(), readyButtons);
    ExpectLook(ready);
}

TEST_F(Retry, BringsTheReadyWindowBackWithSeveralServers) {
    OfferSeveralServers(PackageUrl(kZip));
    Set("archiveUrl", server_.Url(L"status/404"));
    ToolWindow& window = StartTool();
    const auto readyButtons = window.ShownButtons();
    const WindowShot ready = window.Look();
    FailARepair();
    PressRetry();
    EXPECT_EQ(window.ShownButtons(), readyButtons);
    ExpectLook(ready);
}

TEST_F(Retry, StartsNothingByItself) {
    Set("archiveUrl", server_.Url(L"status/404"));
    ToolWindow& window = StartTool();
    FailARepair();
    PressRetry();
    window.PostTick();
    EXPECT_TRUE(window.AwaitIdle());
    EXPECT_TRUE(window.CanPress(ButtonId::RepairClient));
    EXPECT_EQ(RequestedNames().size(), 1U);
}

// A client file in use is what players meet; the second attempt finds it free.
TEST_F(Retry, LeadsToAFreshDownloadThatSucceeds) {
    StartTool();
    const std::filesystem::path game = Client() / L"client.exe";
    bench::WriteFile(game, "an older version");
    bench::OpenElsewhere inUse(game, FILE_SHARE_READ);
    FailARepair();
    EXPECT_THAT(TempFolder(), IsEmpty()) << "the package of the failed job is gone";
    inUse.Close();
    PressRetry();
    EXPECT_THAT(TempFolder(), IsEmpty());
    RepairWell();
    EXPECT_THAT(RequestedNames(), ElementsAre(kFirstName, kFirstName));
    EXPECT_THAT(TempFolder(), IsEmpty());
}

TEST_F(Retry, FindsThePackageWithTheWrongHashGone) {
    Set("archiveSha256", kWrongHash);
    StartTool();
    for (size_t attempt = 1; attempt <= 3; ++attempt) {
        FailARepair();
        EXPECT_THAT(TempFolder(), IsEmpty());
        EXPECT_EQ(RequestedNames().size(), attempt) << "each attempt downloads afresh";
        PressRetry();
    }
    EXPECT_THAT(ClientContents(), IsEmpty());
}

TEST_F(Retry, AllowsAReinstall) {
    StartTool();
    const std::filesystem::path game = Client() / L"client.exe";
    bench::WriteFile(game, "an older version");
    bench::OpenElsewhere inUse(game, FILE_SHARE_READ);
    FailARepair();
    inUse.Close();
    PressRetry();
    bench::WriteFile(Client() / L"old.txt", "from an older client");
    Window().Press(ButtonId::ReinstallGame);
    bench::Answer(bench::AwaitBox(L"Confirm Reinstall"), IDYES);
    bench::Answer(bench::AwaitBox(L"Create Game Shortcut"), IDNO);
    EXPECT_TRUE(bench::Await([this] { return Window().CanPress(ButtonId::RepairClient); }));
    EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
}

TEST_F(Retry, KeepsTheChosenServer) {
    OfferSeveralServers(server_.Url(L"status/404"));
    ToolWindow& window = StartTool();
    window.Press(ButtonId::SecondServer);
    EXPECT_TRUE(window.AwaitIdle());
    const WindowShot ready = window.Look();
    FailARepair();
    PressRetry();
    ExpectLook(ready);
    FailARepair();
    PressRetry();
    window.Press(ButtonId::PrimaryServer);
    RepairWell();
    EXPECT_THAT(RequestedNames(), ElementsAre("/status/404", "/status/404", kFirstName));
}

// Nobody can press "Repair Client" while "Retry" is shown, but the command can be sent.
TEST_F(Retry, IsNotNeededForWhoeverSendsTheCommand) {
    OfferSeveralServers(PackageUrl(kZip));
    Set("archiveUrl", server_.Url(L"status/404"));
    ToolWindow& window = StartTool();
    const auto readyButtons = window.ShownButtons();
    FailARepair();
    window.PostCommand(ButtonId::SecondServer);
    window.PostCommand(ButtonId::RepairClient);
    EXPECT_TRUE(bench::Await([&] { return window.CanPress(ButtonId::RepairClient); }));
    EXPECT_TRUE(window.AwaitIdle());
    EXPECT_EQ(window.ShownButtons(), readyButtons);
    EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
}

TEST_F(Retry, DoesNothingMoreToAReadyWindow) {
    ToolWindow& window = StartTool();
    const auto readyButtons = window.ShownButtons();
    const WindowShot ready = window.Look();
    window.PostCommand(ButtonId::Retry);
    EXPECT_TRUE(window.AwaitIdle());
    EXPECT_EQ(window.ShownButtons(), readyButtons);
    ExpectLook(ready);
    RepairWell();
}

TEST_F(Retry, ClearsASuccessToo) {
    ToolWindow& window = StartTool();
    const WindowShot ready = window.Look();
    RepairWell();
    EXPECT_FALSE(window.Look().Equals(ready, kStatus));
    window.PostCommand(ButtonId::Retry);
    ExpectLook(ready);
}

}  // namespace
