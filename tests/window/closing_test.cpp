// Closing the tool with "Yes" during a job: it ends with code 0 and leaves nothing behind. Closing
// while a job ends is tested in closing_races_test.cpp.

#include <gmock/gmock.h>

#include <ostream>

#include "bench_parts/message_boxes.h"
#include "bench_parts/waiting.h"
#include "window/tool_test.h"

namespace {

using bench::Answer;
using testing::IsEmpty;

class Closing : public bench::ToolTest {};

struct Download {
    const char* name;
    const wchar_t* behavior;
    uint64_t receivedBytes;
    bool blocksARead;  // Closing waits for the read that the server has to answer.
};

void PrintTo(const Download& download, std::ostream* out) {
    *out << download.name;
}

class ClosingInADownload : public bench::ToolTest, public testing::WithParamInterface<Download> {
protected:
    // The size of the package in the temp folder, 0 before it exists.
    [[nodiscard]] uint64_t ReceivedBytes() const {
        for (const std::wstring& name : TempFolder()) {
            std::error_code error;
            const auto size =
                std::filesystem::file_size(std::filesystem::temp_directory_path() / name, error);
            if (name.ends_with(L".zip") && !error) {
                return size;
            }
        }
        return 0;
    }
};

TEST_P(ClosingInADownload, StopsIt) {
    Set("archiveUrl", server_.Url(GetParam().behavior));
    StartTool();
    StartRepair();
    EXPECT_TRUE(bench::Await([this] { return !RequestedNames().empty(); }));
    EXPECT_TRUE(bench::Await([this] { return ReceivedBytes() >= GetParam().receivedBytes; }));
    Answer(AskToClose(), IDYES);
    if (GetParam().blocksARead) {
        server_.ReleaseWaits();
    }
    ExpectExit();
    EXPECT_THAT(ClientContents(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Each, ClosingInADownload,
    testing::Values(Download{"NotBegun", L"silence", 0, true},
                    Download{"Stalled", L"stall/3000000/2000000", 1, true},
                    Download{"Flowing", L"drip/4000000000/500000/20", 1'000'000, false},
                    // A byte a second: a read of a whole buffer would take an hour.
                    Download{"Dripping", L"drip/4000000/1/1000", 1, false}),
    testing::PrintToStringParamName());

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

// The comparison is not interrupted in the middle of a file, but nothing comes after it.
TEST_F(Closing, StopsAfterTheFileThatIsBeingCompared) {
    constexpr uint64_t kBytes = uint64_t{1} << 29;
    bench::MakeSparseFile(Client() / L"b large.bin", kBytes);
    StartTool();
    HoldRepair();
    const std::filesystem::path staging = StagingFolder();
    bench::WriteFile(staging / L"a first.txt", "one");
    bench::MakeSparseFile(staging / L"b large.bin", kBytes);
    bench::WriteFile(staging / L"c last.txt", "two");
    const HWND question = AskToClose();
    EndTar(0);
    EXPECT_TRUE(bench::Await([&] { return std::filesystem::exists(Client() / L"a first.txt"); }));
    Answer(question, IDYES);
    ExpectExit();
    EXPECT_EQ(bench::ReadFile(Client() / L"a first.txt"), "one");
    EXPECT_EQ(std::filesystem::file_size(Client() / L"b large.bin"), kBytes);
    EXPECT_FALSE(std::filesystem::exists(Client() / L"c last.txt"));
    EXPECT_FALSE(std::filesystem::exists(Client() / L"Uninstall.exe"));
}

}  // namespace
