#include "common/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>

#include "bench_parts/import_hook.h"
#include "bench_parts/path_limit.h"
#include "bench_parts/scratch_folder.h"

namespace {

using bench::GetWriteTime;
using bench::ReadFile;
using bench::ScratchFolder;
using bench::SetReadOnly;
using bench::SetWriteTime;
using bench::WriteFile;
using std::filesystem::path;

constexpr uint64_t kSomeTime = 133'000'000'012'345'678;  // With 100 ns that whole seconds lose.
constexpr uint64_t kFiveGiB = 5ull * 1024 * 1024 * 1024 + 7;

std::span<const std::byte> Bytes(std::string_view text) {
    return std::as_bytes(std::span(text.data(), text.size()));
}

path DeepFolder(const path& root) {
    path deep = root;
    for (int level = 0; level < 4; ++level) {
        deep /= std::wstring(90, static_cast<wchar_t>(L'a' + level));
    }
    return deep;
}

// A folder path of more than 260 characters that exists. Made level by level, for the bench too
// must not depend on what it tests.
path MakeDeepFolder(const path& root) {
    path folder = root;
    const path deep = DeepFolder(root).lexically_relative(root);
    for (const path& name : deep) {
        folder /= name;
        EXPECT_TRUE(::CreateDirectoryW((L"\\\\?\\" + folder.native()).c_str(), nullptr));
    }
    return folder;
}

TEST(KindOf, TellsFilesFoldersAndNothing) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"file", "x");
    EXPECT_EQ(KindOf(scratch.Path() / L"file"), EntryKind::RegularFile);
    EXPECT_EQ(KindOf(scratch.Path()), EntryKind::Folder);
    EXPECT_EQ(KindOf(scratch.Path() / L"missing"), EntryKind::Missing);
    EXPECT_EQ(KindOf(scratch.Path() / L"missing" / L"deeper"), EntryKind::Missing);
    EXPECT_EQ(KindOf(scratch.Path() / L"file" / L"below a file"), EntryKind::Missing);
}

TEST(KindOf, NamesThatCannotBeAreMissing) {
    EXPECT_EQ(KindOf(L""), EntryKind::Missing);
    EXPECT_EQ(KindOf(L"C:\\a*b"), EntryKind::Missing);
    EXPECT_EQ(KindOf(L"Q:\\x"), EntryKind::Missing);
}

TEST(KindOf, FollowsLinks) {
    const ScratchFolder scratch;
    ASSERT_TRUE(::CreateDirectoryW((scratch.Path() / L"real").c_str(), nullptr));
    ASSERT_TRUE(bench::MakeFolderLink(scratch.Path() / L"link", scratch.Path() / L"real"));
    EXPECT_EQ(KindOf(scratch.Path() / L"link"), EntryKind::Folder);
    ASSERT_TRUE(::RemoveDirectoryW((scratch.Path() / L"real").c_str()));
    EXPECT_EQ(KindOf(scratch.Path() / L"link"), EntryKind::Missing);
}

TEST(KindOf, FileOpenedExclusivelyElsewhereIsStillAFile) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"file", "x");
    const bench::OpenElsewhere open(scratch.Path() / L"file", 0, GENERIC_READ | GENERIC_WRITE);
    EXPECT_EQ(KindOf(scratch.Path() / L"file"), EntryKind::RegularFile);
}

DWORD attributesError = ERROR_SUCCESS;

BOOL WINAPI RefuseAttributes(LPCWSTR, GET_FILEEX_INFO_LEVELS, LPVOID) {
    ::SetLastError(attributesError);
    return FALSE;
}

TEST(KindOf, ShareOrServerThatIsNotThereIsMissing) {
    const bench::ImportHook hook(L"kernel32.dll", "GetFileAttributesExW",
                                 reinterpret_cast<void*>(&RefuseAttributes));
    ASSERT_TRUE(hook.Installed());
    for (const DWORD error :
         std::initializer_list<DWORD>{ERROR_BAD_NETPATH, ERROR_BAD_NET_NAME, ERROR_BAD_PATHNAME,
                                      ERROR_INVALID_DRIVE, ERROR_INVALID_NAME}) {
        attributesError = error;
        EXPECT_EQ(KindOf(L"\\\\server\\share\\x"), EntryKind::Missing) << error;
    }
}

TEST(KindOf, SaysUnreadableWhereTheSystemDoesNotTell) {
    const bench::ImportHook hook(L"kernel32.dll", "GetFileAttributesExW",
                                 reinterpret_cast<void*>(&RefuseAttributes));
    ASSERT_TRUE(hook.Installed());
    attributesError = ERROR_ACCESS_DENIED;
    EXPECT_EQ(KindOf(L"C:\\"), EntryKind::Unreadable);
    EXPECT_FALSE(IsRegularFile(L"C:\\"));
    EXPECT_FALSE(FileSize(L"C:\\"));
    EXPECT_FALSE(LastWriteTime(L"C:\\"));
    EXPECT_FALSE(EnsureDirectory(L"C:\\"));
}

BOOL WINAPI RefuseInformation(HANDLE, LPBY_HANDLE_FILE_INFORMATION) {
    ::SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

HANDLE WINAPI RefuseToOpen(LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE) {
    ::SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
}

TEST(KindOf, LinkWhoseTargetDoesNotTellIsUnreadable) {
    const ScratchFolder scratch;
    const path link = scratch.Path() / L"link";
    ASSERT_TRUE(::CreateDirectoryW((scratch.Path() / L"real").c_str(), nullptr));
    ASSERT_TRUE(bench::MakeFolderLink(link, scratch.Path() / L"real"));
    {
        const bench::ImportHook hook(L"kernel32.dll", "GetFileInformationByHandle",
                                     reinterpret_cast<void*>(&RefuseInformation));
        ASSERT_TRUE(hook.Installed());
        EXPECT_EQ(KindOf(link), EntryKind::Unreadable);
    }
    {
        const bench::ImportHook hook(L"kernel32.dll", "CreateFileW",
                                     reinterpret_cast<void*>(&RefuseToOpen));
        ASSERT_TRUE(hook.Installed());
        EXPECT_EQ(KindOf(link), EntryKind::Unreadable);
    }
}

TEST(FileSize, CountsBytesBeyondFourGiB) {
    const ScratchFolder scratch;
    bench::MakeSparseFile(scratch.Path() / L"big", kFiveGiB);
    EXPECT_EQ(FileSize(scratch.Path() / L"big"), kFiveGiB);
}

TEST(FileSize, CountsEmptyAndSmallFiles) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"empty", "");
    WriteFile(scratch.Path() / L"three", "abc");
    EXPECT_EQ(FileSize(scratch.Path() / L"empty"), 0u);
    EXPECT_EQ(FileSize(scratch.Path() / L"three"), 3u);
}

TEST(FileSize, IsNoneForFoldersAndNothing) {
    const ScratchFolder scratch;
    EXPECT_FALSE(FileSize(scratch.Path()));
    EXPECT_FALSE(FileSize(scratch.Path() / L"missing"));
}

TEST(LastWriteTime, IsExactTo100Nanoseconds) {
    const ScratchFolder scratch;
    const path file = scratch.Path() / L"file";
    WriteFile(file, "x");
    SetWriteTime(file, kSomeTime);
    EXPECT_EQ(LastWriteTime(file), kSomeTime);
    EXPECT_TRUE(SetLastWriteTime(file, kSomeTime + 1));
    EXPECT_EQ(GetWriteTime(file), kSomeTime + 1);
}

TEST(LastWriteTime, WorksOnFoldersAndOnFilesOpenedExclusively) {
    const ScratchFolder scratch;
    const path folder = scratch.Path() / L"folder";
    ASSERT_TRUE(::CreateDirectoryW(folder.c_str(), nullptr));
    EXPECT_TRUE(SetLastWriteTime(folder, kSomeTime));
    EXPECT_EQ(LastWriteTime(folder), kSomeTime);

    const path file = scratch.Path() / L"file";
    WriteFile(file, "x");
    const bench::OpenElsewhere open(file, 0);
    EXPECT_TRUE(SetLastWriteTime(file, kSomeTime + 5));
    EXPECT_EQ(LastWriteTime(file), kSomeTime + 5);
}

DWORD timeAccess = 0;

HANDLE WINAPI RecordAccess(LPCWSTR, DWORD access, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD,
                           HANDLE) {
    timeAccess = access;
    return INVALID_HANDLE_VALUE;
}

TEST(LastWriteTime, AsksForNoMoreAccessThanAReadOnlyFileGrants) {
    const bench::ImportHook hook(L"kernel32.dll", "CreateFileW",
                                 reinterpret_cast<void*>(&RecordAccess));
    ASSERT_TRUE(hook.Installed());
    EXPECT_FALSE(SetLastWriteTime(L"C:\\x", kSomeTime));
    EXPECT_EQ(timeAccess, static_cast<DWORD>(FILE_WRITE_ATTRIBUTES));
}

TEST(LastWriteTime, FollowsLinks) {
    const ScratchFolder scratch;
    const path real = scratch.Path() / L"real";
    ASSERT_TRUE(::CreateDirectoryW(real.c_str(), nullptr));
    SetWriteTime(real, kSomeTime);
    ASSERT_TRUE(bench::MakeFolderLink(scratch.Path() / L"link", real));
    EXPECT_EQ(LastWriteTime(scratch.Path() / L"link"), kSomeTime);
}

TEST(LastWriteTime, IsNoneForNothing) {
    const ScratchFolder scratch;
    EXPECT_FALSE(LastWriteTime(scratch.Path() / L"missing"));
    EXPECT_FALSE(SetLastWriteTime(scratch.Path() / L"missing", kSomeTime));
}

TEST(CopyFileOver, ReplacesContentAndBringsTheTimeStamp) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"from", "new");
    WriteFile(scratch.Path() / L"to", "something older and longer");
    SetWriteTime(scratch.Path() / L"from", kSomeTime);
    EXPECT_EQ(CopyFileOver(scratch.Path() / L"from", scratch.Path() / L"to"), ERROR_SUCCESS);
    EXPECT_EQ(ReadFile(scratch.Path() / L"to"), "new");
    EXPECT_EQ(GetWriteTime(scratch.Path() / L"to"), kSomeTime);
}

TEST(CopyFileOver, TellsWhyItFailed) {
    const ScratchFolder scratch;
    const path from = scratch.Path() / L"from";
    WriteFile(from, "new");
    const path readOnly = scratch.Path() / L"read_only";
    WriteFile(readOnly, "old");
    SetReadOnly(readOnly, true);
    EXPECT_EQ(CopyFileOver(from, readOnly), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(ReadFile(readOnly), "old");

    const path opened = scratch.Path() / L"opened";
    WriteFile(opened, "old");
    const bench::OpenElsewhere open(opened, FILE_SHARE_READ);
    EXPECT_EQ(CopyFileOver(from, opened), static_cast<DWORD>(ERROR_SHARING_VIOLATION));

    EXPECT_EQ(CopyFileOver(scratch.Path() / L"missing", scratch.Path() / L"x"),
              static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(CopyFileOver(from, scratch.Path() / L"no_folder" / L"x"),
              static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
    ASSERT_TRUE(::CreateDirectoryW((scratch.Path() / L"folder").c_str(), nullptr));
    EXPECT_EQ(CopyFileOver(from, scratch.Path() / L"folder"),
              static_cast<DWORD>(ERROR_ACCESS_DENIED));
}

TEST(CopyFileOver, HandlesUnicodeNamesAndPathsOfMoreThan260Characters) {
    const ScratchFolder scratch;
    const path deep = MakeDeepFolder(scratch.Path());
    const path from = scratch.Path() / L"\u00E4 \u4E2D\U0001F600";
    WriteFile(from, "content");
    const path to = deep / L"\u0416.dat";
    ASSERT_GT(to.native().size(), 260u);
    const bench::PathLimit limit;
    EXPECT_EQ(CopyFileOver(from, to), ERROR_SUCCESS);
    EXPECT_EQ(KindOf(to), EntryKind::RegularFile);
    EXPECT_EQ(FileSize(to), 7u);
    EXPECT_TRUE(SetLastWriteTime(to, kSomeTime));
    EXPECT_EQ(LastWriteTime(to), kSomeTime);
    EXPECT_TRUE(OpenForReading(to));
}

TEST(OpenForReading, LetsOthersReadAndWriteButNotDelete) {
    const ScratchFolder scratch;
    const path file = scratch.Path() / L"file";
    WriteFile(file, "x");
    const KernelHandle opened = OpenForReading(file);
    ASSERT_TRUE(opened);
    EXPECT_TRUE(CreateForWriting(file, FILE_SHARE_READ | FILE_SHARE_WRITE));
    EXPECT_FALSE(::DeleteFileW(file.c_str()));
    EXPECT_FALSE(OpenForReading(scratch.Path() / L"missing"));
}

TEST(CreateForWriting, EmptiesTheFileAndSharesItAsAsked) {
    const ScratchFolder scratch;
    const path file = scratch.Path() / L"file";
    WriteFile(file, "old");
    KernelHandle opened = CreateForWriting(file, 0);
    EXPECT_FALSE(CreateForWriting(file, FILE_SHARE_READ | FILE_SHARE_WRITE));
    opened.reset();
    EXPECT_EQ(ReadFile(file), "");
    opened = CreateForWriting(file, FILE_SHARE_READ | FILE_SHARE_WRITE);
    EXPECT_TRUE(CreateForWriting(file, FILE_SHARE_READ | FILE_SHARE_WRITE));
}

TEST(MoveEntry, WorksBetweenPathsOfMoreThan260Characters) {
    const ScratchFolder scratch;
    const path deep = MakeDeepFolder(scratch.Path());
    WriteFile(scratch.Path() / L"file", "x");
    const bench::PathLimit limit;
    EXPECT_EQ(MoveEntry(scratch.Path() / L"file", deep / L"a"), ERROR_SUCCESS);
    EXPECT_EQ(MoveEntry(deep / L"a", deep / L"b"), ERROR_SUCCESS);
    EXPECT_EQ(FileSize(deep / L"b"), 1u);
    EXPECT_EQ(DeleteSingleFile(deep / L"b"), ERROR_SUCCESS);
    EXPECT_EQ(KindOf(deep / L"b"), EntryKind::Missing);
}

TEST(MoveEntry, RenamesFilesAndFoldersAndReplacesFiles) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"a", "a");
    WriteFile(scratch.Path() / L"b", "b");
    EXPECT_EQ(MoveEntry(scratch.Path() / L"a", scratch.Path() / L"b"), ERROR_SUCCESS);
    EXPECT_EQ(ReadFile(scratch.Path() / L"b"), "a");
    WriteFile(scratch.Path() / L"folder" / L"x", "x");
    EXPECT_EQ(MoveEntry(scratch.Path() / L"folder", scratch.Path() / L"moved"), ERROR_SUCCESS);
    EXPECT_EQ(ReadFile(scratch.Path() / L"moved" / L"x"), "x");
    EXPECT_EQ(KindOf(scratch.Path() / L"a"), EntryKind::Missing);
}

TEST(MoveEntry, TellsWhyItFailed) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"a" / L"x", "x");
    WriteFile(scratch.Path() / L"b" / L"y", "y");
    EXPECT_EQ(MoveEntry(scratch.Path() / L"a", scratch.Path() / L"b"),
              static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(MoveEntry(scratch.Path() / L"missing", scratch.Path() / L"c"),
              static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
}

DWORD moveFlags = 0;

BOOL WINAPI RecordMove(LPCWSTR, LPCWSTR, DWORD flags) {
    moveFlags = flags;
    return TRUE;
}

TEST(MoveEntry, AllowsReplacingAndAnotherVolumeAndNothingElse) {
    const bench::ImportHook hook(L"kernel32.dll", "MoveFileExW",
                                 reinterpret_cast<void*>(&RecordMove));
    ASSERT_TRUE(hook.Installed());
    EXPECT_EQ(MoveEntry(L"a", L"b"), ERROR_SUCCESS);
    EXPECT_EQ(moveFlags, 3u);
}

TEST(EnsureDirectory, CreatesAllMissingParents) {
    const ScratchFolder scratch;
    EXPECT_TRUE(EnsureDirectory(scratch.Path() / L"a" / L"b c" / L"\u00E4"));
    EXPECT_EQ(KindOf(scratch.Path() / L"a" / L"b c" / L"\u00E4"), EntryKind::Folder);
    EXPECT_TRUE(EnsureDirectory(scratch.Path() / L"a"));
    EXPECT_TRUE(EnsureDirectory(scratch.Path().native() + L"\\x\\y\\"));
    EXPECT_EQ(KindOf(scratch.Path() / L"x" / L"y"), EntryKind::Folder);
}

TEST(EnsureDirectory, IsContentWithAnythingThatStandsThere) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"file", "x");
    EXPECT_TRUE(EnsureDirectory(scratch.Path() / L"file"));
    EXPECT_TRUE(EnsureDirectory(L"C:\\"));
}

TEST(EnsureDirectory, IsFalseForAnEmptyPathAndWhereNothingCanBe) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"file", "x");
    EXPECT_FALSE(EnsureDirectory(L""));
    EXPECT_FALSE(EnsureDirectory(scratch.Path() / L"file" / L"below"));
    EXPECT_FALSE(EnsureDirectory(L"Q:\\x"));
}

TEST(EnsureDirectory, CreatesPathsOfMoreThan260Characters) {
    const ScratchFolder scratch;
    const path deep = DeepFolder(scratch.Path());
    ASSERT_GT(deep.native().size(), 260u);
    const bench::PathLimit limit;
    EXPECT_TRUE(EnsureDirectory(deep));
    EXPECT_EQ(KindOf(deep), EntryKind::Folder);
}

TEST(EnsureDirectory, CreatesFoldersOfEveryLengthAroundTheLimit) {
    const ScratchFolder scratch;
    const bench::PathLimit limit;
    for (size_t length = 235; length <= 265; ++length) {
        const path folder =
            scratch.Path() / std::wstring(length - scratch.Path().native().size() - 1, L'f');
        ASSERT_EQ(folder.native().size(), length);
        EXPECT_TRUE(EnsureDirectory(folder)) << length;
        EXPECT_TRUE(WriteBinaryFile(folder / L"file", Bytes("x"))) << length;
    }
}

TEST(EnsureDirectory, TakesTheExtendedForm) {
    const ScratchFolder scratch;
    EXPECT_TRUE(EnsureDirectory(L"\\\\?\\" + (scratch.Path() / L"a" / L"b").native()));
    EXPECT_EQ(KindOf(scratch.Path() / L"a" / L"b"), EntryKind::Folder);
}

TEST(WriteBinaryFile, WritesTheBytesAndCreatesTheFolder) {
    const ScratchFolder scratch;
    const path file = scratch.Path() / L"new folder" / L"file.bin";
    EXPECT_TRUE(WriteBinaryFile(file, Bytes(std::string_view("a\r\n\0\x1A z", 7))));
    EXPECT_EQ(ReadFile(file), std::string_view("a\r\n\0\x1A z", 7));
}

TEST(WriteBinaryFile, ShortensAFileThatWasLonger) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"file", std::string(100'000, 'o'));
    EXPECT_TRUE(WriteBinaryFile(scratch.Path() / L"file", Bytes("new")));
    EXPECT_EQ(ReadFile(scratch.Path() / L"file"), "new");
}

TEST(WriteBinaryFile, WritesAnEmptyFile) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"file", "old");
    EXPECT_TRUE(WriteBinaryFile(scratch.Path() / L"file", {}));
    EXPECT_EQ(FileSize(scratch.Path() / L"file"), 0u);
}

TEST(WriteBinaryFile, WritesABareNameIntoTheCurrentFolder) {
    const ScratchFolder scratch;
    const path former = std::filesystem::current_path();
    std::filesystem::current_path(scratch.Path());
    EXPECT_TRUE(WriteBinaryFile(L"bare", Bytes("x")));
    std::filesystem::current_path(former);
    EXPECT_EQ(ReadFile(scratch.Path() / L"bare"), "x");
}

TEST(WriteBinaryFile, FailsOnReadOnlyOpenedAndImpossibleFiles) {
    const ScratchFolder scratch;
    const path readOnly = scratch.Path() / L"read_only";
    WriteFile(readOnly, "old");
    SetReadOnly(readOnly, true);
    EXPECT_FALSE(WriteBinaryFile(readOnly, Bytes("new")));
    EXPECT_EQ(ReadFile(readOnly), "old");

    const path opened = scratch.Path() / L"opened";
    WriteFile(opened, "old");
    const bench::OpenElsewhere open(opened, FILE_SHARE_READ);
    EXPECT_FALSE(WriteBinaryFile(opened, Bytes("new")));
    EXPECT_EQ(ReadFile(opened), "old");

    EXPECT_FALSE(WriteBinaryFile(scratch.Path(), Bytes("new")));
    EXPECT_FALSE(WriteBinaryFile(readOnly / L"below a file", Bytes("new")));
}

}  // namespace
