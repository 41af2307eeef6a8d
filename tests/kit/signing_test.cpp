#include "kit/signing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "bench_parts/running_copy.h"
#include "bench_parts/scratch_folder.h"
#include "bench_parts/utf8.h"
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

TEST_F(SigningCommand, IsEndedAfterTheTimeLimit) {
    EXPECT_THAT(Run(Child(L"sleep 600000"), 1000), HasSubstr("took longer than 1 seconds"));
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

TEST_F(SigningCommand, HasAnEmptyInput) {
    constexpr DWORD kEnoughMs = 10'000;
    // Asks for a line.
    EXPECT_THAT(Run(L"cmd.exe /c set /p line=", kEnoughMs), testing::Not(HasSubstr("took longer")));
}

}  // namespace
