// Jobs that are interrupted in the middle of their work, and two jobs on one client at once: the
// client afterwards, and after one more repair.

#include <gmock/gmock.h>

#include "bench_parts/message_boxes.h"
#include "bench_parts/waiting.h"
#include "window/tool_test.h"

namespace {

// Enough that a stage is still working after the first of them has changed.
constexpr int kFiles = 400;

std::wstring FileName(int number) {
    return L"file " + std::to_wstring(10'000 + number);
}

void WriteFiles(const std::filesystem::path& folder) {
    for (int number = 0; number < kFiles; ++number) {
        bench::WriteFile(folder / FileName(number), "x");
    }
}

class InterruptedJob : public bench::ToolTest {
protected:
    // The stage runs to its end, and the clean-up follows.
    void Confirm(HWND question) {
        ::PostMessageW(question, WM_COMMAND, IDYES, 0);
        ExpectExit();
    }

    // The client without the files that a test wrote there to prolong a stage.
    bench::Contents ClientWithoutFiles() const {
        bench::Contents contents = ClientContents();
        std::erase_if(contents,
                      [](const auto& entry) { return entry.first.starts_with(L"file "); });
        return contents;
    }

    void RepairAgain() {
        machine_.PutTar();
        StartTool();
        Repair();
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
    Confirm(question);
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
    Confirm(question);
    EXPECT_THAT(ClientContents(), testing::IsEmpty()) << "the clean-out runs to its end";
}

// At the end of a session the system asks the window, tells it, and then ends the process.
TEST_F(InterruptedJob, ARepairCompletesTheClientAfterASessionEndInTheCleanOut) {
    bench::WriteFile(Client() / L"client.exe", "of an older client");
    WriteFiles(Client());
    StartTool();
    HoldReinstall();
    LetItSucceed();
    ASSERT_TRUE(bench::Await([&] { return !std::filesystem::exists(Client() / FileName(0)); }));
    for (const UINT message : {UINT{WM_QUERYENDSESSION}, UINT{WM_ENDSESSION}}) {
        // After five seconds Windows reports that the program does not respond.
        constexpr UINT kPatienceMs = 5'000;
        const WPARAM isEnding = message == WM_ENDSESSION ? TRUE : FALSE;
        DWORD_PTR answer = FALSE;
        EXPECT_NE(::SendMessageTimeoutW(Window().Handle(), message, isEnding,
                                        static_cast<LPARAM>(ENDSESSION_LOGOFF), SMTO_NORMAL,
                                        kPatienceMs, &answer),
                  0);
        EXPECT_TRUE(message == WM_ENDSESSION || answer == TRUE) << "the tool refuses to end";
    }
    EndTool();
    ASSERT_TRUE(ClientWithoutFiles().empty()) << "the job was over already";
    RepairAgain();
    EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientWithoutFiles()), "");
}

// Either of the two jobs may fail: the tool does not lock the client.
TEST_F(InterruptedJob, ARepairCompletesTheClientAfterTwoToolsWorkedOnItAtOnce) {
    bench::WriteFile(Client() / L"client.exe", "of an older client");
    bench::WriteFile(Client() / L"data" / L"maps" / L"a.map", "damaged");
    const bench::ToolWindow& first = StartTool();
    HoldReinstall();
    const bench::ToolWindow second(Tool(), machine_.CurrentFolder());
    second.Press(ButtonId::RepairClient);
    const DWORD secondTarId = machine_.AwaitRuns(2).back().processId;
    const KernelHandle secondTar(::OpenProcess(PROCESS_TERMINATE, FALSE, secondTarId));
    LetItSucceed();
    EXPECT_TRUE(::TerminateProcess(secondTar.get(), 1));
    first.AwaitJobEnd();
    second.AwaitJobEnd();
    CloseTool();
    second.PostClose();
    bench::Answer(bench::AwaitBox(L"Close Repair Tool"), IDYES);
    EXPECT_EQ(second.AwaitExitCode(), 0U);
    RepairAgain();
    ExpectRepaired();
}

}  // namespace
