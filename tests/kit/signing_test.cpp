#include "kit/signing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "bench_parts/call_hook.h"
#include "bench_parts/running_copy.h"
#include "bench_parts/scratch_folder.h"
#include "bench_parts/utf8.h"
#include "bench_parts/waiting.h"
#include "error_output.h"
#include "kit/errors.h"

namespace {

using testing::HasSubstr;

constexpr DWORD kLongMs = 60'000;

TEST(SigningCommandLine, PutsTheFileInPlaceAsItStands) {
    const std::wstring file = L"C:\\My Game\\{file}.exe";
    EXPECT_EQ(SigningCommandLine(L"sign \"{file}\" {file}", file),
              L"sign \"" + file + L"\" " + file);
    EXPECT_EQ(SigningCommandLine(L"{file", file), L"{file");
    EXPECT_EQ(SigningCommandLine(L"", file), L"");
}

class SigningCommand : public testing::Test {
protected:
    // Empty when the command succeeds, else the failure's message.
    std::string Run(const std::wstring& commandLine, DWORD timeLimitMs = kLongMs) {
        try {
            RunSigningCommand(commandLine, timeLimitMs, console_);
            return {};
        } catch (const OutsideFailure& failure) {
            return failure.what();
        }
    }

    [[nodiscard]] static std::wstring Child(const std::wstring& arguments) {
        const std::wstring program = bench::FolderOfThisProgram() / L"child_program.exe";
        return L"\"" + program + L"\" " + arguments;
    }

    Console console_;
};

TEST_F(SigningCommand, MustEndWithZero) {
    EXPECT_EQ(Run(Child(L"exit 0")), "");
    EXPECT_EQ(Run(Child(L"exit 1")), "the signing command failed with exit code 1");
    EXPECT_EQ(Run(Child(L"exit 256")), "the signing command failed with exit code 256");
    EXPECT_EQ(Run(Child(L"exit 0xC0000005")),
              "the signing command failed with exit code 3221225477");
}

TEST_F(SigningCommand, HasTheTimeThatIsDocumented) {
    EXPECT_EQ(kSigningTimeLimitMs, 600'000U);
}

TEST_F(SigningCommand, IsEndedAfterTheTimeLimit) {
    EXPECT_THAT(Run(Child(L"sleep 600000"), 1000), HasSubstr("took longer than 1 seconds"));
}

TEST_F(SigningCommand, HoldsNoFileOnceItIsEnded) {
    const bench::ScratchFolder scratch;
    const std::filesystem::path copy = scratch.Path() / L"copy.exe";
    bench::WriteFile(copy, bench::ReadFile(bench::FolderOfThisProgram() / L"child_program.exe"));
    // The system may take its time to end processes.
    std::thread ending;
    const auto jobHook = bench::HookCall<decltype(&::TerminateJobObject)>(
        L"kernel32.dll", "TerminateJobObject", [&ending](HANDLE job, UINT code) -> BOOL {
            HANDLE own = nullptr;
            ::DuplicateHandle(::GetCurrentProcess(), job, ::GetCurrentProcess(), &own, 0, FALSE,
                              DUPLICATE_SAME_ACCESS);
            ending = std::thread([own, code] {
                ::Sleep(500);
                bench::RealFunction<decltype(&::TerminateJobObject)>(
                    L"kernel32.dll", "TerminateJobObject")(own, code);
                ::CloseHandle(own);
            });
            return TRUE;
        });
    // The command that the shell starts ends together with it.
    EXPECT_THAT(Run(L"cmd.exe /c \"" + copy.native() + L"\" sleep 600000", 2000),
                HasSubstr("took longer"));
    EXPECT_TRUE(::DeleteFileW(copy.c_str())) << ::GetLastError();
    ending.join();
}

TEST_F(SigningCommand, IsNamedWhenItCannotBeStarted) {
    EXPECT_THAT(Run(L"no_such_program.exe x"), HasSubstr("no_such_program.exe x"));
    EXPECT_THAT(Run(L"no_such_program.exe x"), HasSubstr("(code 2)"));
}

TEST_F(SigningCommand, LeavesNoFileBehind) {
    const auto before = bench::FolderListing(std::filesystem::temp_directory_path());
    EXPECT_EQ(Run(Child(L"exit 0")), "");
    EXPECT_EQ(bench::FolderListing(std::filesystem::temp_directory_path()), before);
}

// What appears on standard error when a command prints `output`.
std::string ShownOf(const std::string& output) {
    const bench::ScratchFolder scratch;
    const std::filesystem::path file = scratch.Path() / L"output.txt";
    bench::WriteFile(file, output);
    const kit_test::ErrorOutput error(scratch.Path() / L"error.txt");
    Console console;
    RunSigningCommand(L"cmd.exe /c type \"" + file.native() + L"\"", kLongMs, console);
    return error.Text();
}

TEST_F(SigningCommand, ShowsTheEndOfALongOutput) {
    // Each letter has two bytes, one of which the limit cuts off.
    std::string lines;
    for (int i = 0; i < 2000; ++i) {
        lines += std::string(i % 2, 'x');
        for (int j = 0; j < 400; ++j) {
            lines += "\u00E4";
        }
        lines += "\r\n";
    }
    const std::string text = ShownOf(lines + "the reason\r\n");
    EXPECT_THAT(text.substr(0, 100), testing::StartsWith("(the beginning is left out)\n"));
    EXPECT_THAT(text.substr(text.size() - 100), testing::EndsWith("\u00E4\nthe reason\n"));
    EXPECT_GT(text.size(), 1'000'000U);
}

TEST_F(SigningCommand, ShowsTheEndOfASingleLongLine) {
    std::string line = "x";
    for (int i = 0; i < 700'000; ++i) {
        line += "\u00E4";
    }
    const std::string text = ShownOf(line + " the reason");
    EXPECT_THAT(text.substr(0, 100),
                testing::StartsWith("(the beginning is left out)\n\u00E4\u00E4"));
    EXPECT_THAT(text.substr(text.size() - 100), testing::EndsWith("\u00E4 the reason\n"));
}

TEST_F(SigningCommand, HasAnEmptyInput) {
    constexpr DWORD kEnoughMs = 10'000;
    // Asks for a line.
    EXPECT_THAT(Run(L"cmd.exe /c set /p line=", kEnoughMs), testing::Not(HasSubstr("took longer")));
}

// The last one: no command can be started in this process any more.
TEST_F(SigningCommand, IsEndedByAnInterruption) {
    const bench::ScratchFolder scratch;
    const std::filesystem::path copy = scratch.Path() / L"copy.exe";
    bench::WriteFile(copy, bench::ReadFile(bench::FolderOfThisProgram() / L"child_program.exe"));
    std::atomic<PHANDLER_ROUTINE> handler = nullptr;
    const auto hook = bench::HookCall<decltype(&::SetConsoleCtrlHandler)>(
        L"kernel32.dll", "SetConsoleCtrlHandler", [&](PHANDLER_ROUTINE routine, BOOL) -> BOOL {
            handler = routine;
            return TRUE;
        });
    // Waits for the end of the process once the interruption has begun.
    std::thread([command = L"\"" + copy.native() + L"\" sleep 600000"] {
        Console console;
        RunSigningCommand(command, kLongMs, console);
    }).detach();
    ASSERT_TRUE(bench::Await([&] { return handler != nullptr; }));
    EXPECT_FALSE(handler.load()(CTRL_C_EVENT));
    EXPECT_TRUE(::DeleteFileW(copy.c_str())) << ::GetLastError();
}

}  // namespace
