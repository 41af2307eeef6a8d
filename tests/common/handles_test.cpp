#include "common/handles.h"

#include <gtest/gtest.h>

#include "bench_parts/scratch_folder.h"

namespace {

TEST(AdoptHandle, TurnsTheInvalidValueIntoNone) {
    EXPECT_FALSE(AdoptHandle<KernelHandle>(INVALID_HANDLE_VALUE));
    EXPECT_FALSE(AdoptHandle<KernelHandle>(nullptr));
    EXPECT_FALSE(AdoptHandle<FindHandle>(INVALID_HANDLE_VALUE));
}

TEST(KernelHandle, ClosesWhatItOwns) {
    const bench::ScratchFolder scratch;
    const std::filesystem::path path = scratch.Path() / L"file";
    {
        const auto file =
            AdoptHandle<KernelHandle>(::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr,
                                                    CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
        ASSERT_TRUE(file);
        EXPECT_FALSE(::DeleteFileW(path.c_str()));
    }
    EXPECT_TRUE(::DeleteFileW(path.c_str()));
}

TEST(FindHandle, ClosesWhatItOwns) {
    const bench::ScratchFolder scratch;
    const std::filesystem::path folder = scratch.Path() / L"folder";
    ASSERT_TRUE(::CreateDirectoryW(folder.c_str(), nullptr));
    {
        WIN32_FIND_DATAW found{};
        const auto listing =
            AdoptHandle<FindHandle>(::FindFirstFileW((folder / L"*").c_str(), &found));
        ASSERT_TRUE(listing);
    }
    EXPECT_TRUE(::RemoveDirectoryW(folder.c_str()));
}

}  // namespace
