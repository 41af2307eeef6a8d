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
    fs::path above_ = fs::path(*WeaklyCanonical(scratch_.Path())) / L"above";
    fs::path folder_ = above_ / L"f\u00f6lder";
};

TEST_F(HoldFolderTest, KeepsTheFolderInPlace) {
    KernelHandle held = HoldFolder(folder_);
    ASSERT_TRUE(held);
    EXPECT_FALSE(CanBeRenamed(folder_));
    EXPECT_TRUE(CanBeRenamed(folder_ / L"file"));
    held.reset();
    EXPECT_TRUE(CanBeRenamed(folder_));
    EXPECT_TRUE(HoldFolder(L"C:\\"));
}

TEST_F(HoldFolderTest, KeepsTheFoldersAboveInPlace) {
    const KernelHandle held = HoldFolder(folder_);
    SKIP_ON_WINE_WITHOUT(!CanBeRenamed(above_), "hold a folder above an open one");
}

TEST_F(HoldFolderTest, RefusesLinksAndWhatCannotBeListed) {
    const fs::path link = scratch_.Path() / L"link";
    ASSERT_TRUE(bench::MakeFolderLink(link, above_));
    const fs::path unreadable = above_ / L"closed";
    bench::WriteFile(unreadable / L"file", "x");
    const bench::UnreadableFolder closed(unreadable);
    ASSERT_TRUE(closed.Made());
    for (const fs::path& refused :
         {link, link / folder_.filename(), above_ / L"missing", unreadable}) {
        EXPECT_FALSE(HoldFolder(refused)) << refused;
    }
}

}  // namespace
