#include "common/removal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "bench_parts/call_hook.h"
#include "bench_parts/file_hooks.h"
#include "bench_parts/path_limit.h"
#include "bench_parts/scratch_folder.h"

namespace {

using bench::FolderListing;
using bench::ReadFile;
using bench::SetReadOnly;
using bench::WriteFile;
using std::filesystem::path;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr DWORD kNotEmpty = ERROR_DIR_NOT_EMPTY;
constexpr DWORD kInUse = ERROR_SHARING_VIOLATION;
constexpr DWORD kDenied = ERROR_ACCESS_DENIED;
constexpr DWORD kCloudFolderTag = 0x9000001A;

bool IsReadOnly(const path& file) {
    const DWORD attributes = ::GetFileAttributesW(file.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0;
}

class Removal : public testing::Test {
protected:
    [[nodiscard]] path At(const path& name) const {
        return scratch_.Path() / name;
    }

    [[nodiscard]] std::vector<std::wstring> Listing() const {
        return FolderListing(scratch_.Path());
    }

    void MakeFolder(const path& name) const {
        ASSERT_TRUE(::CreateDirectoryW(At(name).c_str(), nullptr));
    }

    bench::ScratchFolder scratch_;
};

TEST_F(Removal, RemoveEntryRemovesFilesAndEmptyFoldersAlsoReadOnlyOnes) {
    for (const bool isReadOnly : {false, true}) {
        WriteFile(At(L"file"), "x");
        MakeFolder(L"folder");
        SetReadOnly(At(L"file"), isReadOnly);
        SetReadOnly(At(L"folder"), isReadOnly);
        EXPECT_EQ(RemoveEntry(At(L"file")), ERROR_SUCCESS);
        EXPECT_EQ(RemoveEntry(At(L"folder")), ERROR_SUCCESS);
        EXPECT_THAT(Listing(), IsEmpty());
    }
    EXPECT_EQ(RemoveEntry(At(L"missing")), ERROR_SUCCESS);
    EXPECT_EQ(RemoveEntry(At(L"missing\\deeper")), ERROR_SUCCESS);
}

TEST_F(Removal, RemoveEntryLeavesWhatCannotBeRemoved) {
    WriteFile(At(L"file"), "x");
    SetReadOnly(At(L"file"), true);
    WriteFile(At(L"folder\\file"), "x");
    const bench::OpenElsewhere open(At(L"file"), FILE_SHARE_READ);
    EXPECT_EQ(RemoveEntry(At(L"file")), kInUse);
    EXPECT_EQ(RemoveEntryOrTree(At(L"file")), kInUse);
    EXPECT_TRUE(IsReadOnly(At(L"file")));
    EXPECT_EQ(RemoveEntry(At(L"folder")), kNotEmpty);
    EXPECT_EQ(kNotEmpty, 145u);
    EXPECT_THAT(Listing(), ElementsAre(L"file", L"folder/", L"folder/file"));

    wchar_t self[1024]{};
    ::GetModuleFileNameW(nullptr, self, 1024);
    EXPECT_NE(RemoveEntry(self), ERROR_SUCCESS);
    EXPECT_NE(::GetFileAttributesW(self), INVALID_FILE_ATTRIBUTES);
}

TEST_F(Removal, RemovesAFolderLinkAndLeavesItsTarget) {
    WriteFile(At(L"real\\file"), "kept");
    int links = 0;
    for (const auto& remove : {&RemoveEntry, &RemoveTree, &RemoveEntryOrTree}) {
        const path link = At(L"link" + std::to_wstring(++links));
        ASSERT_TRUE(bench::MakeFolderLink(link, At(L"real")));
        int opens = 0;
        const auto remover = [&] {
            // Wine never follows the link here; Windows does without this flag.
            const auto hook = bench::WatchCall<decltype(&::CreateFileW)>(
                bench::kKernel32, "CreateFileW",
                [&](LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD flags, HANDLE) {
                    ++opens;
                    EXPECT_TRUE((flags & FILE_FLAG_OPEN_REPARSE_POINT) != 0);
                });
            return remove(link);
        };
        const DWORD error = remover();
        EXPECT_GT(opens, 0);
        EXPECT_EQ(ReadFile(At(L"real\\file")), "kept");
        // Wine cannot remove the folder links that the bench makes from outside.
        if (!bench::IsWine()) {
            EXPECT_EQ(error, ERROR_SUCCESS);
            EXPECT_THAT(Listing(), ElementsAre(L"real/", L"real/file"));
        }
    }
}

TEST_F(Removal, RemoveTreeRemovesAFolderWithItsContent) {
    MakeFolder(L"tree");
    WriteFile(At(L"tree\\a"), "x");
    WriteFile(At(L"tree\\b\\c d\\\u00E4\u4E2D"), "x");
    WriteFile(At(L"tree\\b\\read-only"), "x");
    bench::MakeSparseFile(At(L"tree\\big"), 5ull << 30);
    SetReadOnly(At(L"tree\\b\\read-only"), true);
    SetReadOnly(At(L"tree\\b"), true);
    EXPECT_EQ(RemoveEntryOrTree(At(L"tree")), ERROR_SUCCESS);
    EXPECT_THAT(Listing(), IsEmpty());
    WriteFile(At(L"file"), "x");
    EXPECT_EQ(RemoveTree(At(L"file")), ERROR_SUCCESS);
    EXPECT_THAT(Listing(), IsEmpty());
    EXPECT_EQ(RemoveTree(At(L"file")), ERROR_SUCCESS);
}

TEST_F(Removal, RemoveTreeContinuesAfterAnErrorAndReturnsTheFirst) {
    for (const wchar_t* name : {L"tree\\a\\file", L"tree\\b\\file", L"tree\\c\\file"}) {
        WriteFile(At(name), "x");
    }
    bench::OpenElsewhere open(At(L"tree\\b\\file"), FILE_SHARE_READ);
    EXPECT_EQ(RemoveTree(At(L"tree")), kInUse);
    EXPECT_THAT(Listing(), ElementsAre(L"tree/", L"tree/b/", L"tree/b/file"));
    open.Close();
    EXPECT_EQ(RemoveTree(At(L"tree")), ERROR_SUCCESS);
    EXPECT_THAT(Listing(), IsEmpty());
}

TEST_F(Removal, RemoveTreeReportsAFolderThatCannotBeListed) {
    WriteFile(At(L"tree\\closed\\file"), "x");
    WriteFile(At(L"tree\\own"), "x");
    const bench::UnreadableFolder closed(At(L"tree\\closed"));
    ASSERT_TRUE(closed.Made());
    EXPECT_NE(RemoveTree(At(L"tree")), ERROR_SUCCESS);
    EXPECT_EQ(::GetFileAttributesW(At(L"tree\\own").c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST_F(Removal, RemoveTreeEntersNoLinkInside) {
    WriteFile(At(L"elsewhere\\file"), "kept");
    WriteFile(At(L"tree\\own"), "x");
    ASSERT_TRUE(bench::MakeFolderLink(At(L"tree\\link"), At(L"elsewhere")));
    static_cast<void>(RemoveTree(At(L"tree")));
    EXPECT_EQ(ReadFile(At(L"elsewhere\\file")), "kept");
    EXPECT_EQ(::GetFileAttributesW(At(L"tree\\own").c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST_F(Removal, RemoveTreeRemovesPathsOfMoreThan260Characters) {
    MakeFolder(L"tree");
    const path deep = bench::MakeDeepFolder(At(L"tree"));
    WriteFile(deep / L"file", "x");
    WriteFile(deep / L"read-only", "x");
    SetReadOnly(deep / L"read-only", true);
    const bench::PathLimit limit;
    EXPECT_EQ(RemoveTree(At(L"tree")), ERROR_SUCCESS);
    EXPECT_THAT(Listing(), IsEmpty());
}

TEST_F(Removal, RemoveTreeDoesNotFollowALinkThatReplacesAListedFolder) {
    WriteFile(At(L"elsewhere\\file"), "kept");
    WriteFile(At(L"tree\\sub\\own"), "x");
    bool isSwapped = false;
    const bench::ListingHook hook([&](const WIN32_FIND_DATAW& found) {
        if (!isSwapped && std::wstring_view(found.cFileName) == L"sub") {
            isSwapped = true;
            EXPECT_TRUE(::MoveFileW(At(L"tree\\sub").c_str(), At(L"moved").c_str()));
            EXPECT_TRUE(bench::MakeFolderLink(At(L"tree\\sub"), At(L"elsewhere")));
        }
        return DWORD{ERROR_SUCCESS};
    });
    static_cast<void>(RemoveTree(At(L"tree")));
    EXPECT_TRUE(isSwapped);
    EXPECT_EQ(ReadFile(At(L"elsewhere\\file")), "kept");
}

TEST_F(Removal, RemoveTreeKeepsAFolderInPlaceWhileItIsEmptied) {
    WriteFile(At(L"tree\\file"), "x");
    bool isAsked = false;
    // Before the listing, which keeps the folder in place as well.
    const auto hook = bench::WatchCall<decltype(&::FindFirstFileExW)>(
        L"kernel32.dll", "FindFirstFileExW", [&](auto...) {
            isAsked = true;
            EXPECT_FALSE(::MoveFileW(At(L"tree").c_str(), At(L"moved").c_str()));
        });
    EXPECT_EQ(RemoveTree(At(L"tree")), ERROR_SUCCESS);
    EXPECT_TRUE(isAsked);
    EXPECT_THAT(Listing(), IsEmpty());
}

TEST_F(Removal, RemoveTreeEmptiesAFolderThatIsOpenForDeletionElsewhere) {
    WriteFile(At(L"tree\\file"), "x");
    // Opening it requires FILE_SHARE_DELETE. Wine cannot list a folder in this state.
    const auto hook = bench::HookCall<decltype(&::CreateFileW)>(
        bench::kKernel32, "CreateFileW",
        [](LPCWSTR path, DWORD access, DWORD shareMode, auto... others) -> HANDLE {
            if ((shareMode & FILE_SHARE_DELETE) == 0) {
                ::SetLastError(kInUse);
                return INVALID_HANDLE_VALUE;
            }
            return bench::RealFunction<decltype(&::CreateFileW)>(bench::kKernel32, "CreateFileW")(
                path, access, shareMode, others...);
        });
    EXPECT_EQ(RemoveTree(At(L"tree")), ERROR_SUCCESS);
    EXPECT_THAT(Listing(), IsEmpty());
}

// Answers the POSIX delete, which the bench's file system does not offer.
class PosixDelete : public Removal {
protected:
    PosixDelete() {
        WriteFile(At(L"file"), "x");
        SetReadOnly(At(L"file"), true);
    }

    [[nodiscard]] auto AnswerWith(DWORD error) {
        flags_.clear();
        return bench::HookCall<decltype(&::SetFileInformationByHandle)>(
            L"kernel32.dll", "SetFileInformationByHandle",
            [this, error](HANDLE, FILE_INFO_BY_HANDLE_CLASS kind, LPVOID data, DWORD) -> BOOL {
                EXPECT_EQ(static_cast<int>(kind), 21);  // FileDispositionInfoEx
                flags_.push_back(*static_cast<DWORD*>(data));
                ::SetLastError(error);
                return error == ERROR_SUCCESS;
            });
    }

    std::vector<DWORD> flags_;
};

TEST_F(PosixDelete, IgnoresTheReadOnlyAttribute) {
    const auto hook = AnswerWith(ERROR_SUCCESS);
    EXPECT_EQ(RemoveEntry(At(L"file")), ERROR_SUCCESS);
    // Delete, POSIX semantics, ignore the read-only attribute.
    EXPECT_THAT(flags_, ElementsAre(0x1u | 0x2u | 0x10u));
}

TEST_F(PosixDelete, FallsBackOnlyWhereItIsNotOffered) {
    for (const DWORD error :
         std::initializer_list<DWORD>{ERROR_INVALID_PARAMETER, ERROR_INVALID_FUNCTION,
                                      ERROR_NOT_SUPPORTED, ERROR_CALL_NOT_IMPLEMENTED}) {
        WriteFile(At(L"another"), "x");
        SetReadOnly(At(L"another"), true);
        const auto hook = AnswerWith(error);
        EXPECT_EQ(RemoveEntry(At(L"another")), ERROR_SUCCESS) << error;
        EXPECT_THAT(Listing(), ElementsAre(L"file")) << error;
    }
    WriteFile(At(L"tree\\file"), "x");
    const auto hook = AnswerWith(kDenied);
    EXPECT_EQ(RemoveEntry(At(L"file")), kDenied);
    EXPECT_EQ(RemoveEntryOrTree(At(L"tree")), kDenied);
    EXPECT_EQ(flags_.size(), 2u);
    EXPECT_THAT(Listing(), ElementsAre(L"file", L"tree/", L"tree/file"));
}

TEST_F(PosixDelete, AFallbackThatFailsRestoresTheReadOnlyAttribute) {
    const auto answer = AnswerWith(ERROR_NOT_SUPPORTED);
    const auto refuse = bench::HookCall<decltype(&::DeleteFileW)>(L"kernel32.dll", "DeleteFileW",
                                                                  [](LPCWSTR) -> BOOL {
                                                                      ::SetLastError(kDenied);
                                                                      return FALSE;
                                                                  });
    EXPECT_EQ(RemoveEntry(At(L"file")), kDenied);
    EXPECT_TRUE(IsReadOnly(At(L"file")));
}

TEST_F(Removal, RemoveTreeEntersAReparsePointOnlyIfItIsKnownNotToBeALink) {
    DWORD tag = 0;
    BOOL isTagReadable = TRUE;
    const auto attributes = bench::HookCall<decltype(&::GetFileAttributesW)>(
        L"kernel32.dll", "GetFileAttributesW", [](LPCWSTR entry) -> DWORD {
            return std::wstring_view(entry).ends_with(L"tree")
                       ? FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT
                       : FILE_ATTRIBUTE_NORMAL;
        });
    const auto information = bench::HookCall<decltype(&::GetFileInformationByHandleEx)>(
        L"kernel32.dll", "GetFileInformationByHandleEx",
        [&](HANDLE, FILE_INFO_BY_HANDLE_CLASS, LPVOID data, DWORD) -> BOOL {
            static_cast<FILE_ATTRIBUTE_TAG_INFO*>(data)->ReparseTag = tag;
            return isTagReadable;
        });
    const struct {
        DWORD tag;
        BOOL isReadable;
        bool isEntered;
    } cases[] = {{kCloudFolderTag, TRUE, true},
                 {IO_REPARSE_TAG_MOUNT_POINT, TRUE, false},
                 {kCloudFolderTag, FALSE, false}};
    for (const auto& row : cases) {
        WriteFile(At(L"tree\\file"), "x");
        tag = row.tag;
        isTagReadable = row.isReadable;
        static_cast<void>(RemoveTree(At(L"tree")));
        EXPECT_EQ(std::filesystem::exists(At(L"tree\\file")), !row.isEntered) << tag;
    }
}

}  // namespace
