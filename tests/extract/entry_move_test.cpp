// Moving one entry into a folder: by renaming, and by copying where that is refused.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string_view>

#include "bench_parts/import_hook.h"
#include "bench_parts/scratch_folder.h"
#include "extract/flattening_fixture.h"
#include "extract/folder_flattening.h"

namespace {

using bench::FolderListing;
using bench::ImportHook;
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
    // The error; with a success it must be none.
    DWORD Move(const wchar_t* name) const {
        DWORD error = ERROR_GEN_FAILURE;
        const bool succeeded = MoveEntryInto(From() / name, Into(), error);
        EXPECT_EQ(succeeded, error == ERROR_SUCCESS);
        return error;
    }
};

TEST_F(MoveEntryIntoTest, MovesAFileUnderItsName) {
    WriteFile(From() / L"a.dat", "a");
    EXPECT_EQ(Move(L"a.dat"), DWORD{ERROR_SUCCESS});
    EXPECT_THAT(FolderListing(From()), IsEmpty());
    EXPECT_EQ(ReadFile(Into() / L"a.dat"), "a");
}

TEST_F(MoveEntryIntoTest, MovesAFolderWithItsContent) {
    WriteFile(From() / L"Data" / L"sub" / L"b.dat", "b");
    EXPECT_EQ(Move(L"Data"), DWORD{ERROR_SUCCESS});
    EXPECT_THAT(FolderListing(From()), IsEmpty());
    EXPECT_THAT(FolderListing(Into()), ElementsAre(L"Data/", L"Data/sub/", L"Data/sub/b.dat"));
}

TEST_F(MoveEntryIntoTest, ReplacesAFile) {
    WriteFile(From() / L"a.dat", "new");
    WriteFile(Into() / L"a.dat", "the old one");
    bench::SetReadOnly(Into() / L"a.dat", true);
    EXPECT_EQ(Move(L"a.dat"), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(ReadFile(Into() / L"a.dat"), "new");
}

TEST_F(MoveEntryIntoTest, ReplacesAFolderByAFolderWithoutMixingThem) {
    WriteFile(From() / L"Data" / L"new.dat", "new");
    WriteFile(Into() / L"Data" / L"sub" / L"old.dat", "old");
    EXPECT_EQ(Move(L"Data"), DWORD{ERROR_SUCCESS});
    EXPECT_THAT(FolderListing(Into()), ElementsAre(L"Data/", L"Data/new.dat"));
}

TEST_F(MoveEntryIntoTest, ReplacesAFolderByAFile) {
    WriteFile(From() / L"Data", "file");
    WriteFile(Into() / L"Data" / L"old.dat", "old");
    EXPECT_EQ(Move(L"Data"), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(ReadFile(Into() / L"Data"), "file");
}

TEST_F(MoveEntryIntoTest, ReplacesAFileByAFolder) {
    WriteFile(From() / L"Data" / L"new.dat", "new");
    WriteFile(Into() / L"Data", "file");
    EXPECT_EQ(Move(L"Data"), DWORD{ERROR_SUCCESS});
    EXPECT_THAT(FolderListing(Into()), ElementsAre(L"Data/", L"Data/new.dat"));
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

// As between two volumes, where folders cannot be renamed.
BOOL WINAPI RefuseToMove(LPCWSTR, LPCWSTR, DWORD) {
    ::SetLastError(ERROR_NOT_SAME_DEVICE);
    return FALSE;
}

class MoveByCopyTest : public MoveEntryIntoTest {
protected:
    MoveByCopyTest()
        : hook_(L"kernel32.dll", "MoveFileExW", reinterpret_cast<void*>(&RefuseToMove)) {}
    void SetUp() override {
        ASSERT_TRUE(hook_.Installed());
    }

private:
    ImportHook hook_;
};

TEST_F(MoveByCopyTest, CopiesAFileAndRemovesTheSource) {
    constexpr std::uint64_t kTime = 133'000'000'000'000'001;
    WriteFile(From() / L"a.dat", "a");
    bench::SetWriteTime(From() / L"a.dat", kTime);
    bench::SetReadOnly(From() / L"a.dat", true);
    EXPECT_EQ(Move(L"a.dat"), DWORD{ERROR_SUCCESS});
    EXPECT_THAT(FolderListing(From()), IsEmpty());
    EXPECT_EQ(ReadFile(Into() / L"a.dat"), "a");
    EXPECT_EQ(bench::GetWriteTime(Into() / L"a.dat"), kTime);
}

TEST_F(MoveByCopyTest, CopiesAFolderWithEverythingInIt) {
    WriteFile(From() / L"Data" / L"a.dat", "a");
    WriteFile(From() / L"Data" / L"sub" / L"deep" / L"b.dat", "b");
    WriteFile(From() / L"Data" / L"c.dat", "");
    fs::create_directories(From() / L"Data" / L"empty");
    EXPECT_EQ(Move(L"Data"), DWORD{ERROR_SUCCESS});
    EXPECT_THAT(FolderListing(From()), IsEmpty());
    EXPECT_THAT(FolderListing(Into()),
                ElementsAre(L"Data/", L"Data/a.dat", L"Data/c.dat", L"Data/empty/", L"Data/sub/",
                            L"Data/sub/deep/", L"Data/sub/deep/b.dat"));
    EXPECT_EQ(ReadFile(Into() / L"Data" / L"sub" / L"deep" / L"b.dat"), "b");
}

TEST_F(MoveByCopyTest, CopiesWhatALinkLeadsTo) {
    WriteFile(Beside(L"elsewhere") / L"x.dat", "x");
    fs::create_directories(From() / L"Data");
    ASSERT_TRUE(bench::MakeFolderLink(From() / L"Data" / L"link", Beside(L"elsewhere")));
    // Whether the link itself can be removed is not the matter here.
    DWORD error = ERROR_SUCCESS;
    MoveEntryInto(From() / L"Data", Into(), error);
    EXPECT_THAT(FolderListing(Into()), ElementsAre(L"Data/", L"Data/link/", L"Data/link/x.dat"));
    EXPECT_EQ(ReadFile(Beside(L"elsewhere") / L"x.dat"), "x");
}

TEST_F(MoveByCopyTest, CopiesOverFilesThatCouldNotBeRemoved) {
    WriteFile(From() / L"Data" / L"a.dat", "new");
    WriteFile(Into() / L"Data" / L"kept" / L"b.dat", "b");
    // Whoever has this open keeps it and the folders above it, but not its neighbors.
    const OpenElsewhere lock(Into() / L"Data" / L"kept" / L"b.dat", FILE_SHARE_READ);
    WriteFile(Into() / L"Data" / L"a.dat", "old");
    EXPECT_EQ(Move(L"Data"), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(ReadFile(Into() / L"Data" / L"a.dat"), "new");
    EXPECT_EQ(ReadFile(Into() / L"Data" / L"kept" / L"b.dat"), "b");
}

TEST_F(MoveByCopyTest, FailsForAFolderWhereAFileCouldNotBeRemoved) {
    WriteFile(From() / L"Data" / L"a.dat", "a");
    WriteFile(Into() / L"Data", "file");
    const OpenElsewhere lock(Into() / L"Data", FILE_SHARE_READ);
    EXPECT_EQ(Move(L"Data"), DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_EQ(ReadFile(From() / L"Data" / L"a.dat"), "a");
}

decltype(&::CopyFileW) realCopyFile;

BOOL WINAPI FailForOneFile(LPCWSTR source, LPCWSTR target, BOOL failIfExists) {
    if (std::wstring_view(source).ends_with(L"\\bad.dat")) {
        ::SetLastError(ERROR_CRC);
        return FALSE;
    }
    return realCopyFile(source, target, failIfExists);
}

TEST_F(MoveByCopyTest, FailsAndKeepsTheSourceWhenAFileInTheFolderCannotBeCopied) {
    WriteFile(From() / L"Data" / L"good.dat", "good");
    WriteFile(From() / L"Data" / L"sub" / L"bad.dat", "bad");
    WriteFile(From() / L"Data" / L"sub" / L"deep" / L"good.dat", "good");
    const ImportHook hook(L"kernel32.dll", "CopyFileW", reinterpret_cast<void*>(&FailForOneFile));
    ASSERT_TRUE(hook.Installed());
    realCopyFile = hook.Original<decltype(&::CopyFileW)>();
    EXPECT_EQ(Move(L"Data"), DWORD{ERROR_CRC});
    EXPECT_THAT(FolderListing(From()),
                ElementsAre(L"Data/", L"Data/good.dat", L"Data/sub/", L"Data/sub/bad.dat",
                            L"Data/sub/deep/", L"Data/sub/deep/good.dat"));
}

TEST_F(MoveByCopyTest, FailsWhenAFileCannotBeCopied) {
    WriteFile(From() / L"bad.dat", "bad");
    const ImportHook hook(L"kernel32.dll", "CopyFileW", reinterpret_cast<void*>(&FailForOneFile));
    ASSERT_TRUE(hook.Installed());
    EXPECT_EQ(Move(L"bad.dat"), DWORD{ERROR_CRC});
    EXPECT_EQ(ReadFile(From() / L"bad.dat"), "bad");
}

TEST_F(MoveByCopyTest, FailsWhenAFolderInTheFolderCannotBeListed) {
    WriteFile(From() / L"Data" / L"sub" / L"a.dat", "a");
    const bench::UnreadableFolder unreadable(From() / L"Data" / L"sub");
    ASSERT_TRUE(unreadable.Made());
    EXPECT_EQ(Move(L"Data"), DWORD{ERROR_ACCESS_DENIED});
}

BOOL WINAPI RefuseAFolder(LPCWSTR, LPSECURITY_ATTRIBUTES) {
    ::SetLastError(ERROR_DISK_FULL);
    return FALSE;
}

TEST_F(MoveByCopyTest, FailsWhenTheFolderCannotBeCreated) {
    WriteFile(From() / L"Data" / L"a.dat", "a");
    const ImportHook hook(L"kernel32.dll", "CreateDirectoryW",
                          reinterpret_cast<void*>(&RefuseAFolder));
    ASSERT_TRUE(hook.Installed());
    EXPECT_EQ(Move(L"Data"), DWORD{ERROR_DISK_FULL});
    EXPECT_EQ(ReadFile(From() / L"Data" / L"a.dat"), "a");
}

decltype(&::GetFileAttributesW) realGetFileAttributes;
DWORD attributesError;

DWORD WINAPI FailForTheSource(LPCWSTR path) {
    if (std::wstring_view(path).ends_with(L"\\from\\Data")) {
        ::SetLastError(attributesError);
        return INVALID_FILE_ATTRIBUTES;
    }
    return realGetFileAttributes(path);
}

TEST_F(MoveByCopyTest, FailsWhenTheFoldersFactsCannotBeReadAfresh) {
    WriteFile(From() / L"Data" / L"a.dat", "a");
    const ImportHook hook(L"kernel32.dll", "GetFileAttributesW",
                          reinterpret_cast<void*>(&FailForTheSource));
    ASSERT_TRUE(hook.Installed());
    realGetFileAttributes = hook.Original<decltype(&::GetFileAttributesW)>();
    attributesError = ERROR_ACCESS_DENIED;
    EXPECT_EQ(Move(L"Data"), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_THAT(FolderListing(Into()), IsEmpty());
}

TEST_F(MoveByCopyTest, TriesToCopyAFolderThatSeemsToBeGone) {
    for (const DWORD meansGone :
         {DWORD{ERROR_FILE_NOT_FOUND}, DWORD{ERROR_PATH_NOT_FOUND}, DWORD{ERROR_BAD_NETPATH}}) {
        WriteFile(From() / L"Data" / L"a.dat", "a");
        DWORD error = ERROR_SUCCESS;
        {
            const ImportHook hook(L"kernel32.dll", "GetFileAttributesW",
                                  reinterpret_cast<void*>(&FailForTheSource));
            ASSERT_TRUE(hook.Installed());
            realGetFileAttributes = hook.Original<decltype(&::GetFileAttributesW)>();
            attributesError = meansGone;
            MoveEntryInto(From() / L"Data", Into(), error);
        }
        EXPECT_EQ(ReadFile(Into() / L"Data" / L"a.dat"), "a") << meansGone;
        fs::remove_all(Into() / L"Data");
    }
}

}  // namespace
