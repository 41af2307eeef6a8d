// The buttons that start no job.

#include <gmock/gmock.h>

#include <sstream>

#include "bench_parts/message_boxes.h"
#include "bench_parts/registry_entry.h"
#include "bench_parts/skipping.h"
#include "bench_parts/waiting.h"
#include "window/desktop_link.h"
#include "window/held_job.h"

namespace {

using bench::Answer;
using bench::AwaitBox;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr wchar_t kShortcutCaption[] = L"Create Game Shortcut";
constexpr wchar_t kShortcutMade[] = L"Game Shortcut Created";

// What a control may say about why it sends a command, and what a menu and a shortcut key say.
constexpr WORD kNotificationCodes[] = {BN_CLICKED, BN_DBLCLK, BN_SETFOCUS, 1, 0x8000, 0xffff};

class ShortcutCommand : public HeldJob {
protected:
    ShortcutCommand() {
        HoldNoMore();
        Set("offerDesktopShortcut", L"1");
        Set("shortcutName", DesktopLink::Name());
        PutStartupProgram();
    }

    void MakeShortcut() {
        Window().Press(ButtonId::CreateShortcut);
        ExpectMade();
    }

    void ExpectMade() {
        EXPECT_TRUE(bench::Await(
            [this] { return Window().HasText(ButtonId::CreateShortcut, kShortcutMade); }));
        EXPECT_TRUE(Window().AwaitIdle());
        EXPECT_FALSE(Window().See(ButtonId::CreateShortcut).enabled);
        EXPECT_TRUE(Window().See(ButtonId::CreateShortcut).visible);
    }

    DesktopLink link_;
};

TEST_F(ShortcutCommand, PutsTheShortcutOnTheDesktop) {
    ToolWindow& window = StartTool();
    const WindowShot before = window.Look();
    MakeShortcut();
    EXPECT_EQ(link_.Target(), (machine_.Root() / L"game" / L"game.exe").native());
    EXPECT_TRUE(::IsWindowEnabled(window.Handle())) << "success needs no box";
    EXPECT_FALSE(window.Look().Equals(before, kDetail)) << "it is told in the detail line";
    EXPECT_TRUE(window.Look().Equals(before, kStatus));
    EXPECT_TRUE(window.Look().Equals(before, kProgressOutline));
}

TEST_F(ShortcutCommand, StaysDoneAfterAJob) {
    ToolWindow& window = StartTool();
    MakeShortcut();
    window.Press(ButtonId::RepairClient);
    window.AwaitJobStart();
    window.AwaitJobEnd();
    ExpectMade();
}

TEST_F(ShortcutCommand, StaysDoneAfterRetry) {
    Set("archiveUrl", server_.Url(L"status/404"));
    ToolWindow& window = StartTool();
    MakeShortcut();
    window.Press(ButtonId::RepairClient);
    EXPECT_TRUE(bench::Await([&] { return window.CanPress(ButtonId::Retry); }));
    EXPECT_FALSE(window.See(ButtonId::CreateShortcut).visible);
    window.Press(ButtonId::Retry);
    EXPECT_TRUE(bench::Await([&] { return window.CanPress(ButtonId::RepairClient); }));
    ExpectMade();
}

TEST_F(ShortcutCommand, WorksDuringAJob) {
    machine_.PutRecorder(machine_.CurrentFolder() / L"tar.exe", "hold");
    ToolWindow& window = StartTool();
    HoldRepair();
    MakeShortcut();
    EXPECT_TRUE(link_.Exists());
    EXPECT_FALSE(window.See(ButtonId::RepairClient).enabled);
    LetItSucceed();
    window.AwaitJobEnd();
    EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
}

TEST_F(ShortcutCommand, TellsThatTheStartupProgramIsMissing) {
    Set("startupExe", L"bin\\missing.exe");
    ToolWindow& window = StartTool();
    const WindowShot before = window.Look();
    const auto buttonsBefore = window.ShownButtons();
    window.Press(ButtonId::CreateShortcut);
    const HWND box = AwaitBox(kShortcutCaption);
    EXPECT_EQ(bench::BoxText(box),
              L"Could not find the shortcut target: " + (Client() / L"bin\\missing.exe").native());
    EXPECT_EQ(bench::BoxButtons(box), std::vector{IDOK});
    EXPECT_EQ(bench::BoxIcon(box), UINT{MB_ICONWARNING});
    EXPECT_EQ(::GetWindow(box, GW_OWNER), window.Handle());
    Answer(box, IDOK);
    EXPECT_TRUE(window.AwaitIdle());
    EXPECT_EQ(window.ShownButtons(), buttonsBefore);
    EXPECT_TRUE(bench::Await([&] { return window.Look() == before; }));
    EXPECT_FALSE(link_.Exists());
}

TEST_F(ShortcutCommand, WorksOnceTheProgramIsThere) {
    const std::filesystem::path program = machine_.Root() / L"game" / L"game.exe";
    std::filesystem::remove(program);
    ToolWindow& window = StartTool();
    window.Press(ButtonId::CreateShortcut);
    Answer(AwaitBox(kShortcutCaption), IDOK);
    EXPECT_TRUE(bench::Await([&] { return window.CanPress(ButtonId::CreateShortcut); }));
    machine_.PutRecorder(program, "");
    EXPECT_TRUE(bench::Await([&] { return ::IsWindowEnabled(window.Handle()) != FALSE; }));
    MakeShortcut();
    EXPECT_TRUE(link_.Exists());
}

class Command : public ToolTest {
protected:
    void Post(ButtonId id, WORD notification, HWND sender) {
        ::PostMessageW(Window().Handle(), WM_COMMAND,
                       MAKEWPARAM(static_cast<WORD>(id), notification),
                       reinterpret_cast<LPARAM>(sender));
    }
};

TEST_F(Command, RunsThePatcherInItsOwnFolder) {
    PutStartupProgram();
    StartTool().Press(ButtonId::RunPatcher);
    const bench::ProgramRun run = machine_.AwaitRuns(1).front();
    const std::filesystem::path program = machine_.Root() / L"game" / L"game.exe";
    EXPECT_EQ(run.program, program.native());
    EXPECT_EQ(run.currentFolder, program.parent_path().native());
}

TEST_F(Command, RunsThePatcherInTheClientFolder) {
    machine_.PutRecorder(Client() / L"bin" / L"patch er.exe", "");
    Set("startupExe", L"bin\\patch er.exe");
    StartTool().Press(ButtonId::RunPatcher);
    const bench::ProgramRun run = machine_.AwaitRuns(1).front();
    EXPECT_EQ(run.program, (Client() / L"bin" / L"patch er.exe").native());
    EXPECT_EQ(run.currentFolder, (Client() / L"bin").native());
}

TEST_F(Command, RunsThePatcherAtEachPress) {
    PutStartupProgram();
    ToolWindow& window = StartTool();
    for (size_t press = 1; press <= 3; ++press) {
        window.Press(ButtonId::RunPatcher);
        EXPECT_EQ(machine_.AwaitRuns(press).size(), press);
    }
}

TEST_F(Command, SaysNothingWhenThePatcherIsMissing) {
    Set("startupExe", L"missing.exe");
    ToolWindow& window = StartTool();
    const WindowShot before = window.Look();
    window.Press(ButtonId::RunPatcher);
    EXPECT_TRUE(window.AwaitIdle());
    EXPECT_TRUE(::IsWindowEnabled(window.Handle()));
    EXPECT_TRUE(bench::Await([&] { return window.Look() == before; }));
}

TEST_F(Command, RunsThePatcherWhateverNotificationComesWithIt) {
    PutStartupProgram();
    ToolWindow& window = StartTool();
    size_t starts = 0;
    for (const WORD code : kNotificationCodes) {
        for (const HWND sender : {window.Button(ButtonId::RunPatcher), HWND{}}) {
            Post(ButtonId::RunPatcher, code, sender);
            ++starts;
            EXPECT_TRUE(bench::Await([&] { return StartsOfTheGame() == starts; })) << code;
        }
    }
}

TEST_F(Command, AsksBeforeClosingWhateverNotificationComesWithIt) {
    ToolWindow& window = StartTool();
    for (const ButtonId id : {ButtonId::CloseMark, ButtonId::Close}) {
        for (const WORD code : kNotificationCodes) {
            Post(id, code, window.Button(id));
            Answer(AwaitBox(L"Close Repair Tool"), IDNO);
        }
    }
    EXPECT_TRUE(window.AwaitIdle());
}

TEST_F(Command, MinimizesTheWindow) {
    ToolWindow& window = StartTool();
    const WindowShot before = window.Look();
    window.Press(ButtonId::Minimize);
    EXPECT_TRUE(bench::Await([&] { return ::IsIconic(window.Handle()) != FALSE; }));
    ::PostMessageW(window.Handle(), WM_SYSCOMMAND, SC_RESTORE, 0);
    EXPECT_TRUE(bench::Await([&] { return ::IsIconic(window.Handle()) == FALSE; }));
    EXPECT_TRUE(bench::Await([&] { return window.Look() == before; }));
    EXPECT_TRUE(window.CanPress(ButtonId::RepairClient));
}

constexpr wchar_t kBrowserKey[] = L"Software\\Wine\\WineBrowser";
// Where the script note_url, which stands in for the browser, writes to.
constexpr wchar_t kOpenedUrls[] = L"C:\\bench\\opened_urls.txt";

// The links, with a stand-in for the player's browser.
class LinkCommand : public Command {
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

    // What the browser was started with so far: the number of its arguments, and the first.
    [[nodiscard]] std::vector<std::string> Opened() const {
        std::istringstream lines(bench::ReadFile(kOpenedUrls));
        std::vector<std::string> opened;
        for (std::string line; std::getline(lines, line);) {
            opened.push_back(line);
        }
        return opened;
    }

    std::vector<std::string> AwaitOpened(size_t count) {
        EXPECT_TRUE(bench::Await([&] { return Opened().size() >= count; }));
        return Opened();
    }
};

TEST_F(LinkCommand, OpensTheWebsite) {
    Set("websiteUrl", L"http://127.0.0.1:1/news?from=tool&x=1%20y#latest");
    Set("discordUrl", L"http://127.0.0.1:1/other");
    StartTool().Press(ButtonId::Website);
    EXPECT_THAT(AwaitOpened(1), ElementsAre("1 http://127.0.0.1:1/news?from=tool&x=1%20y#latest"));
}

TEST_F(LinkCommand, OpensTheCommunityPage) {
    Set("websiteUrl", L"http://127.0.0.1:1/other");
    Set("discordUrl", L"https://127.0.0.1:1/join?game=karvoth&a=b#rules");
    StartTool().Press(ButtonId::Community);
    EXPECT_THAT(AwaitOpened(1), ElementsAre("1 https://127.0.0.1:1/join?game=karvoth&a=b#rules"));
}

TEST_F(LinkCommand, OpensALinkAtEachPress) {
    Set("websiteUrl", L"http://127.0.0.1:1/site");
    Set("discordUrl", L"http://127.0.0.1:1/community");
    ToolWindow& window = StartTool();
    const ButtonId presses[] = {ButtonId::Website, ButtonId::Community, ButtonId::Website};
    for (size_t press = 0; press < std::size(presses); ++press) {
        window.Press(presses[press]);
        EXPECT_EQ(AwaitOpened(press + 1).size(), press + 1);
    }
    EXPECT_THAT(Opened(), ElementsAre("1 http://127.0.0.1:1/site", "1 http://127.0.0.1:1/community",
                                      "1 http://127.0.0.1:1/site"));
}

// The button of an empty address is hidden, but whoever drives the tool can send its command.
TEST_F(LinkCommand, OpensNothingWithoutAnAddress) {
    Set("websiteUrl", L"");
    Set("discordUrl", L"http://127.0.0.1:1/community");
    ToolWindow& window = StartTool();
    EXPECT_FALSE(window.See(ButtonId::Website).visible);
    window.PostCommand(ButtonId::Website);
    window.PostCommand(ButtonId::Community);
    EXPECT_THAT(AwaitOpened(1), ElementsAre("1 http://127.0.0.1:1/community"));
    CloseTool();
    Set("websiteUrl", L"http://127.0.0.1:1/site");
    Set("discordUrl", L"");
    ToolWindow& second = StartTool();
    EXPECT_FALSE(second.See(ButtonId::Community).visible);
    second.PostCommand(ButtonId::Community);
    second.PostCommand(ButtonId::Website);
    EXPECT_THAT(AwaitOpened(2),
                ElementsAre("1 http://127.0.0.1:1/community", "1 http://127.0.0.1:1/site"));
}

TEST_F(LinkCommand, WorksAfterAFailure) {
    Set("archiveUrl", server_.Url(L"status/404"));
    Set("websiteUrl", L"http://127.0.0.1:1/help");
    ToolWindow& window = StartRepair();
    EXPECT_TRUE(bench::Await([&] { return window.CanPress(ButtonId::Retry); }));
    EXPECT_THAT(Opened(), IsEmpty());
    window.Press(ButtonId::Website);
    EXPECT_THAT(AwaitOpened(1), ElementsAre("1 http://127.0.0.1:1/help"));
}

}  // namespace
