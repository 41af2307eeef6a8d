#include "kit/input_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "bench_parts/call_hook.h"
#include "bench_parts/file_hooks.h"
#include "bench_parts/scratch_folder.h"
#include "kit/commands.h"

namespace {

namespace fs = std::filesystem;

using bench::FolderListing;
using bench::ScratchFolder;
using bench::WriteFile;
using testing::IsEmpty;

// An interruption removes a file that a signing command has just changed.
TEST(ReadInputFile, LetsTheFileBeDeletedMeanwhile) {
    const ScratchFolder scratch;
    const fs::path path = scratch.Path() / L"a.exe";
    WriteFile(path, "signed");
    using Read = decltype(&::ReadFile);
    const auto read = bench::RealFunction<Read>(L"kernel32.dll", "ReadFile");
    const auto hook =
        bench::HookCall<Read>(L"kernel32.dll", "ReadFile", [&](auto... arguments) -> BOOL {
            EXPECT_TRUE(::DeleteFileW(path.c_str()));
            return read(arguments...);
        });
    EXPECT_EQ(ReadInputFile(path, 6), "signed");
    EXPECT_THAT(FolderListing(scratch.Path()), IsEmpty());
}

TEST(ReadInputFile, NamesTheLimitThatAFileExceeds) {
    const ScratchFolder scratch;
    const fs::path path = scratch.Path() / L"a.txt";
    bench::MakeSparseFile(path, 0x300001);
    EXPECT_THROW(static_cast<void>(ReadInputFile(path, 0x300000)), InputTooLarge);
    try {
        static_cast<void>(ReadInputFile(path, 0x300000));
    } catch (const OutsideFailure& failure) {
        EXPECT_THAT(failure.what(), testing::HasSubstr("a.txt, which is larger than 3 MiB: "));
    }
    EXPECT_EQ(ReadInputFile(path, 0x300001)->size(), 0x300001U);
    EXPECT_FALSE(ReadInputFile(scratch.Path() / L"missing", 1));
}

// Otherwise its facts could be those of two files.
TEST(RunShow, OpensTheExeOnce) {
    const ScratchFolder scratch;
    const fs::path path = scratch.Path() / L"a.exe";
    WriteFile(path, "no program");
    int opened = 0;
    const auto hook = bench::HookOpen([&](const std::wstring& file) {
        opened += file.ends_with(L"a.exe") ? 1 : 0;
        return DWORD{ERROR_SUCCESS};
    });
    Console console;
    EXPECT_EQ(RunShow({{}, path.native(), L"", false}, console), ExitCode::Refused);
    EXPECT_EQ(opened, 1);
}

}  // namespace
