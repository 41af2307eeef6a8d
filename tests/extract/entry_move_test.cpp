// Moving one entry into a folder: by renaming, and by copying where that is refused.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "bench_parts/file_hooks.h"
#include "bench_parts/scratch_folder.h"
#include "extract/flattening_fixture.h"
#include "extract/folder_flattening.h"

namespace {

using bench::Flattening;
using bench::FolderListing;
using bench::OpenElsewhere;
using bench::ReadFile;
using bench::WriteFile;
using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = std::filesystem;

// MoveEntryInto(from\NAME, into).
class MoveEntryIntoTest : public Flattening {
protected:
    MoveEntryIntoTest() {
        fs::create_directories(From());
        fs::create_directories(Into());
    }
    fs::path From() const {
        return Beside(L"from");
    }
    fs::path Into() const {
        return Beside(L"into");
    }
    // The error. A success must leave none.
    DWORD Move(const wchar_t* name) const {
        DWORD error = ERROR_GEN_FAILURE;
        const bool succeeded = MoveEntryInto(From() / name, Into(), error);
        EXPECT_EQ(succeeded, error == ERROR_SUCCESS);
        return error;
    }
};

TEST_F(MoveEntryIntoTest, ReplacesWhatIsThere) {
    struct Row {
        std::vector<std::wstring> entries;  // Below "from".
        std::vector<std::wstring> former;   // Below "into".
        std::vector<std::wstring> expected;
    };
    const Row rows[] = {
        {{L"Data"}, {}, {L"Data"}},
        {{L"Data"}, {L"Data"}, {L"Data"}},
        {{L"Data"}, {L"Data/old"}, {L"Data"}},
        {{L"Data/sub/new"}, {}, {L"Data/", L"Data/sub/", L"Data/sub/new"}},
        {{L"Data/new"}, {L"Data"}, {L"Data/", L"Data/new"}},
        {{L"Data/new"}, {L"Data/sub/old"}, {L"Data/", L"Data/new"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.entries) + testing::PrintToString(row.former));
        for (const std::wstring& entry : row.entries) {
            WriteFile(From() / entry, "new");
        }
        for (const std::wstring& entry : row.former) {
            WriteFile(Into() / entry, "the old one");
            bench::SetReadOnly(Into() / entry, true);
        }
        EXPECT_EQ(Move(L"Data"), DWORD{ERROR_SUCCESS});
        EXPECT_THAT(FolderListing(From()), IsEmpty());
        EXPECT_EQ(FolderListing(Into()), row.expected);
        EXPECT_EQ(ReadFile(Into() / row.expected.back()), "new");
        fs::remove_all(Into() / L"Data");
    }
}

TEST_F(MoveEntryIntoTest, FailsForAMissingEntry) {
    EXPECT_EQ(Move(L"missing"), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST_F(MoveEntryIntoTest, FailsForATargetInUse) {
    WriteFile(From() / L"a.dat", "new");
    WriteFile(Into() / L"a.dat", "old");
    const OpenElsewhere lock(Into() / L"a.dat", FILE_SHARE_READ);
    EXPECT_EQ(Move(L"a.dat"), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(ReadFile(From() / L"a.dat"), "new");
    EXPECT_EQ(ReadFile(Into() / L"a.dat"), "old");
}

TEST_F(MoveEntryIntoTest, FailsWhenTheCopiedSourceCannotBeRemoved) {
    WriteFile(From() / L"a.dat", "a");
    const OpenElsewhere reader(From() / L"a.dat", FILE_SHARE_READ);
    EXPECT_EQ(Move(L"a.dat"), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(ReadFile(From() / L"a.dat"), "a");
    EXPECT_EQ(ReadFile(Into() / L"a.dat"), "a");
}

BOOL FailWith(DWORD error) {
    ::SetLastError(error);
    return FALSE;
}

auto RefuseToMove() {
    return bench::HookCall<decltype(&::MoveFileExW)>(
        bench::kKernel32, "MoveFileExW", [](auto...) { return FailWith(ERROR_NOT_SAME_DEVICE); });
}

// As between two volumes, where folders cannot be renamed.
class MoveByCopyTest : public MoveEntryIntoTest {
    decltype(RefuseToMove()) hook_ = RefuseToMove();
};

TEST_F(MoveByCopyTest, CopiesFilesAndFoldersAndRemovesTheSource) {
    constexpr std::uint64_t kTime = 133'000'000'000'000'001;
    WriteFile(From() / L"a.dat", "a");
    bench::SetWriteTime(From() / L"a.dat", kTime);
    bench::SetReadOnly(From() / L"a.dat", true);
    WriteFile(From() / L"Data" / L"sub" / L"deep" / L"b.dat", "b");
    WriteFile(From() / L"Data" / L"c.dat", "");
    fs::create_directories(From() / L"Data" / L"empty");
    EXPECT_EQ(Move(L"a.dat"), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Move(L"Data"), DWORD{ERROR_SUCCESS});
    EXPECT_THAT(FolderListing(From()), IsEmpty());
    EXPECT_THAT(FolderListing(Into()),
                ElementsAre(L"Data/", L"Data/c.dat", L"Data/empty/", L"Data/sub/",
                            L"Data/sub/deep/", L"Data/sub/deep/b.dat", L"a.dat"));
    EXPECT_EQ(ReadFile(Into() / L"Data" / L"sub" / L"deep" / L"b.dat"), "b");
    EXPECT_EQ(bench::GetWriteTime(Into() / L"a.dat"), kTime);
}

TEST_F(MoveByCopyTest, CopiesWhatALinkLeadsTo) {
    WriteFile(Beside(L"elsewhere") / L"x.dat", "x");
    fs::create_directories(From() / L"Data");
    ASSERT_TRUE(bench::MakeFolderLink(From() / L"Data" / L"link", Beside(L"elsewhere")));
    DWORD error = ERROR_SUCCESS;
    // Removing the link itself may fail, which does not matter here.
    static_cast<void>(MoveEntryInto(From() / L"Data", Into(), error));
    EXPECT_THAT(FolderListing(Into()), ElementsAre(L"Data/", L"Data/link/", L"Data/link/x.dat"));
    EXPECT_EQ(ReadFile(Beside(L"elsewhere") / L"x.dat"), "x");
}

TEST_F(MoveByCopyTest, CopiesOverFilesThatCouldNotBeRemoved) {
    WriteFile(From() / L"Data" / L"a.dat", "new");
    WriteFile(Into() / L"Data" / L"kept" / L"b.dat", "b");
    // The open file and the folders above it cannot be removed, its neighbors can.
    const OpenElsewhere lock(Into() / L"Data" / L"kept" / L"b.dat", FILE_SHARE_READ);
    WriteFile(Into() / L"Data" / L"a.dat", "old");
    EXPECT_EQ(Move(L"Data"), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(ReadFile(Into() / L"Data" / L"a.dat"), "new");
    EXPECT_EQ(ReadFile(Into() / L"Data" / L"kept" / L"b.dat"), "b");
}

// A folder whose attributes cannot be read is not copied; if it is missing, the copy reports that.
TEST_F(MoveByCopyTest, LooksAtTheFolderAfreshBeforeItCopies) {
    const auto real = bench::RealFunction<decltype(&::GetFileAttributesW)>(bench::kKernel32,
                                                                           "GetFileAttributesW");
    for (const DWORD refusal : {DWORD{ERROR_ACCESS_DENIED}, DWORD{ERROR_FILE_NOT_FOUND}}) {
        WriteFile(From() / L"Data" / L"a.dat", "a");
        DWORD error = ERROR_SUCCESS;
        {
            const auto hook = bench::HookCall<decltype(&::GetFileAttributesW)>(
                bench::kKernel32, "GetFileAttributesW", [&](LPCWSTR path) {
                    const bool isSource = std::wstring_view(path).ends_with(L"\\from\\Data");
                    return isSource ? (FailWith(refusal), INVALID_FILE_ATTRIBUTES) : real(path);
                });
            static_cast<void>(MoveEntryInto(From() / L"Data", Into(), error));  // See `error`.
        }
        const bool isDenied = refusal == ERROR_ACCESS_DENIED;
        EXPECT_EQ(error == refusal, isDenied);
        EXPECT_EQ(fs::exists(Into() / L"Data" / L"a.dat"), !isDenied);
    }
}

}  // namespace
