#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <ostream>

#include "bench_parts/waiting.h"
#include "window/tool_test.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A button as a player should find it, its two places for one download server and for several.
struct WantedButton {
    int id;
    const wchar_t* text;
    Box alone;
    Box withServers;
};

constexpr Box kNotPlaced{0, 0, 10, 10};

// In the order of their creation.
constexpr WantedButton kWanted[] = {
    {4001, L"Repair Client", {92, 396, 188, 44}, {342, 440, 176, 42}},
    {4011, L"Repair game on Asia Download Server", kNotPlaced, {112, 396, 300, 34}},
    {4012, L"Repair game on EU Download Server", kNotPlaced, {448, 396, 300, 34}},
    {4002, L"Reinstall Game", {298, 396, 188, 44}, kNotPlaced},
    {4003, L"Create Game Shortcut", {504, 396, 180, 44}, {178, 486, 220, 28}},
    {4004, L"Run Patcher", {342, 456, 176, 42}, {462, 486, 176, 28}},
    {4005, L"Website", {24, 516, 110, 30}, {24, 516, 110, 30}},
    {4006, L"Discord", {142, 516, 110, 30}, {142, 516, 110, 30}},
    {4009, L"Retry", {244, 396, 176, 44}, {244, 396, 176, 44}},
    {4010, L"Close", {440, 396, 176, 44}, {440, 396, 176, 44}},
    {4007, L"-", {792, 10, 28, 28}, {792, 10, 28, 28}},
    {4008, L"x", {822, 10, 28, 28}, {822, 10, 28, 28}},
};

std::vector<int> IdsFrontToBack(HWND window) {
    std::vector<int> ids;
    for (HWND child = ::GetWindow(window, GW_CHILD); child != nullptr;
         child = ::GetWindow(child, GW_HWNDNEXT)) {
        ids.push_back(::GetDlgCtrlID(child));
    }
    return ids;
}

// The buttons that a player sees, in the order of kWanted.
std::vector<int> Shown(const ToolWindow& window) {
    std::vector<int> ids;
    for (const WantedButton& wanted : kWanted) {
        if (window.See(static_cast<ButtonId>(wanted.id)).visible) {
            ids.push_back(wanted.id);
        }
    }
    return ids;
}

// Also among those that nobody sees.
std::vector<int> Disabled(const ToolWindow& window) {
    std::vector<int> ids;
    for (const WantedButton& wanted : kWanted) {
        if (!window.See(static_cast<ButtonId>(wanted.id)).enabled) {
            ids.push_back(wanted.id);
        }
    }
    return ids;
}

void ExpectPlaces(const ToolWindow& window, Box WantedButton::*place) {
    for (const WantedButton& wanted : kWanted) {
        const Box& box = wanted.*place;
        const Box seen = window.See(static_cast<ButtonId>(wanted.id)).place;
        EXPECT_THAT((std::array{seen.x, seen.y, seen.width, seen.height}),
                    ElementsAre(box.x, box.y, box.width, box.height))
            << "button " << wanted.id;
    }
}

class ButtonLayout : public ToolTest {
protected:
    // Everything that a brand can offer.
    void OfferEverything() {
        Set("websiteUrl", L"http://127.0.0.1/site");
        Set("discordUrl", L"http://127.0.0.1/community");
        Set("showDiscord", L"1");
        Set("offerDesktopShortcut", L"1");
    }

    // A job that stays under way until its package is released, and then fails.
    void MakeDownloadStall() {
        Set("archiveUrl", server_.Url(L"stall/2000/1000"));
    }

    ToolWindow& StartFailingJob() {
        Set("archiveUrl", server_.Url(L"status/404"));
        ToolWindow& window = StartTool();
        window.Press(ButtonId::RepairClient);
        EXPECT_TRUE(bench::Await([&] { return window.CanPress(ButtonId::Retry); }));
        return window;
    }
};

TEST_F(ButtonLayout, HasTwelveOwnerDrawnButtonsInTheOrderOfTheirCreation) {
    const ToolWindow& window = StartTool();
    std::vector<int> wantedIds;
    for (const WantedButton& wanted : kWanted) {
        wantedIds.push_back(wanted.id);
    }
    EXPECT_EQ(IdsFrontToBack(window.Handle()), wantedIds);
    for (const WantedButton& wanted : kWanted) {
        SCOPED_TRACE(wanted.id);
        const HWND button = window.Button(static_cast<ButtonId>(wanted.id));
        EXPECT_EQ(window.See(static_cast<ButtonId>(wanted.id)).text, wanted.text);
        std::array<wchar_t, 32> className{};
        ::GetClassNameW(button, className.data(), static_cast<int>(className.size()));
        EXPECT_EQ(::lstrcmpiW(className.data(), L"BUTTON"), 0);
        EXPECT_EQ(::GetParent(button), window.Handle());
        EXPECT_EQ(::GetWindowLongPtrW(button, GWL_STYLE) & ~LONG_PTR{WS_VISIBLE},
                  LONG_PTR{WS_CHILD | WS_TABSTOP | BS_OWNERDRAW});
        EXPECT_EQ(::GetWindowLongPtrW(button, GWL_EXSTYLE), 0);
    }
}

TEST_F(ButtonLayout, PlacesTheButtonsForOneServer) {
    ExpectPlaces(StartTool(), &WantedButton::alone);
}

TEST_F(ButtonLayout, PlacesTheButtonsForSeveralServers) {
    OfferSeveralServers(PackageUrl(kZip));
    ExpectPlaces(StartTool(), &WantedButton::withServers);
}

TEST_F(ButtonLayout, LeavesThePlacesAloneThroughAJobAndARetry) {
    const ToolWindow& window = StartFailingJob();
    ExpectPlaces(window, &WantedButton::alone);
    window.Press(ButtonId::Retry);
    EXPECT_TRUE(bench::Await([&] { return window.CanPress(ButtonId::RepairClient); }));
    ExpectPlaces(window, &WantedButton::alone);
}

using Setting = std::pair<std::string, std::wstring>;

const Setting kSite{"websiteUrl", L"http://127.0.0.1/"};
const Setting kCommunity{"discordUrl", L"http://127.0.0.1/"};
const Setting kShortcut{"offerDesktopShortcut", L"1"};
const Setting kTwoServers{"multiRepairTool", L"1"};
const Setting kMirror{"archiveMirrorUrls", L"http://127.0.0.1/m"};
const Setting kNoStartupProgram{"startupExe", L""};

// What a brand's settings bring onto the ready window. "Repair Client", "-" and "x" are always
// there.
struct Offer {
    const char* name;
    std::vector<Setting> settings;
    std::vector<int> shown;
};

std::ostream& operator<<(std::ostream& out, const Offer& offer) {
    return out << offer.name;
}

class ButtonOffers : public ButtonLayout, public testing::WithParamInterface<Offer> {};

TEST_P(ButtonOffers, DecideWhatTheReadyWindowShows) {
    for (const auto& [key, value] : GetParam().settings) {
        Set(key, value);
    }
    const ToolWindow& window = StartTool();
    EXPECT_EQ(Shown(window), GetParam().shown);
    EXPECT_THAT(Disabled(window), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Settings, ButtonOffers,
    testing::Values(
        Offer{"Nothing", {}, {4001, 4002, 4004, 4007, 4008}},
        // A missing name becomes "patcher.exe".
        Offer{"NoStartupProgram", {kNoStartupProgram}, {4001, 4002, 4004, 4007, 4008}},
        Offer{"ShortcutWithoutStartupProgram",
              {kShortcut, kNoStartupProgram},
              {4001, 4002, 4003, 4004, 4007, 4008}},
        Offer{"Shortcut", {kShortcut}, {4001, 4002, 4003, 4004, 4007, 4008}},
        Offer{"Site", {kSite}, {4001, 4002, 4004, 4005, 4007, 4008}},
        Offer{"Community", {kCommunity}, {4001, 4002, 4004, 4006, 4007, 4008}},
        Offer{"CommunitySwitchedOff",
              {kCommunity, {"showDiscord", L"0"}},
              {4001, 4002, 4004, 4007, 4008}},
        Offer{"CommunityWithoutAddress",
              {{"showDiscord", L"1"}, {"discordUrl", L""}},
              {4001, 4002, 4004, 4007, 4008}},
        Offer{"AllOfOneServer",
              {kSite, kCommunity, kShortcut},
              {4001, 4002, 4003, 4004, 4005, 4006, 4007, 4008}},
        // Only both settings together make several servers.
        Offer{"SeveralServersWithoutMirror", {kTwoServers}, {4001, 4002, 4004, 4007, 4008}},
        Offer{"MirrorForOneServer", {kMirror}, {4001, 4002, 4004, 4007, 4008}},
        Offer{"BlankMirror",
              {kTwoServers, {"archiveMirrorUrls", L" "}},
              {4001, 4002, 4004, 4007, 4008}},
        Offer{"SeveralServers", {kTwoServers, kMirror}, {4001, 4011, 4012, 4004, 4007, 4008}},
        Offer{"AllOfSeveralServers",
              {kTwoServers, kMirror, kSite, kCommunity, kShortcut},
              {4001, 4011, 4012, 4003, 4004, 4005, 4006, 4007, 4008}}),
    [](const auto& offer) { return offer.param.name; });

TEST_F(ButtonLayout, DisablesTheJobButtonsWhileAJobIsUnderWay) {
    OfferEverything();
    MakeDownloadStall();
    const ToolWindow& window = StartTool();
    window.Press(ButtonId::RepairClient);
    window.AwaitJobStart();
    EXPECT_TRUE(window.AwaitIdle());
    EXPECT_THAT(Shown(window), ElementsAre(4001, 4002, 4003, 4004, 4005, 4006, 4007, 4008));
    EXPECT_THAT(Disabled(window), ElementsAre(4001, 4011, 4012, 4002));
    server_.ReleaseWaits();
}

TEST_F(ButtonLayout, DisablesTheServerButtonsWhileAJobIsUnderWay) {
    OfferEverything();
    MakeDownloadStall();
    OfferSeveralServers(PackageUrl(kZip));
    const ToolWindow& window = StartTool();
    window.Press(ButtonId::RepairClient);
    window.AwaitJobStart();
    EXPECT_TRUE(window.AwaitIdle());
    EXPECT_THAT(Shown(window), ElementsAre(4001, 4011, 4012, 4003, 4004, 4005, 4006, 4007, 4008));
    EXPECT_THAT(Disabled(window), ElementsAre(4001, 4011, 4012, 4002));
    server_.ReleaseWaits();
}

TEST_F(ButtonLayout, OffersEverythingAgainAfterSuccess) {
    OfferEverything();
    const ToolWindow& window = StartRepair();
    window.AwaitJobEnd();
    EXPECT_TRUE(window.AwaitIdle());
    EXPECT_THAT(Shown(window), ElementsAre(4001, 4002, 4003, 4004, 4005, 4006, 4007, 4008));
    EXPECT_THAT(Disabled(window), IsEmpty());
}

TEST_F(ButtonLayout, OffersRetryAndCloseAfterAFailure) {
    OfferEverything();
    const ToolWindow& window = StartFailingJob();
    EXPECT_THAT(Shown(window), ElementsAre(4005, 4006, 4009, 4010, 4007, 4008));
    EXPECT_THAT(Disabled(window), IsEmpty());
}

TEST_F(ButtonLayout, OffersTheSameAfterAFailureWithSeveralServers) {
    OfferSeveralServers(PackageUrl(kZip));
    const ToolWindow& window = StartFailingJob();
    EXPECT_THAT(Shown(window), ElementsAre(4009, 4010, 4007, 4008));
    EXPECT_THAT(Disabled(window), IsEmpty());
}

TEST_F(ButtonLayout, BringsTheStartButtonsBackAtRetry) {
    OfferEverything();
    const ToolWindow& window = StartFailingJob();
    window.Press(ButtonId::Retry);
    EXPECT_TRUE(bench::Await([&] { return window.CanPress(ButtonId::RepairClient); }));
    EXPECT_TRUE(window.AwaitIdle());
    EXPECT_THAT(Shown(window), ElementsAre(4001, 4002, 4003, 4004, 4005, 4006, 4007, 4008));
    EXPECT_THAT(Disabled(window), IsEmpty());
}

TEST_F(ButtonLayout, BringsTheServerButtonsBackAtRetry) {
    OfferSeveralServers(PackageUrl(kZip));
    const ToolWindow& window = StartFailingJob();
    window.Press(ButtonId::Retry);
    EXPECT_TRUE(bench::Await([&] { return window.CanPress(ButtonId::RepairClient); }));
    EXPECT_TRUE(window.AwaitIdle());
    EXPECT_THAT(Shown(window), ElementsAre(4001, 4011, 4012, 4004, 4007, 4008));
    EXPECT_THAT(Disabled(window), IsEmpty());
}

}  // namespace
