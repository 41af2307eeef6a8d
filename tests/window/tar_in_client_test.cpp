// Windows looks for a bare program name beside the running exe first, and the tool is in the client
// folder: a tar.exe of the game comes before the system's.

#include <gtest/gtest.h>

#include "window/tool_test.h"

namespace {

class TarInClient : public bench::ToolTest {};

TEST_F(TarInClient, IsPassedOverIfItCannotUnpack) {
    // The system's tar.exe records its start, and unpacks nothing.
    machine_.PutRecorder(machine_.CurrentFolder() / L"tar.exe", "exit 0");
    machine_.PutPowerShell();
    const std::filesystem::path tar = Client() / L"tar.exe";
    StartTool();
    machine_.PutUnstartable(tar);
    Repair();
    EXPECT_EQ(machine_.Runs().size(), 0U);
    std::filesystem::remove(tar);
    ExpectRepaired();
    machine_.PutRecorder(tar, "exit 1");
    std::filesystem::remove(Client() / L"client.exe");
    Repair();
    ASSERT_EQ(machine_.Runs().size(), 1U);
    EXPECT_EQ(machine_.Runs().front().program, tar.native());
    bench::Contents client = ClientContents();
    client.erase(L"tar.exe");
    client.erase(L"tar.exe.plan");
    EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), client), "");
}

}  // namespace
