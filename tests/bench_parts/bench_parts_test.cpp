// What no test of the program would notice if it were missing from the bench.

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <process.h>

#include <memory>

#include "bench_parts/running_copy.h"
#include "bench_parts/scratch_folder.h"
#include "bench_parts/skipping.h"

namespace {

namespace fs = std::filesystem;
using bench::ScratchFolder;

// Otherwise it would empty that drive.
TEST(ScratchFolder, RemovesAnEntryNamedLikeADrive) {
    SKIP_ON_WINDOWS("Windows has no such names");
    fs::path folder;
    {
        const ScratchFolder scratch;
        folder = scratch.Path();
        // A drive that there is not.
        ASSERT_TRUE(::CreateDirectoryW((folder.native() + L"\\q:").c_str(), nullptr));
    }
    EXPECT_FALSE(fs::exists(folder));
}

TEST(ScratchFolder, FailsTheTestWhenSomethingIsStillOpen) {
    auto scratch = std::make_unique<ScratchFolder>();
    const fs::path folder = scratch->Path();
    bench::WriteFile(folder / L"open.txt", "");
    bench::OpenElsewhere open(folder / L"open.txt", FILE_SHARE_READ);
    EXPECT_NONFATAL_FAILURE(scratch.reset(), "cannot be removed");
    open.Close();
    fs::remove_all(folder);
}

// Each must end badly, so they are disabled: only bench_self_check runs them, one at a time, and
// expects run_in_prefix to notice.

TEST(DISABLED_BadEnd, Failure) {
    ADD_FAILURE();
}

TEST(DISABLED_BadEnd, Crash) {
    volatile int* const nowhere = nullptr;
    *nowhere = 1;
}

TEST(DISABLED_BadEnd, ExitCodeZeroTooEarly) {
    ::ExitProcess(0);
}

TEST(DISABLED_BadEnd, Hang) {
    ::Sleep(60'000);
}

TEST(DISABLED_BadEnd, SkipWithoutAReason) {
    GTEST_SKIP() << "This machine cannot do it";
}

TEST(DISABLED_BadEnd, ProcessLeftBehind) {
    const fs::path program = bench::FolderOfThisProgram() / L"child_program.exe";
    EXPECT_NE(::_wspawnl(_P_NOWAIT, program.c_str(), L"child", L"sleep", L"60000", nullptr), -1);
}

}  // namespace
