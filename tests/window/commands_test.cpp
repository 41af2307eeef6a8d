// The buttons that start no job.

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

#include "bench_parts/message_boxes.h"
#include "bench_parts/registry_entry.h"
#include "bench_parts/skipping.h"
#include "bench_parts/waiting.h"
#include "window/tool_test.h"

namespace {

constexpr wchar_t kShortcutCaption[] = L"Create Game Shortcut";

class ShortcutCommand : public bench::ToolTest {
protected:
    ShortcutCommand() {
        Set("offerDesktopShortcut", L"1");
        PutStartupProgram();
    }

    void MakeShortcut() {
        Window().Press(ButtonId::CreateShortcut);
        EXPECT_TRUE(
            bench::Await([this] { return !Window().See(ButtonId::CreateShortcut).enabled; }));
        EXPECT_TRUE(std::filesystem::exists(ShortcutFile()));
        ExpectDone();
    }

    void ExpectDone() {
        Window().AwaitIdle();
        const bench::ButtonSeen button = Window().See(ButtonId::CreateShortcut);
        EXPECT_EQ(button.text, L"Game Shortcut Created");
        EXPECT_FALSE(button.enabled);
        EXPECT_TRUE(button.visible);
    }
};

TEST_F(ShortcutCommand, ReportsAFailureInABoxAndASuccessInTheDetailLine) {
    const std::filesystem::path program = machine_.Root() / L"game" / L"game.exe";
    std::filesystem::remove(program);
    const bench::ToolWindow& window = StartTool();
    const bench::WindowShot before = window.Look();
    const auto buttonsBefore = window.ShownButtons();
    window.Press(ButtonId::CreateShortcut);
    const HWND box = bench::AwaitBox(kShortcutCaption);
    ExpectBox(box, L"Could not find the shortcut target: " + program.native(), {IDOK}, IDOK,
              MB_ICONWARNING);
    bench::Answer(box, IDOK);
    window.AwaitUsable();
    EXPECT_EQ(window.ShownButtons(), buttonsBefore);
    window.AwaitLook(before);
    EXPECT_FALSE(std::filesystem::exists(ShortcutFile()));
    machine_.PutRecorder(program, "");
    MakeShortcut();
    window.AwaitUsable();
    const bench::WindowShot after = window.Look();
    EXPECT_NE(after.Difference(before, kDetail), "");
    EXPECT_EQ(after.Difference(before, kStatus), "");
    EXPECT_EQ(after.Difference(before, kProgressOutline), "");
}

TEST_F(ShortcutCommand, WorksDuringAJobAndStaysDone) {
    const bench::ToolWindow& window = StartTool();
    HoldRepair();
    MakeShortcut();
    EXPECT_FALSE(window.CanPress(ButtonId::RepairClient));
    LetItFail();
    window.AwaitCanPress(ButtonId::Retry);
    EXPECT_FALSE(window.See(ButtonId::CreateShortcut).visible);
    window.Press(ButtonId::Retry);
    window.AwaitCanPress(ButtonId::RepairClient);
    ExpectDone();
    HoldJobsNoMore();
    Repair();
    ExpectDone();
    ExpectRepaired();
}

class Command : public bench::ToolTest {};

TEST_F(Command, RunsThePatcherInItsFolderAtEachPress) {
    machine_.PutRecorder(Client() / L"bin" / L"patch er.exe", "");
    Set("startupExe", L"bin\\patch er.exe");
    const bench::ToolWindow& window = StartTool();
    for (const size_t press : {1U, 2U}) {
        window.Press(ButtonId::RunPatcher);
        const bench::ProgramRun run = machine_.AwaitRuns(press).back();
        EXPECT_EQ(run.program, (Client() / L"bin" / L"patch er.exe").native());
        EXPECT_EQ(run.currentFolder, (Client() / L"bin").native());
    }
}

constexpr wchar_t kBrowserKey[] = L"Software\\Wine\\WineBrowser";
// Written by the script note_url, which replaces the browser.
constexpr wchar_t kOpenedUrls[] = L"C:\\bench\\opened_urls.txt";

class LinkCommand : public bench::ToolTest {
protected:
    LinkCommand() {
        bench::WriteFile(kOpenedUrls, "");
        bench::RemoveKey(kBrowserKey);
        bench::StoreValue(kBrowserKey, L"Browsers", bench::StoredText(BENCH_BROWSER));
    }
    ~LinkCommand() override {
        bench::RemoveKey(kBrowserKey);
        std::filesystem::remove(kOpenedUrls);
    }

    void SetUp() override {
        SKIP_ON_WINDOWS("only under Wine can the browser be replaced for one test");
    }

    // One line for each start of the browser: the number of its arguments, and the first.
    [[nodiscard]] static std::string Opened() {
        return bench::ReadFile(kOpenedUrls);
    }
};

TEST_F(LinkCommand, OpensItsAddressAtEachPress) {
    Set("websiteUrl", L"http://127.0.0.1:1/news?from=tool&x=1%20y#latest");
    Set("discordUrl", L"https://127.0.0.1:1/join?game=karvoth&a=b#rules");
    const bench::ToolWindow& window = StartTool();
    const ButtonId presses[] = {ButtonId::Website, ButtonId::Discord, ButtonId::Website};
    for (long press = 0; press < std::ssize(presses); ++press) {
        window.Press(presses[press]);
        EXPECT_TRUE(bench::Await([&] { return std::ranges::count(Opened(), '\n') > press; }));
    }
    EXPECT_EQ(Opened(),
              "1 http://127.0.0.1:1/news?from=tool&x=1%20y#latest\n"
              "1 https://127.0.0.1:1/join?game=karvoth&a=b#rules\n"
              "1 http://127.0.0.1:1/news?from=tool&x=1%20y#latest\n");
}

}  // namespace
