#include "system/uninstaller_file.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "bench_parts/call_hook.h"
#include "bench_parts/client_folder_test.h"
#include "bench_parts/running_copy.h"

namespace {

namespace fs = std::filesystem;

// As system_test.rc has it.
const std::string kEmbedded("MZ\0a\r\nb\nc\x1A\0end", 14);

class WriteUninstallerTest : public bench::ClientFolderTest {
protected:
    [[nodiscard]] static fs::path File() {
        return fs::path(toolFolder) / L"Uninstall.exe";
    }

    // Lets a call that asks for the embedded program answer `answer`.
    template <class Function, class Answer>
    [[nodiscard]] static auto Answering(const char* function, Answer answer) {
        return bench::HookCall<Function>(L"kernel32.dll", function,
                                         [answer](auto...) { return answer; });
    }
};

TEST_F(WriteUninstallerTest, WritesTheEmbeddedProgramByteForByte) {
    EXPECT_TRUE(WriteUninstaller());
    EXPECT_EQ(bench::FolderListing(toolFolder), std::vector<std::wstring>{L"Uninstall.exe"});
    EXPECT_EQ(bench::ReadFile(File()), kEmbedded);
    for (const size_t formerSize : {size_t{1}, size_t{100'000}}) {
        bench::WriteFile(File(), std::string(formerSize, 'x'));
        EXPECT_TRUE(WriteUninstaller());
        EXPECT_EQ(bench::ReadFile(File()), kEmbedded);
    }
    // Another name of the same file has the new content: nothing is renamed over the old file.
    const fs::path otherName = Outside() / L"other name";
    bench::WriteFile(File(), "old");
    ASSERT_TRUE(::CreateHardLinkW(otherName.c_str(), File().c_str(), nullptr));
    EXPECT_TRUE(WriteUninstaller());
    EXPECT_EQ(bench::ReadFile(otherName), kEmbedded);
}

TEST_F(WriteUninstallerTest, FailsOnARunningProgramAlsoByAnotherName) {
    const bench::RunningCopy tool(L"child_program.exe", toolExePath, L"sleep 60000");
    ASSERT_TRUE(tool.Process());
    ASSERT_TRUE(::CreateHardLinkW(File().c_str(), toolExePath.c_str(), nullptr));
    EXPECT_FALSE(WriteUninstaller());
    EXPECT_TRUE(bench::ReadFile(toolExePath) ==
                bench::ReadFile(bench::FolderOfThisProgram() / L"child_program.exe"));
}

TEST_F(WriteUninstallerTest, SucceedsWithoutWritingIfNothingIsEmbedded) {
    bench::WriteFile(File(), "old");
    const auto expectSuccess = [] {
        EXPECT_TRUE(WriteUninstaller());
        EXPECT_EQ(bench::ReadFile(File()), "old");
    };
    {
        const auto hook = Answering<decltype(&::FindResourceW)>("FindResourceW", HRSRC{});
        expectSuccess();
    }
    {
        const auto hook = Answering<decltype(&::LoadResource)>("LoadResource", HGLOBAL{});
        expectSuccess();
    }
    {
        const auto hook = Answering<decltype(&::SizeofResource)>("SizeofResource", DWORD{0});
        expectSuccess();
    }
    const auto hook = Answering<decltype(&::LockResource)>("LockResource", LPVOID{});
    expectSuccess();
}

}  // namespace
