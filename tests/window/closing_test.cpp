// Closing the tool with "Yes" during a job: it ends with code 0 and leaves nothing behind. Closing
// while a job ends is tested in closing_races_test.cpp.

#include <gmock/gmock.h>

#include "bench_parts/message_boxes.h"
#include "bench_parts/waiting.h"
#include "window/tool_test.h"

namespace {

using bench::Answer;
using testing::IsEmpty;

class Closing : public bench::ToolTest {};

// A byte a second: a read of a whole buffer would take an hour.
TEST_F(Closing, StopsADownloadThatDrips) {
    Set("archiveUrl", server_.Url(L"drip/4000000/1/1000"));
    StartTool();
    StartRepair();
    EXPECT_TRUE(bench::Await([this] { return !RequestedNames().empty(); }));
    Answer(AskToClose(), IDYES);
    ExpectExit();
    EXPECT_THAT(ClientContents(), IsEmpty());
}

TEST_F(Closing, EndsTheUnpackingProgramBeforeAnythingIsDeleted) {
    machine_.PutRecorder(machine_.CurrentFolder() / L"powershell.exe", "hold");
    bench::WriteFile(Client() / L"old.txt", "from an older client");
    StartTool();
    HoldReinstall();
    Answer(AskToClose(), IDYES);
    ExpectExit();
    EXPECT_EQ(bench::AwaitExitCode(Tar()), 1U);
    for (const bench::ProgramRun& run : machine_.Runs()) {
        const KernelHandle process = bench::OpenRunningProcess(run.processId);
        EXPECT_TRUE(!process || bench::AwaitExitCode(process)) << run.processId;
    }
    EXPECT_THAT(ClientContents(), testing::SizeIs(1));
}

TEST_F(Closing, LeavesTheStartedGameAlone) {
    machine_.PutRecorder(Client() / L"game.exe", "hold");
    Set("startupExe", L"game.exe");
    StartTool().Press(ButtonId::RunPatcher);
    const DWORD game = machine_.AwaitRuns(1).front().processId;
    const KernelHandle process(::OpenProcess(SYNCHRONIZE | PROCESS_TERMINATE, FALSE, game));
    ASSERT_TRUE(process);
    Answer(AskToClose(), IDYES);
    ExpectExit();
    EXPECT_EQ(::WaitForSingleObject(process.get(), 0), DWORD{WAIT_TIMEOUT});
    EXPECT_TRUE(::TerminateProcess(process.get(), 0));
    EXPECT_EQ(::WaitForSingleObject(process.get(), 60'000), DWORD{WAIT_OBJECT_0});
}

}  // namespace
