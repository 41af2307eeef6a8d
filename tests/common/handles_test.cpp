#include "common/handles.h"

#include <gtest/gtest.h>

#include "bench_parts/scratch_folder.h"

namespace {

TEST(AdoptHandle, MakesTheInvalidValueNull) {
    EXPECT_FALSE(AdoptHandle<KernelHandle>(INVALID_HANDLE_VALUE));
    EXPECT_FALSE(AdoptHandle<KernelHandle>(nullptr));
    EXPECT_FALSE(AdoptHandle<FindHandle>(INVALID_HANDLE_VALUE));
}

TEST(AdoptHandle, ClosesTheHandleAtTheEnd) {
    const bench::ScratchFolder scratch;
    const std::filesystem::path folder = scratch.Path() / L"folder";
    const std::filesystem::path file = folder / L"file";
    ASSERT_TRUE(::CreateDirectoryW(folder.c_str(), nullptr));
    {
        const auto opened =
            AdoptHandle<KernelHandle>(::CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr,
                                                    CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
        ASSERT_TRUE(opened);
        EXPECT_FALSE(::DeleteFileW(file.c_str()));
        WIN32_FIND_DATAW found{};
        ASSERT_TRUE(AdoptHandle<FindHandle>(::FindFirstFileW((folder / L"*").c_str(), &found)));
    }
    EXPECT_TRUE(::DeleteFileW(file.c_str()));
    EXPECT_TRUE(::RemoveDirectoryW(folder.c_str()));
}

}  // namespace
