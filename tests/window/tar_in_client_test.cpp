// Windows looks for a bare program name beside the running exe first, and the tool is in the
// client folder: a tar.exe of the game comes before the system's.

#include <gmock/gmock.h>

#include "window/tool_test.h"

namespace {

class TarInClient : public ToolTest {
protected:
    TarInClient() {
        // The system's tar.exe notes when it is started, and unpacks nothing.
        machine_.PutRecorder(machine_.CurrentFolder() / L"tar.exe", "exit 0");
        machine_.PutPowerShell();
    }

    void ExpectRepaired() {
        bench::Contents client = ClientContents();
        client.erase(L"tar.exe");
        client.erase(L"tar.exe.plan");
        EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), client), "");
    }
};

TEST_F(TarInClient, IsPassedOverWhenItCannotBeStarted) {
    machine_.PutUnstartable(Client() / L"tar.exe");
    StartRepair().AwaitJobEnd();
    ExpectRepaired();
    EXPECT_THAT(machine_.Runs(), testing::IsEmpty());
}

TEST_F(TarInClient, IsPassedOverWhenItFails) {
    machine_.PutRecorder(Client() / L"tar.exe", "exit 1");
    StartRepair().AwaitJobEnd();
    ExpectRepaired();
    const std::vector<bench::ProgramRun> runs = machine_.Runs();
    ASSERT_THAT(runs, testing::SizeIs(1));
    EXPECT_EQ(runs.front().program, (Client() / L"tar.exe").native());
}

}  // namespace
