#include "uninstaller/held_folder.h"

#include <gtest/gtest.h>

#include <string>

#include "bench_parts/scratch_folder.h"
#include "bench_parts/skipping.h"
#include "common/paths.h"

namespace {

namespace fs = std::filesystem;

class HoldFolderTest : public testing::Test {
protected:
    void SetUp() override {
        bench::WriteFile(folder_ / L"file", "x");
    }

    // Whether another program could rename the entry now.
    [[nodiscard]] static bool CanBeRenamed(const fs::path& entry) {
        const fs::path other = entry.native() + L"2";
        return ::MoveFileW(entry.c_str(), other.c_str()) &&
               ::MoveFileW(other.c_str(), entry.c_str());
    }

    bench::ScratchFolder scratch_;
    fs::path above_ = *WeaklyCanonical(scratch_.Path()) / L"above";
    fs::path folder_ = above_ / L"f\u00f6lder";
};

TEST_F(HoldFolderTest, KeepsTheFolderAtItsPlace) {
    KernelHandle held = HoldFolder(folder_);
    ASSERT_TRUE(held);
    EXPECT_FALSE(CanBeRenamed(folder_));
    EXPECT_TRUE(CanBeRenamed(folder_ / L"file"));
    held.reset();
    EXPECT_TRUE(CanBeRenamed(folder_));
}

TEST_F(HoldFolderTest, KeepsTheFoldersAboveAtTheirPlace) {
    const KernelHandle held = HoldFolder(folder_);
    SKIP_ON_WINE_WITHOUT(!CanBeRenamed(above_), "hold a folder above an open one");
}

TEST_F(HoldFolderTest, HoldsTheRootOfADrive) {
    EXPECT_TRUE(HoldFolder(L"C:\\"));
}

TEST_F(HoldFolderTest, HoldsNoLinkAndNothingBehindOne) {
    const fs::path link = scratch_.Path() / L"link";
    ASSERT_TRUE(bench::MakeFolderLink(link, above_));
    EXPECT_FALSE(HoldFolder(link));
    EXPECT_FALSE(HoldFolder(link / folder_.filename()));
}

TEST_F(HoldFolderTest, HoldsNothingThatCannotBeListed) {
    EXPECT_FALSE(HoldFolder(above_ / L"missing"));
    const bench::UnreadableFolder closed(folder_);
    ASSERT_TRUE(closed.Made());
    EXPECT_FALSE(HoldFolder(folder_));
}

}  // namespace
