#include "common/removal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bench_parts/call_hook.h"
#include "bench_parts/import_hook.h"
#include "bench_parts/path_limit.h"
#include "bench_parts/scratch_folder.h"

namespace {

using bench::FolderListing;
using bench::ReadFile;
using bench::ScratchFolder;
using bench::SetReadOnly;
using bench::WriteFile;
using std::filesystem::path;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr DWORD kNotEmpty = ERROR_DIR_NOT_EMPTY;
constexpr DWORD kInUse = ERROR_SHARING_VIOLATION;

void MakeFolder(const path& folder) {
    ASSERT_TRUE(::CreateDirectoryW(folder.c_str(), nullptr));
}

TEST(RemoveEntry, RemovesAFileAndAnEmptyFolder) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"file", "x");
    MakeFolder(scratch.Path() / L"folder");
    EXPECT_EQ(RemoveEntry(scratch.Path() / L"file"), ERROR_SUCCESS);
    EXPECT_EQ(RemoveEntry(scratch.Path() / L"folder"), ERROR_SUCCESS);
    EXPECT_THAT(FolderListing(scratch.Path()), IsEmpty());
}

TEST(RemoveEntry, CountsNothingAsRemoved) {
    const ScratchFolder scratch;
    EXPECT_EQ(RemoveEntry(scratch.Path() / L"missing"), ERROR_SUCCESS);
    EXPECT_EQ(RemoveEntry(scratch.Path() / L"missing" / L"deeper"), ERROR_SUCCESS);
}

TEST(RemoveEntry, Answers145ForAFolderWithContentAndLeavesIt) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"folder" / L"file", "x");
    EXPECT_EQ(RemoveEntry(scratch.Path() / L"folder"), kNotEmpty);
    EXPECT_EQ(kNotEmpty, 145u);
    EXPECT_THAT(FolderListing(scratch.Path()), ElementsAre(L"folder/", L"folder/file"));
}

TEST(RemoveEntry, TakesReadOnlyFilesAndFolders) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"file", "x");
    SetReadOnly(scratch.Path() / L"file", true);
    MakeFolder(scratch.Path() / L"folder");
    SetReadOnly(scratch.Path() / L"folder", true);
    EXPECT_EQ(RemoveEntry(scratch.Path() / L"file"), ERROR_SUCCESS);
    EXPECT_EQ(RemoveEntry(scratch.Path() / L"folder"), ERROR_SUCCESS);
    EXPECT_THAT(FolderListing(scratch.Path()), IsEmpty());
}

TEST(RemoveEntry, LeavesAFileThatIsOpenElsewhereAndItsAttributes) {
    const ScratchFolder scratch;
    const path file = scratch.Path() / L"file";
    WriteFile(file, "x");
    SetReadOnly(file, true);
    const bench::OpenElsewhere open(file, FILE_SHARE_READ);
    EXPECT_EQ(RemoveEntry(file), kInUse);
    EXPECT_TRUE(::GetFileAttributesW(file.c_str()) & FILE_ATTRIBUTE_READONLY);
}

TEST(RemoveEntry, LeavesTheRunningProgram) {
    wchar_t self[1024]{};
    ::GetModuleFileNameW(nullptr, self, 1024);
    EXPECT_NE(RemoveEntry(self), ERROR_SUCCESS);
    EXPECT_NE(::GetFileAttributesW(self), INVALID_FILE_ATTRIBUTES);
}

TEST(RemoveEntry, DoesNotTouchWhatAFolderLinkLeadsTo) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"real" / L"file", "kept");
    ASSERT_TRUE(bench::MakeFolderLink(scratch.Path() / L"link", scratch.Path() / L"real"));
    const DWORD error = RemoveEntry(scratch.Path() / L"link");
    EXPECT_EQ(ReadFile(scratch.Path() / L"real" / L"file"), "kept");
    // Wine cannot remove the folder links that the bench makes from outside.
    if (!bench::IsWine()) {
        EXPECT_EQ(error, ERROR_SUCCESS);
        EXPECT_THAT(FolderListing(scratch.Path()), ElementsAre(L"real/", L"real/file"));
    }
}

TEST(RemoveTree, RemovesAFolderWithEverythingInIt) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"tree" / L"a", "x");
    WriteFile(scratch.Path() / L"tree" / L"b" / L"c d" / L"\u00E4\u4E2D", "x");
    WriteFile(scratch.Path() / L"tree" / L"b" / L"read_only", "x");
    SetReadOnly(scratch.Path() / L"tree" / L"b" / L"read_only", true);
    SetReadOnly(scratch.Path() / L"tree" / L"b", true);
    EXPECT_EQ(RemoveTree(scratch.Path() / L"tree"), ERROR_SUCCESS);
    EXPECT_THAT(FolderListing(scratch.Path()), IsEmpty());
}

TEST(RemoveTree, RemovesASingleFileAndCountsNothingAsRemoved) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"file", "x");
    EXPECT_EQ(RemoveTree(scratch.Path() / L"file"), ERROR_SUCCESS);
    EXPECT_EQ(RemoveTree(scratch.Path() / L"file"), ERROR_SUCCESS);
    EXPECT_THAT(FolderListing(scratch.Path()), IsEmpty());
}

TEST(RemoveTree, GoesOnAfterAnEntryThatStaysAndReturnsItsError) {
    const ScratchFolder scratch;
    for (const wchar_t* name : {L"a", L"b", L"c", L"d"}) {
        WriteFile(scratch.Path() / L"tree" / name / L"file", "x");
    }
    bench::OpenElsewhere open(scratch.Path() / L"tree" / L"b" / L"file", FILE_SHARE_READ);
    EXPECT_EQ(RemoveTree(scratch.Path() / L"tree"), kInUse);
    EXPECT_THAT(FolderListing(scratch.Path()), ElementsAre(L"tree/", L"tree/b/", L"tree/b/file"));
    open.Close();
    EXPECT_EQ(RemoveTree(scratch.Path() / L"tree"), ERROR_SUCCESS);
    EXPECT_THAT(FolderListing(scratch.Path()), IsEmpty());
}

TEST(RemoveTree, NeverLeavesTheTreeThroughALinkInside) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"elsewhere" / L"file", "kept");
    WriteFile(scratch.Path() / L"tree" / L"own", "x");
    ASSERT_TRUE(
        bench::MakeFolderLink(scratch.Path() / L"tree" / L"link", scratch.Path() / L"elsewhere"));
    static_cast<void>(RemoveTree(scratch.Path() / L"tree"));
    EXPECT_EQ(ReadFile(scratch.Path() / L"elsewhere" / L"file"), "kept");
    EXPECT_EQ(::GetFileAttributesW((scratch.Path() / L"tree" / L"own").c_str()),
              INVALID_FILE_ATTRIBUTES);
}

TEST(RemoveTree, NeverFollowsTheLinkItIsGiven) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"elsewhere" / L"file", "kept");
    ASSERT_TRUE(bench::MakeFolderLink(scratch.Path() / L"link", scratch.Path() / L"elsewhere"));
    const DWORD error = RemoveTree(scratch.Path() / L"link");
    if (!bench::IsWine()) {
        EXPECT_EQ(error, ERROR_SUCCESS);
    }
    EXPECT_EQ(ReadFile(scratch.Path() / L"elsewhere" / L"file"), "kept");
}

TEST(RemoveTree, RemovesPathsOfMoreThan260Characters) {
    const ScratchFolder scratch;
    path deep = scratch.Path() / L"tree";
    MakeFolder(deep);
    for (int level = 0; level < 4; ++level) {
        deep /= std::wstring(90, static_cast<wchar_t>(L'a' + level));
        ASSERT_TRUE(::CreateDirectoryW((L"\\\\?\\" + deep.native()).c_str(), nullptr));
    }
    WriteFile(deep / L"file", "x");
    WriteFile(deep / L"read_only", "x");
    SetReadOnly(deep / L"read_only", true);
    const bench::PathLimit limit;
    EXPECT_EQ(RemoveTree(scratch.Path() / L"tree"), ERROR_SUCCESS);
    EXPECT_THAT(FolderListing(scratch.Path()), IsEmpty());
}

// Another program puts a link to elsewhere in a folder's place right after the removal has listed
// it.
TEST(RemoveTree, DoesNotFollowALinkThatReplacesAListedFolder) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"elsewhere" / L"file", "kept");
    WriteFile(scratch.Path() / L"tree" / L"sub" / L"own", "x");
    bool isSwapped = false;
    const auto swap = bench::HookCall<decltype(&::FindNextFileW)>(
        L"kernel32.dll", "FindNextFileW", [&](HANDLE listing, LPWIN32_FIND_DATAW found) -> BOOL {
            const BOOL result = bench::RealFunction<decltype(&::FindNextFileW)>(
                L"kernel32.dll", "FindNextFileW")(listing, found);
            if (!isSwapped && result && std::wstring_view(found->cFileName) == L"sub") {
                isSwapped = true;
                const path sub = scratch.Path() / L"tree" / L"sub";
                EXPECT_TRUE(::MoveFileW(sub.c_str(), (scratch.Path() / L"moved").c_str()));
                EXPECT_TRUE(bench::MakeFolderLink(sub, scratch.Path() / L"elsewhere"));
            }
            return result;
        });
    static_cast<void>(RemoveTree(scratch.Path() / L"tree"));
    EXPECT_TRUE(isSwapped);
    EXPECT_EQ(ReadFile(scratch.Path() / L"elsewhere" / L"file"), "kept");
}

TEST(RemoveTree, KeepsAFolderInItsPlaceWhileItIsEmptied) {
    const ScratchFolder scratch;
    const path tree = scratch.Path() / L"tree";
    WriteFile(tree / L"file", "x");
    bool isAsked = false;
    const auto rename = bench::HookCall<decltype(&::FindNextFileW)>(
        L"kernel32.dll", "FindNextFileW", [&](HANDLE listing, LPWIN32_FIND_DATAW found) -> BOOL {
            isAsked = true;
            EXPECT_FALSE(::MoveFileW(tree.c_str(), (scratch.Path() / L"moved").c_str()));
            return bench::RealFunction<decltype(&::FindNextFileW)>(L"kernel32.dll",
                                                                   "FindNextFileW")(listing, found);
        });
    EXPECT_EQ(RemoveTree(tree), ERROR_SUCCESS);
    EXPECT_TRUE(isAsked);
    EXPECT_THAT(FolderListing(scratch.Path()), IsEmpty());
}

TEST(RemoveTree, RemovesAFileOfMoreThanFourGiB) {
    const ScratchFolder scratch;
    MakeFolder(scratch.Path() / L"tree");
    bench::MakeSparseFile(scratch.Path() / L"tree" / L"big", 5ull << 30);
    EXPECT_EQ(RemoveTree(scratch.Path() / L"tree"), ERROR_SUCCESS);
    EXPECT_THAT(FolderListing(scratch.Path()), IsEmpty());
}

TEST(RemoveTree, ReportsAFolderThatCannotBeListed) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"tree" / L"closed" / L"file", "x");
    WriteFile(scratch.Path() / L"tree" / L"own", "x");
    const bench::UnreadableFolder closed(scratch.Path() / L"tree" / L"closed");
    ASSERT_TRUE(closed.Made());
    EXPECT_NE(RemoveTree(scratch.Path() / L"tree"), ERROR_SUCCESS);
    EXPECT_EQ(::GetFileAttributesW((scratch.Path() / L"tree" / L"own").c_str()),
              INVALID_FILE_ATTRIBUTES);
}

TEST(RemoveEntryOrTree, AnswersANotEmptyFolderWithTheWholeTree) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"tree" / L"a" / L"b", "x");
    EXPECT_EQ(RemoveEntryOrTree(scratch.Path() / L"tree"), ERROR_SUCCESS);
    EXPECT_THAT(FolderListing(scratch.Path()), IsEmpty());
}

TEST(RemoveEntryOrTree, TakesAnyOtherErrorAsFinal) {
    const ScratchFolder scratch;
    const path file = scratch.Path() / L"file";
    WriteFile(file, "x");
    const bench::OpenElsewhere open(file, FILE_SHARE_READ);
    EXPECT_EQ(RemoveEntryOrTree(file), kInUse);
}

// How removal asks the system, where the bench's file system does not offer the current way.
std::optional<DWORD> dispositionAnswer;
std::vector<DWORD> dispositionFlags;

BOOL WINAPI AnswerDisposition(HANDLE, FILE_INFO_BY_HANDLE_CLASS kind, LPVOID data, DWORD) {
    EXPECT_EQ(static_cast<int>(kind), 21);  // FileDispositionInfoEx
    dispositionFlags.push_back(*static_cast<DWORD*>(data));
    ::SetLastError(*dispositionAnswer);
    return *dispositionAnswer == ERROR_SUCCESS;
}

class RemovalWithAnswer : public testing::Test {
protected:
    RemovalWithAnswer()
        : hook_(L"kernel32.dll", "SetFileInformationByHandle",
                reinterpret_cast<void*>(&AnswerDisposition)) {}

    void SetUp() override {
        dispositionFlags.clear();
        ASSERT_TRUE(hook_.Installed());
    }

    bench::ImportHook hook_;
};

TEST_F(RemovalWithAnswer, AsksForImmediateRemovalThatIgnoresTheReadOnlyAttribute) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"file", "x");
    dispositionAnswer = ERROR_SUCCESS;
    EXPECT_EQ(RemoveEntry(scratch.Path() / L"file"), ERROR_SUCCESS);
    // Delete, POSIX semantics, ignore the read-only attribute.
    EXPECT_THAT(dispositionFlags, ElementsAre(0x1u | 0x2u | 0x10u));
}

TEST_F(RemovalWithAnswer, FallsBackWhereThatIsNotOffered) {
    for (const DWORD answer :
         std::initializer_list<DWORD>{ERROR_INVALID_PARAMETER, ERROR_INVALID_FUNCTION,
                                      ERROR_NOT_SUPPORTED, ERROR_CALL_NOT_IMPLEMENTED}) {
        const ScratchFolder scratch;
        WriteFile(scratch.Path() / L"file", "x");
        SetReadOnly(scratch.Path() / L"file", true);
        dispositionAnswer = answer;
        EXPECT_EQ(RemoveEntry(scratch.Path() / L"file"), ERROR_SUCCESS) << answer;
        EXPECT_THAT(FolderListing(scratch.Path()), IsEmpty()) << answer;
    }
}

TEST_F(RemovalWithAnswer, TreeRemovalAnswersNoOtherErrorThanANotEmptyFolder) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"tree" / L"file", "x");
    dispositionAnswer = ERROR_ACCESS_DENIED;
    EXPECT_EQ(RemoveEntryOrTree(scratch.Path() / L"tree"), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(dispositionFlags.size(), 1u);
    EXPECT_THAT(FolderListing(scratch.Path()), ElementsAre(L"tree/", L"tree/file"));
}

BOOL WINAPI RefuseToDelete(LPCWSTR) {
    ::SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

TEST_F(RemovalWithAnswer, FallbackThatFailsGivesTheReadOnlyAttributeBack) {
    const ScratchFolder scratch;
    const path file = scratch.Path() / L"file";
    WriteFile(file, "x");
    SetReadOnly(file, true);
    dispositionAnswer = ERROR_NOT_SUPPORTED;
    const bench::ImportHook hook(L"kernel32.dll", "DeleteFileW",
                                 reinterpret_cast<void*>(&RefuseToDelete));
    ASSERT_TRUE(hook.Installed());
    EXPECT_EQ(RemoveEntry(file), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_TRUE(::GetFileAttributesW(file.c_str()) & FILE_ATTRIBUTE_READONLY);
}

// A folder that is a reparse point: in the listing's way of telling and in the file's own.
DWORD reparseTag = 0;
bool tagCanBeRead = true;

DWORD WINAPI GiveReparseAttributes(LPCWSTR path) {
    return std::wstring_view(path).ends_with(L"tree")
               ? FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT
               : FILE_ATTRIBUTE_NORMAL;
}

BOOL WINAPI GiveReparseTag(HANDLE, FILE_INFO_BY_HANDLE_CLASS, LPVOID data, DWORD) {
    auto* information = static_cast<FILE_ATTRIBUTE_TAG_INFO*>(data);
    information->ReparseTag = reparseTag;
    return tagCanBeRead;
}

class ReparseFolder : public testing::Test {
protected:
    void SetUp() override {
        WriteFile(scratch_.Path() / L"tree" / L"file", "x");
        ASSERT_TRUE(attributes_.Installed() && tag_.Installed());
    }

    ScratchFolder scratch_;
    bench::ImportHook attributes_{L"kernel32.dll", "GetFileAttributesW",
                                  reinterpret_cast<void*>(&GiveReparseAttributes)};
    bench::ImportHook tag_{L"kernel32.dll", "GetFileInformationByHandleEx",
                           reinterpret_cast<void*>(&GiveReparseTag)};
};

TEST_F(ReparseFolder, IsEnteredWhenItIsNoLink) {
    reparseTag = 0x9000001A;  // A cloud folder.
    tagCanBeRead = true;
    static_cast<void>(RemoveTree(scratch_.Path() / L"tree"));
    EXPECT_FALSE(std::filesystem::exists(scratch_.Path() / L"tree" / L"file"));
}

TEST_F(ReparseFolder, IsNotEnteredWhenItIsALink) {
    reparseTag = IO_REPARSE_TAG_MOUNT_POINT;
    tagCanBeRead = true;
    static_cast<void>(RemoveTree(scratch_.Path() / L"tree"));
    EXPECT_TRUE(std::filesystem::exists(scratch_.Path() / L"tree" / L"file"));
}

TEST_F(ReparseFolder, IsNotEnteredWhenItsTagCannotBeRead) {
    reparseTag = 0x9000001A;
    tagCanBeRead = false;
    static_cast<void>(RemoveTree(scratch_.Path() / L"tree"));
    EXPECT_TRUE(std::filesystem::exists(scratch_.Path() / L"tree" / L"file"));
}

TEST_F(RemovalWithAnswer, TakesARefusalAsFinal) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"file", "x");
    dispositionAnswer = ERROR_ACCESS_DENIED;
    EXPECT_EQ(RemoveEntry(scratch.Path() / L"file"), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_THAT(FolderListing(scratch.Path()), ElementsAre(L"file"));
}

}  // namespace
