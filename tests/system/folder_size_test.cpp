#include "system/folder_size.h"

#include <gtest/gtest.h>

#include <string>

#include "bench_parts/current_folder.h"
#include "bench_parts/file_hooks.h"
#include "bench_parts/scratch_folder.h"
#include "bench_parts/skipping.h"

namespace {

namespace fs = std::filesystem;

class FolderSize : public testing::Test {
protected:
    // A file of `size` bytes.
    void Put(const fs::path& name, size_t size) const {
        bench::WriteFile(root_ / name, std::string(size, 'x'));
    }

    bench::ScratchFolder scratch_;
    fs::path root_ = scratch_.Path() / L"root";
};

TEST_F(FolderSize, IsTheSumOfAllFilesBelow) {
    Put(L"a", 1000);
    Put(L"empty", 0);
    Put(L"sub\\\u00fc\\b", 24);
    Put(L"sub\\c", 1);
    Put(L"hidden", 2);
    Put(L"read-only", 3);
    Put(L"open", 4);
    fs::create_directories(root_ / L"no files" / L"here");
    ::SetFileAttributesW((root_ / L"hidden").c_str(),
                         FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
    bench::SetReadOnly(root_ / L"read-only", true);
    const bench::OpenElsewhere open(root_ / L"open", 0);
    EXPECT_EQ(FolderSizeBytes(root_), 1034U);
    bench::MakeSparseFile(root_ / L"large", (uint64_t{5} << 30) + 1);
    bench::MakeSparseFile(root_ / L"larger", uint64_t{5} << 30);
    EXPECT_EQ(FolderSizeBytes(root_), 1034U + (uint64_t{10} << 30) + 1);
}

TEST_F(FolderSize, IsZeroForWhatIsNoFolder) {
    Put(L"file", 3);
    EXPECT_EQ(FolderSizeBytes(root_ / L"missing"), 0U);
    EXPECT_EQ(FolderSizeBytes(root_ / L"file"), 0U);
    const bench::CurrentFolder current(root_);
    EXPECT_EQ(FolderSizeBytes(fs::path()), 0U);
}

TEST_F(FolderSize, OfABareDriveIsThatOfItsRoot) {
    // The current folder is empty, the drive is not.
    const bench::CurrentFolder current(scratch_.Path());
    EXPECT_GT(FolderSizeBytes(scratch_.Path().native().substr(0, 2)), 0U);
}

TEST_F(FolderSize, CountsFileLinksAndHardLinksWithTheFilesSize) {
    bench::WriteFile(scratch_.Path() / L"large", std::string(5000, 'x'));
    Put(L"one name", 3);
    ASSERT_TRUE(
        ::CreateHardLinkW((root_ / L"other name").c_str(), (root_ / L"one name").c_str(), nullptr));
    Put(L"one name", 5);
    EXPECT_EQ(FolderSizeBytes(root_), 10U);
    SKIP_ON_WINDOWS_WITHOUT(
        bench::MakeFileLink(root_ / L"link", scratch_.Path() / L"large") &&
            bench::MakeFileLink(root_ / L"dangling", scratch_.Path() / L"missing"),
        "links for this user");
    EXPECT_EQ(FolderSizeBytes(root_), 5010U);
    // Wine lists file links as files, Windows like this.
    const bench::ListingHook hook([](WIN32_FIND_DATAW& found) -> DWORD {
        if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
            found.dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
            found.dwReserved0 = IO_REPARSE_TAG_SYMLINK;
        }
        return ERROR_SUCCESS;
    });
    EXPECT_EQ(FolderSizeBytes(root_), 5010U);
}

}  // namespace
