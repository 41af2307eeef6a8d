// Closing the tool with "Yes", whatever it is doing: it ends with code 0 and leaves nothing behind.
// What happens when a job ends while the question is open is in closing_races_test.cpp.

#include <gmock/gmock.h>

#include "bench_parts/message_boxes.h"
#include "bench_parts/waiting.h"
#include "window/held_job.h"

namespace {

using bench::Answer;
using bench::AwaitBox;
using testing::IsEmpty;
using testing::SizeIs;

constexpr wchar_t kCloseCaption[] = L"Close Repair Tool";

class Closing : public HeldJob {
protected:
    void Close() {
        Window().PostClose();
        Answer(AwaitBox(kCloseCaption), IDYES);
        EXPECT_EQ(Window().AwaitExitCode(), 0U);
    }

    void ExpectNoProcess() const {
        for (const bench::ProgramRun& run : machine_.Runs()) {
            const KernelHandle process = bench::OpenRunningProcess(run.processId);
            EXPECT_TRUE(!process || bench::AwaitExitCode(process)) << run.processId;
        }
    }

    void AwaitRequest() {
        EXPECT_TRUE(bench::Await([this] { return !RequestedNames().empty(); }));
    }

    // The package in the temp folder, once it has that many bytes.
    void AwaitReceived(uint64_t bytes) {
        EXPECT_TRUE(bench::Await([&] {
            for (const std::wstring& name : TempFolder()) {
                std::error_code ignored;
                const auto file = std::filesystem::temp_directory_path() / name;
                if (name.ends_with(L".zip") && std::filesystem::file_size(file, ignored) >= bytes &&
                    !ignored) {
                    return true;
                }
            }
            return false;
        }));
    }
};

TEST_F(Closing, EndsTheIdleTool) {
    StartTool();
    Close();
    EXPECT_THAT(TempFolder(), IsEmpty());
    EXPECT_THAT(RequestedNames(), IsEmpty());
}

TEST_F(Closing, EndsTheMinimizedTool) {
    ToolWindow& window = StartTool();
    window.Press(ButtonId::Minimize);
    EXPECT_TRUE(bench::Await([&] { return ::IsIconic(window.Handle()) != FALSE; }));
    Close();
}

TEST_F(Closing, StopsADownloadThatStandsStill) {
    HoldDownload();
    StartRepair();
    AwaitReceived(1);
    Window().PostClose();
    Answer(AwaitBox(kCloseCaption), IDYES);
    // The window waits for the read that is under way.
    server_.ReleaseWaits();
    EXPECT_EQ(Window().AwaitExitCode(), 0U);
    EXPECT_THAT(TempFolder(), IsEmpty());
    EXPECT_THAT(ClientContents(), IsEmpty());
}

TEST_F(Closing, StopsADownloadThatFlows) {
    Set("archiveUrl", server_.Url(L"drip/4000000000/500000/20"));
    StartRepair();
    AwaitReceived(1'000'000);
    Close();
    EXPECT_THAT(TempFolder(), IsEmpty());
    EXPECT_THAT(ClientContents(), IsEmpty());
}

TEST_F(Closing, StopsADownloadThatHasNotBegun) {
    Set("archiveUrl", server_.Url(L"stall_in_head"));
    StartRepair();
    AwaitRequest();
    Window().PostClose();
    Answer(AwaitBox(kCloseCaption), IDYES);
    server_.ReleaseWaits();
    EXPECT_EQ(Window().AwaitExitCode(), 0U);
    EXPECT_THAT(TempFolder(), IsEmpty());
}

TEST_F(Closing, EndsTheUnpackingProgram) {
    machine_.PutRecorder(machine_.CurrentFolder() / L"powershell.exe", "hold");
    StartTool();
    HoldRepair();
    Close();
    EXPECT_EQ(bench::AwaitExitCode(Tar()), 1U);
    ExpectNoProcess();
    EXPECT_THAT(TempFolder(), IsEmpty());
    EXPECT_THAT(ClientContents(), IsEmpty());
}

TEST_F(Closing, EndsTheUnpackingProgramOfAReinstallBeforeAnythingIsDeleted) {
    bench::WriteFile(Client() / L"old.txt", "from an older client");
    StartTool();
    HoldReinstall();
    Close();
    EXPECT_EQ(bench::AwaitExitCode(Tar()), 1U);
    ExpectNoProcess();
    EXPECT_THAT(TempFolder(), IsEmpty());
    EXPECT_THAT(ClientContents(), SizeIs(1));
}

TEST_F(Closing, LeavesTheStartedGameAlone) {
    machine_.PutRecorder(Client() / L"game.exe", "hold");
    Set("startupExe", L"game.exe");
    StartTool().Press(ButtonId::RunPatcher);
    const DWORD game = machine_.AwaitRuns(1).front().processId;
    const KernelHandle process(::OpenProcess(SYNCHRONIZE | PROCESS_TERMINATE, FALSE, game));
    ASSERT_TRUE(process);
    Close();
    EXPECT_EQ(::WaitForSingleObject(process.get(), 0), DWORD{WAIT_TIMEOUT});
    EXPECT_TRUE(::TerminateProcess(process.get(), 0));
    EXPECT_EQ(::WaitForSingleObject(process.get(), 60'000), DWORD{WAIT_OBJECT_0});
}

// The comparison is not given up in the middle of a file, but nothing comes after it.
TEST_F(Closing, StopsAfterTheFileThatIsBeingCompared) {
    constexpr uint64_t kBytes = uint64_t{1} << 31;
    bench::MakeSparseFile(Client() / L"b large.bin", kBytes);
    StartTool();
    HoldRepair();
    const std::filesystem::path staging = StagingFolder();
    bench::WriteFile(staging / L"a first.txt", "one");
    bench::MakeSparseFile(staging / L"b large.bin", kBytes);
    bench::WriteFile(staging / L"c last.txt", "two");
    EndTar(0);
    EXPECT_TRUE(bench::Await([&] { return std::filesystem::exists(Client() / L"a first.txt"); }));
    Close();
    EXPECT_EQ(bench::ReadFile(Client() / L"a first.txt"), "one");
    EXPECT_EQ(std::filesystem::file_size(Client() / L"b large.bin"), kBytes);
    EXPECT_FALSE(std::filesystem::exists(Client() / L"c last.txt"));
    EXPECT_FALSE(std::filesystem::exists(Client() / L"Uninstall.exe"));
    EXPECT_THAT(TempFolder(), IsEmpty());
}

// Whichever file it is at: each file is then as before or as in the package.
TEST_F(Closing, StopsBetweenManyFiles) {
    constexpr int kFiles = 1000;
    const std::string fresh(500, 'x');
    const auto name = [](int number) {
        return L"file " + std::to_wstring(10'000 + number);
    };
    StartTool();
    HoldRepair();
    const std::filesystem::path staging = StagingFolder();
    for (int number = 0; number < kFiles; ++number) {
        bench::WriteFile(staging / name(number), fresh);
    }
    EndTar(0);
    EXPECT_TRUE(bench::Await([&] { return std::filesystem::exists(Client() / name(0)); }));
    Close();
    const bench::Contents client = ClientContents();
    EXPECT_LT(client.size(), size_t{kFiles});
    for (const auto& [file, content] : client) {
        EXPECT_TRUE(content == fresh) << testing::PrintToString(file);
    }
    EXPECT_THAT(TempFolder(), IsEmpty());
}

TEST_F(Closing, KeepsThePackageWhenTheBrandWantsIt) {
    Set("cleanupArchive", L"0");
    StartTool();
    HoldRepair();
    const std::vector<std::wstring> during = TempFolder();
    EXPECT_THAT(during, SizeIs(2)) << "the package and the scratch folder";
    Close();
    const std::vector<std::wstring> after = TempFolder();
    ASSERT_THAT(after, SizeIs(1));
    EXPECT_TRUE(after.front().starts_with(L"repair.exe_"));
    EXPECT_TRUE(after.front().ends_with(L".zip"));
}

TEST_F(Closing, WorksAfterASuccess) {
    ToolWindow& window = StartTool();
    HoldRepair();
    LetItSucceed();
    window.AwaitJobEnd();
    Close();
    EXPECT_THAT(TempFolder(), IsEmpty());
    EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
}

TEST_F(Closing, WorksAfterAFailure) {
    ToolWindow& window = StartTool();
    HoldRepair();
    LetItFail();
    EXPECT_TRUE(bench::Await([&] { return window.CanPress(ButtonId::Close); }));
    window.Press(ButtonId::Close);
    Answer(AwaitBox(kCloseCaption), IDYES);
    EXPECT_EQ(window.AwaitExitCode(), 0U);
    EXPECT_THAT(TempFolder(), IsEmpty());
}

TEST_F(Closing, WorksAfterRetry) {
    ToolWindow& window = StartTool();
    HoldRepair();
    LetItFail();
    EXPECT_TRUE(bench::Await([&] { return window.CanPress(ButtonId::Retry); }));
    window.Press(ButtonId::Retry);
    EXPECT_TRUE(bench::Await([&] { return window.CanPress(ButtonId::RepairClient); }));
    Close();
}

}  // namespace
