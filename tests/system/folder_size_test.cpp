#include "system/folder_size.h"

#include <gtest/gtest.h>

#include <string>

#include "bench_parts/current_folder.h"
#include "bench_parts/scratch_folder.h"
#include "bench_parts/skipping.h"

namespace {

namespace fs = std::filesystem;
using bench::ScratchFolder;

TEST(FolderSizeBytes, AddsUpAllFilesBelow) {
    const ScratchFolder root;
    bench::WriteFile(root.Path() / L"a", std::string(1000, 'a'));
    bench::WriteFile(root.Path() / L"empty", "");
    bench::WriteFile(root.Path() / L"sub" / L"\u00fc" / L"b", std::string(24, 'b'));
    bench::WriteFile(root.Path() / L"sub" / L"c", "c");
    fs::create_directories(root.Path() / L"no files" / L"here");
    EXPECT_EQ(FolderSizeBytes(root.Path()), 1025U);
}

TEST(FolderSizeBytes, CountsHiddenAndReadOnlyFiles) {
    const ScratchFolder root;
    bench::WriteFile(root.Path() / L"hidden", "12");
    bench::WriteFile(root.Path() / L"read-only", "345");
    ::SetFileAttributesW((root.Path() / L"hidden").c_str(),
                         FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
    bench::SetReadOnly(root.Path() / L"read-only", true);
    EXPECT_EQ(FolderSizeBytes(root.Path()), 5U);
}

TEST(FolderSizeBytes, CountsBeyondFourGibibytes) {
    const ScratchFolder root;
    bench::MakeSparseFile(root.Path() / L"a", (uint64_t{5} << 30) + 1);
    bench::MakeSparseFile(root.Path() / L"b", uint64_t{5} << 30);
    EXPECT_EQ(FolderSizeBytes(root.Path()), (uint64_t{10} << 30) + 1);
}

TEST(FolderSizeBytes, CountsAFileThatIsOpenElsewhere) {
    const ScratchFolder root;
    bench::WriteFile(root.Path() / L"open", "123");
    const bench::OpenElsewhere open(root.Path() / L"open", 0);
    EXPECT_EQ(FolderSizeBytes(root.Path()), 3U);
}

TEST(FolderSizeBytes, IsZeroForWhatIsNoReadableFolder) {
    const ScratchFolder root;
    bench::WriteFile(root.Path() / L"file", "123");
    EXPECT_EQ(FolderSizeBytes(root.Path() / L"missing"), 0U);
    EXPECT_EQ(FolderSizeBytes(root.Path() / L"file"), 0U);
    const bench::UnreadableFolder closed(root.Path());
    SKIP_ON_WINDOWS_WITHOUT(closed.Made(), "a way to make a folder unreadable");
    EXPECT_EQ(FolderSizeBytes(root.Path()), 0U);
}

TEST(FolderSizeBytes, DoesNotTakeTheCurrentFolderForNone) {
    const ScratchFolder root;
    bench::WriteFile(root.Path() / L"file", "123");
    const bench::CurrentFolder current(root.Path());
    EXPECT_EQ(FolderSizeBytes(fs::path()), 0U);
}

TEST(FolderSizeBytes, TakesABareDriveForItsRoot) {
    const bench::ScratchFolder scratch;
    const bench::CurrentFolder current(scratch.Path());
    const std::wstring drive = scratch.Path().native().substr(0, 2);
    // The current folder is empty, the drive is not.
    EXPECT_GT(FolderSizeBytes(drive), 0U);
}

TEST(FolderSizeBytes, LeavesOutAnUnreadableFolderAndGoesOn) {
    const ScratchFolder root;
    bench::WriteFile(root.Path() / L"a" / L"file", "1");
    bench::WriteFile(root.Path() / L"closed" / L"file", "23");
    bench::WriteFile(root.Path() / L"z" / L"file", "456");
    const bench::UnreadableFolder closed(root.Path() / L"closed");
    SKIP_ON_WINDOWS_WITHOUT(closed.Made(), "a way to make a folder unreadable");
    EXPECT_EQ(FolderSizeBytes(root.Path()), 4U);
}

TEST(FolderSizeBytes, DoesNotEnterFolderLinks) {
    const ScratchFolder root;
    const ScratchFolder elsewhere;
    bench::WriteFile(elsewhere.Path() / L"large", std::string(5000, 'x'));
    bench::WriteFile(root.Path() / L"file", "1");
    SKIP_ON_WINDOWS_WITHOUT(
        bench::MakeFolderLink(root.Path() / L"link", elsewhere.Path()) &&
            bench::MakeFolderLink(root.Path() / L"loop", root.Path()) &&
            bench::MakeFolderLink(root.Path() / L"dangling", elsewhere.Path() / L"missing"),
        "links for this user");
    EXPECT_EQ(FolderSizeBytes(root.Path()), 1U);
}

TEST(FolderSizeBytes, EntersALinkThatIsTheRoot) {
    const ScratchFolder root;
    const ScratchFolder elsewhere;
    bench::WriteFile(elsewhere.Path() / L"file", "123");
    SKIP_ON_WINDOWS_WITHOUT(bench::MakeFolderLink(root.Path() / L"link", elsewhere.Path()),
                            "links for this user");
    EXPECT_EQ(FolderSizeBytes(root.Path() / L"link"), 3U);
}

TEST(FolderSizeBytes, CountsAFileLinkWithItsTargetsSize) {
    const ScratchFolder root;
    const ScratchFolder elsewhere;
    bench::WriteFile(elsewhere.Path() / L"large", std::string(5000, 'x'));
    SKIP_ON_WINDOWS_WITHOUT(
        bench::MakeFileLink(root.Path() / L"link", elsewhere.Path() / L"large") &&
            bench::MakeFileLink(root.Path() / L"dangling", elsewhere.Path() / L"missing"),
        "links for this user");
    EXPECT_EQ(FolderSizeBytes(root.Path()), 5000U);
}

TEST(FolderSizeBytes, CountsEachNameOfAFile) {
    const ScratchFolder root;
    bench::WriteFile(root.Path() / L"one name", "123");
    ASSERT_TRUE(::CreateHardLinkW((root.Path() / L"other name").c_str(),
                                  (root.Path() / L"one name").c_str(), nullptr));
    bench::WriteFile(root.Path() / L"one name", "12345");
    EXPECT_EQ(FolderSizeBytes(root.Path()), 10U);
}

}  // namespace
