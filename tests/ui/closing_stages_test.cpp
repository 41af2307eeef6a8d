// Closing while a real job is in a stage that does not check for cancellation, and right after a
// job has ended. A hook holds the stage until the window asks the job to stop. The longer stages
// are in tests/window.

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>

#include "bench_parts/call_hook.h"
#include "bench_parts/game_machine.h"
#include "bench_parts/registry_entry.h"
#include "bench_parts/waiting.h"
#include "job/job_thread.h"
#include "resource_ids.h"
#include "ui/open_window.h"
#include "ui/player.h"

namespace {

using namespace bench;
using testing::IsEmpty;

// From the answer to the end of the window: the rest of the stage, a poll for each unpacking
// program, and the clean-up.
constexpr std::chrono::seconds kCloseLimit{10};

class ClosingStages : public GameMachine {
protected:
    static ToolConfig Config(const std::wstring& packageUrl) {
        ToolConfig config = FullConfig();
        config.archiveUrl = packageUrl;
        return config;
    }

    // Blocks the stage until the window asks the job to stop. Job thread.
    void AwaitRequest() {
        atStage_ = true;
        wasAsked_ = Await([] { return jobProgress.cancelRequested.load(); });
    }

    void CloseInStage(const OpenWindow& window) {
        window.Press(4001);
        ASSERT_TRUE(Await([this] { return atStage_.load(); }));
        Close(window);
        EXPECT_TRUE(wasAsked_);
    }

    void Close(const OpenWindow& window) {
        const Player player(IDYES);
        const auto start = std::chrono::steady_clock::now();
        window.Press(4008);
        EXPECT_LT(std::chrono::steady_clock::now() - start, kCloseLimit);
        EXPECT_FALSE(JobThreadExists());
        EXPECT_FALSE(::IsWindow(window.Handle()));
        EXPECT_EQ(HandleWaitingMessages(), 0);
        EXPECT_THAT(TempFolder(), IsEmpty());
        EXPECT_THAT(shell_.Calls(), IsEmpty()) << "the game is not started";
    }

    ShellRecorder shell_;

private:
    std::atomic<bool> atStage_ = false;
    std::atomic<bool> wasAsked_ = false;
    ComApartment com_;
    GdiplusSession gdiplus_;
};

// The client is complete by then: the job succeeds.
TEST_F(ClosingStages, TheUninstallerIsWrittenAndTheGameRegistered) {
    const OpenWindow window({.config = Config(PackageUrl(kZip))});
    const auto hook = WatchCall<decltype(&::FindResourceW)>(
        L"kernel32.dll", "FindResourceW", [&](HMODULE, LPCWSTR name, LPCWSTR) {
            if (name == MAKEINTRESOURCEW(ID_UNINSTALLER)) {
                AwaitRequest();
            }
        });
    CloseInStage(window);
    EXPECT_EQ(FirstDifference(LoneFolderPackage(), ClientContents()), "");
    EXPECT_EQ(ReadFile(Client() / L"Uninstall.exe"), "the uninstaller's bytes");
    EXPECT_NE(ReadKey(kEntryKey), std::nullopt);
}

// The answer comes before the tick that would collect the job, so the game is not started.
TEST_F(ClosingStages, AJobThatHasJustSucceededIsNotFollowedUp) {
    const OpenWindow window({.config = Config(PackageUrl(kZip))});
    window.Press(4001);
    ASSERT_TRUE(Await([] { return JobAwaitsCollection(); }));
    ASSERT_FALSE(jobProgress.failed);
    Close(window);
    EXPECT_EQ(FirstDifference(LoneFolderPackage(), ClientContents()), "");
}

// A failed job counts as ended before its clean-up, which the window waits for.
TEST_F(ClosingStages, AJobThatHasJustFailedDoesNotDelayTheEnd) {
    machine_.PutRecorder(machine_.CurrentFolder() / L"tar.exe", "exit 1");
    machine_.PutRecorder(machine_.CurrentFolder() / L"powershell.exe", "exit 1");
    const OpenWindow window({.config = Config(PackageUrl(kZip))});
    window.Press(4001);
    ASSERT_TRUE(Await([] { return JobAwaitsCollection(); }));
    ASSERT_TRUE(jobProgress.failed);
    Close(window);
    EXPECT_TRUE(ClientContents().empty());
}

}  // namespace
