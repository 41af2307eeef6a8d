// What starts a job, and with which package.

#include <gmock/gmock.h>

#include "bench_parts/waiting.h"
#include "window/player_input.h"
#include "window/tool_test.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class JobStart : public bench::ToolTest {};

TEST_F(JobStart, RepairsTheClientAtAClickWithItsButtonsDisabled) {
    OfferLinksAndShortcut();
    const bench::ToolWindow& window = StartTool();
    const auto ready = window.ShownButtons();
    window.PostTick();
    window.AwaitIdle();
    EXPECT_THAT(RequestedNames(), IsEmpty());
    HoldRepair();
    EXPECT_THAT(window.ShownButtons(),
                ElementsAre(L"(Repair Client)", L"(Reinstall Game)", L"Create Game Shortcut",
                            L"Run Patcher", L"Website", L"Discord", L"-", L"x"));
    LetItSucceed();
    window.AwaitJobEnd();
    EXPECT_EQ(window.ShownButtons(), ready);
    ExpectRepaired();
}

TEST_F(JobStart, HappensOnceAtADoubleClickOfTheMouse) {
    HoldJobs();
    const bench::ToolWindow& window = StartTool();
    EXPECT_TRUE(bench::Await([&] {
        bench::ClickWithMouse(window.Button(ButtonId::RepairClient), 2);
        return !RequestedNames().empty();
    }));
    bench::AwaitClicksTaken(window);
    AwaitHold();
    LetItSucceed();
    window.AwaitJobEnd();
    EXPECT_THAT(RequestedNames(), ElementsAre("/archive/zip_lone_folder.zip"));
}

TEST_F(JobStart, AsksTheChosenServer) {
    OfferSeveralServers(PackageUrl(L"zip_small_client.zip") + L"\n" + PackageUrl(L"zip_plain.zip"));
    const bench::ToolWindow& window = StartTool();
    window.Press(ButtonId::SecondServer);
    window.AwaitIdle();
    EXPECT_THAT(RequestedNames(), IsEmpty()) << "a choice starts nothing";
    Repair();
    EXPECT_THAT(RequestedNames(), ElementsAre("/archive/zip_small_client.zip"));
}

}  // namespace
