// Jobs that are interrupted in the middle of their work, and two jobs on one client at once: the
// client afterwards, and after one more repair.

#include <gmock/gmock.h>

#include "bench_parts/message_boxes.h"
#include "bench_parts/waiting.h"
#include "window/held_job.h"

namespace {

using namespace std::chrono_literals;
using testing::IsEmpty;

// Enough that a stage is still at work after the first of them has changed.
constexpr int kFiles = 400;

std::wstring FileName(int number) {
    return L"file " + std::to_wstring(10'000 + number);
}

void WriteFiles(const std::filesystem::path& folder) {
    for (int number = 0; number < kFiles; ++number) {
        bench::WriteFile(folder / FileName(number), "x");
    }
}

class InterruptedJob : public HeldJob {
protected:
    // The tool exits within 30 seconds of the answer: the stage runs to its end, and the clean-up
    // follows.
    void ExpectPromptExit(HWND question) {
        ::PostMessageW(question, WM_COMMAND, IDYES, 0);
        EXPECT_EQ(Window().AwaitExitCode(30s), 0U);
        EXPECT_THAT(TempFolder(), IsEmpty());
    }

    // The client without the files that a test wrote there to make a stage last.
    bench::Contents ClientWithoutFiles() const {
        bench::Contents contents = ClientContents();
        std::erase_if(contents,
                      [](const auto& entry) { return entry.first.starts_with(L"file "); });
        return contents;
    }

    void RepairAgain() {
        HoldNoMore();
        StartTool().Press(ButtonId::RepairClient);
        Window().AwaitJobStart();
        Window().AwaitJobEnd();
        EXPECT_TRUE(Window().CanPress(ButtonId::RepairClient)) << "the repair has failed";
    }
};

TEST_F(InterruptedJob, ClosingInTheFlatteningEndsBeforeTheClientIsTouched) {
    bench::WriteFile(Client() / L"old.txt", "from an older client");
    const bench::Contents before = ClientContents();
    StartTool();
    HoldRepair();
    const std::filesystem::path staging = StagingFolder();
    WriteFiles(staging / L"Client");
    const HWND question = AskToClose();
    EndTar(0);
    ASSERT_TRUE(bench::Await([&] { return std::filesystem::exists(staging / FileName(0)); }));
    ExpectPromptExit(question);
    EXPECT_EQ(bench::FirstDifference(before, ClientContents()), "");
}

TEST_F(InterruptedJob, ClosingInTheCleanOutEndsBeforeAnythingIsInstalled) {
    WriteFiles(Client());
    StartTool();
    HoldReinstall();
    bench::WriteFile(StagingFolder() / L"new.txt", "from the package");
    const HWND question = AskToClose();
    EndTar(0);
    ASSERT_TRUE(bench::Await([&] { return !std::filesystem::exists(Client() / FileName(0)); }));
    ExpectPromptExit(question);
    EXPECT_THAT(ClientContents(), IsEmpty()) << "the clean-out runs to its end";
}

// At the end of a session the system asks the window, tells it, and then ends the process.
TEST_F(InterruptedJob, ARepairCompletesTheClientAfterASessionEndInTheCleanOut) {
    bench::WriteFile(Client() / L"client.exe", "of an older client");
    WriteFiles(Client());
    ToolWindow& window = StartTool();
    HoldReinstall();
    LetItSucceed();
    ASSERT_TRUE(bench::Await([&] { return !std::filesystem::exists(Client() / FileName(0)); }));
    // After five seconds Windows reports that the program does not respond.
    constexpr UINT kPatienceMs = 5'000;
    DWORD_PTR answer = FALSE;
    EXPECT_NE(::SendMessageTimeoutW(window.Handle(), WM_QUERYENDSESSION, 0,
                                    static_cast<LPARAM>(ENDSESSION_LOGOFF), SMTO_NORMAL,
                                    kPatienceMs, &answer),
              0);
    EXPECT_EQ(answer, DWORD_PTR{TRUE});
    EXPECT_NE(::SendMessageTimeoutW(window.Handle(), WM_ENDSESSION, TRUE,
                                    static_cast<LPARAM>(ENDSESSION_LOGOFF), SMTO_NORMAL,
                                    kPatienceMs, &answer),
              0);
    EndTool();
    ASSERT_TRUE(ClientWithoutFiles().empty()) << "the job was over already";
    RepairAgain();
    EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientWithoutFiles()), "");
}

// Either of the two jobs may fail: the tool does not lock the client.
TEST_F(InterruptedJob, ARepairCompletesTheClientAfterTwoToolsWorkedOnItAtOnce) {
    bench::WriteFile(Client() / L"client.exe", "of an older client");
    bench::WriteFile(Client() / L"data" / L"maps" / L"a.map", "damaged");
    const ToolWindow& first = StartTool();
    HoldReinstall();
    const KernelHandle& firstTar = Tar();
    const ToolWindow second(Tool(), machine_.CurrentFolder());
    second.Press(ButtonId::RepairClient);
    const DWORD secondTarId = machine_.AwaitRuns(2).back().processId;
    const KernelHandle secondTar(::OpenProcess(PROCESS_TERMINATE, FALSE, secondTarId));
    machine_.PutPowerShell();
    EXPECT_TRUE(::TerminateProcess(firstTar.get(), 1));
    EXPECT_TRUE(::TerminateProcess(secondTar.get(), 1));
    first.AwaitJobEnd();
    second.AwaitJobEnd();
    EXPECT_THAT(TempFolder(), IsEmpty());
    CloseTool();
    second.PostClose();
    bench::Answer(bench::AwaitBox(L"Close Repair Tool"), IDYES);
    EXPECT_EQ(second.AwaitExitCode(), 0U);
    RepairAgain();
    EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
}

}  // namespace
