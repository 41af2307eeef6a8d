#include "common/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>

#include "bench_parts/call_hook.h"
#include "bench_parts/file_hooks.h"
#include "bench_parts/path_limit.h"
#include "bench_parts/scratch_folder.h"

namespace {

using bench::GetWriteTime;
using bench::ReadFile;
using bench::WriteFile;
using std::filesystem::path;

constexpr uint64_t kSomeTime = 133'000'000'012'345'678;  // With 100 ns that whole seconds lose.
constexpr DWORD kDenied = ERROR_ACCESS_DENIED;

std::span<const std::byte> Bytes(std::string_view text) {
    return std::as_bytes(std::span(text.data(), text.size()));
}

class Files : public testing::Test {
protected:
    [[nodiscard]] path At(const path& name) const {
        return scratch_.Path() / name;
    }

    void MakeFolder(const path& name) const {
        ASSERT_TRUE(::CreateDirectoryW(At(name).c_str(), nullptr));
    }

    bench::ScratchFolder scratch_;
};

TEST_F(Files, KindOfDistinguishesFilesFoldersAndMissingEntries) {
    WriteFile(At(L"file"), "x");
    const bench::OpenElsewhere open(At(L"file"), 0, GENERIC_READ | GENERIC_WRITE);
    MakeFolder(L"real");
    MakeFolder(L"removed");
    ASSERT_TRUE(bench::MakeFolderLink(At(L"link"), At(L"real")));
    ASSERT_TRUE(bench::MakeFolderLink(At(L"dangling"), At(L"removed")));
    ASSERT_TRUE(::RemoveDirectoryW(At(L"removed").c_str()));
    const std::pair<path, EntryKind> cases[] = {
        {At(L"file"), EntryKind::RegularFile},
        {At(L"real"), EntryKind::Folder},
        {At(L"link"), EntryKind::Folder},
        {At(L"dangling"), EntryKind::Missing},
        {At(L"missing"), EntryKind::Missing},
        {At(L"missing\\deeper"), EntryKind::Missing},
        {At(L"file\\below it"), EntryKind::Missing},
        {L"", EntryKind::Missing},
        {L"C:\\a*b", EntryKind::Missing},
        {L"Q:\\x", EntryKind::Missing},
    };
    for (const auto& [entry, kind] : cases) {
        EXPECT_EQ(KindOf(entry), kind) << entry;
    }
}

TEST_F(Files, KindOfIsMissingOnlyForErrorsThatSaySo) {
    DWORD error = ERROR_SUCCESS;
    const auto hook = bench::HookAttributes([&](const std::wstring&) { return error; });
    for (const DWORD missing :
         std::initializer_list<DWORD>{ERROR_BAD_NETPATH, ERROR_BAD_NET_NAME, ERROR_BAD_PATHNAME,
                                      ERROR_INVALID_DRIVE, ERROR_INVALID_NAME}) {
        error = missing;
        EXPECT_EQ(KindOf(L"\\\\server\\share\\x"), EntryKind::Missing) << error;
    }
    error = kDenied;
    EXPECT_EQ(KindOf(L"C:\\"), EntryKind::Unreadable);
    EXPECT_FALSE(IsRegularFile(L"C:\\"));
    EXPECT_FALSE(FileSize(L"C:\\"));
    EXPECT_FALSE(LastWriteTime(L"C:\\"));
    EXPECT_FALSE(EnsureDirectory(L"C:\\"));
}

TEST_F(Files, KindOfIsUnreadableForALinkWhoseTargetCannotBeQueried) {
    MakeFolder(L"real");
    ASSERT_TRUE(bench::MakeFolderLink(At(L"link"), At(L"real")));
    {
        const auto hook = bench::HookCall<decltype(&::GetFileInformationByHandle)>(
            L"kernel32.dll", "GetFileInformationByHandle", [](auto...) -> BOOL {
                ::SetLastError(kDenied);
                return FALSE;
            });
        EXPECT_EQ(KindOf(At(L"link")), EntryKind::Unreadable);
    }
    const auto hook = bench::HookOpen([](const std::wstring&) { return kDenied; });
    EXPECT_EQ(KindOf(At(L"link")), EntryKind::Unreadable);
}

TEST_F(Files, FactsOfAnOpenFileAreThoseOfItsPath) {
    bench::MakeSparseFile(At(L"file"), (uint64_t{4} << 30) + 2);
    EXPECT_TRUE(SetLastWriteTime(At(L"file"), kSomeTime));
    const KernelHandle file = OpenForReading(At(L"file"));
    const EntryFacts facts = FactsOf(file.get());
    EXPECT_EQ(facts.kind, EntryKind::RegularFile);
    EXPECT_EQ(facts.size, FileSize(At(L"file")));
    EXPECT_EQ(facts.lastWriteTime, kSomeTime);
}

TEST_F(Files, FactsOfAnOpenFileAreAllKnownOrNone) {
    WriteFile(At(L"file"), "x");
    const KernelHandle file = OpenForReading(At(L"file"));
    {
        const auto hook = bench::HookCall<decltype(&::GetFileSizeEx)>(
            L"kernel32.dll", "GetFileSizeEx", [](auto...) -> BOOL { return FALSE; });
        EXPECT_EQ(FactsOf(file.get()).kind, EntryKind::Unreadable);
    }
    const auto hook = bench::HookCall<decltype(&::GetFileTime)>(
        L"kernel32.dll", "GetFileTime", [](auto...) -> BOOL { return FALSE; });
    EXPECT_EQ(FactsOf(file.get()).kind, EntryKind::Unreadable);
}

TEST_F(Files, FileSizeCountsTheBytesOfFilesOnly) {
    constexpr uint64_t kFiveGiB = 5ull * 1024 * 1024 * 1024 + 7;
    bench::MakeSparseFile(At(L"big"), kFiveGiB);
    WriteFile(At(L"empty"), "");
    WriteFile(At(L"three"), "abc");
    EXPECT_EQ(FileSize(At(L"big")), kFiveGiB);
    EXPECT_EQ(FileSize(At(L"empty")), 0u);
    EXPECT_EQ(FileSize(At(L"three")), 3u);
    EXPECT_FALSE(FileSize(scratch_.Path()));
    EXPECT_FALSE(FileSize(At(L"missing")));
}

TEST_F(Files, LastWriteTimeIsExactTo100NanosecondsAndFollowsLinks) {
    WriteFile(At(L"file"), "x");
    MakeFolder(L"folder");
    ASSERT_TRUE(bench::MakeFolderLink(At(L"link"), At(L"folder")));
    bench::SetWriteTime(At(L"file"), kSomeTime);
    EXPECT_EQ(LastWriteTime(At(L"file")), kSomeTime);
    {
        const bench::OpenElsewhere open(At(L"file"), 0);
        EXPECT_TRUE(SetLastWriteTime(At(L"file"), kSomeTime + 1));
        EXPECT_EQ(LastWriteTime(At(L"file")), kSomeTime + 1);
    }
    EXPECT_EQ(GetWriteTime(At(L"file")), kSomeTime + 1);
    EXPECT_TRUE(SetLastWriteTime(At(L"folder"), kSomeTime + 2));
    EXPECT_EQ(LastWriteTime(At(L"folder")), kSomeTime + 2);
    EXPECT_EQ(LastWriteTime(At(L"link")), kSomeTime + 2);
    EXPECT_FALSE(LastWriteTime(At(L"missing")));
    EXPECT_FALSE(SetLastWriteTime(At(L"missing"), kSomeTime));
}

// A read-only file grants no more.
TEST_F(Files, SetLastWriteTimeAsksForAttributeAccessOnly) {
    DWORD asked = 0;
    const auto hook = bench::HookCall<decltype(&::CreateFileW)>(
        L"kernel32.dll", "CreateFileW", [&](LPCWSTR, DWORD access, auto...) -> HANDLE {
            asked = access;
            return INVALID_HANDLE_VALUE;
        });
    EXPECT_FALSE(SetLastWriteTime(L"C:\\x", kSomeTime));
    EXPECT_EQ(asked, static_cast<DWORD>(FILE_WRITE_ATTRIBUTES));
}

TEST_F(Files, CopyFileOverReplacesContentAndTimeStamp) {
    WriteFile(At(L"from"), "new");
    WriteFile(At(L"to"), "something older and longer");
    bench::SetWriteTime(At(L"from"), kSomeTime);
    EXPECT_EQ(CopyFileOver(At(L"from"), At(L"to")), ERROR_SUCCESS);
    EXPECT_EQ(ReadFile(At(L"to")), "new");
    EXPECT_EQ(GetWriteTime(At(L"to")), kSomeTime);
}

TEST_F(Files, CopyFileOverReturnsTheErrorAndKeepsTheTarget) {
    for (const wchar_t* name : {L"from", L"read-only", L"open"}) {
        WriteFile(At(name), "old");
    }
    WriteFile(At(L"from"), "new");
    MakeFolder(L"folder");
    bench::SetReadOnly(At(L"read-only"), true);
    const bench::OpenElsewhere open(At(L"open"), FILE_SHARE_READ);
    const struct {
        const wchar_t* source;
        const wchar_t* target;
        DWORD error;
    } cases[] = {
        {L"from", L"read-only", kDenied},
        {L"from", L"open", ERROR_SHARING_VIOLATION},
        {L"from", L"folder", kDenied},
        {L"from", L"no folder\\x", ERROR_PATH_NOT_FOUND},
        {L"missing", L"x", ERROR_FILE_NOT_FOUND},
    };
    for (const auto& [source, target, error] : cases) {
        EXPECT_EQ(CopyFileOver(At(source), At(target)), error) << target;
    }
    EXPECT_EQ(ReadFile(At(L"read-only")), "old");
}

TEST_F(Files, TakeUnicodeNamesAndPathsOfMoreThan260Characters) {
    const path deep = bench::MakeDeepFolder(scratch_.Path());
    const path from = At(L"\u00E4 \u4E2D\U0001F600");
    WriteFile(from, "content");
    const path to = deep / L"\u0416.dat";
    const bench::PathLimit limit;
    EXPECT_EQ(CopyFileOver(from, to), ERROR_SUCCESS);
    EXPECT_EQ(KindOf(to), EntryKind::RegularFile);
    EXPECT_EQ(FileSize(to), 7u);
    EXPECT_TRUE(SetLastWriteTime(to, kSomeTime));
    EXPECT_EQ(LastWriteTime(to), kSomeTime);
    EXPECT_TRUE(OpenForReading(to));
    EXPECT_EQ(MoveEntry(from, deep / L"a"), ERROR_SUCCESS);
    EXPECT_EQ(MoveEntry(deep / L"a", deep / L"b"), ERROR_SUCCESS);
    EXPECT_EQ(FileSize(deep / L"b"), 7u);
    EXPECT_EQ(DeleteSingleFile(deep / L"b"), ERROR_SUCCESS);
    EXPECT_EQ(KindOf(deep / L"b"), EntryKind::Missing);
}

TEST_F(Files, OpenForReadingLetsOthersReadAndWriteButNotDelete) {
    WriteFile(At(L"file"), "x");
    const KernelHandle opened = OpenForReading(At(L"file"));
    ASSERT_TRUE(opened);
    EXPECT_TRUE(CreateForWriting(At(L"file"), FILE_SHARE_READ | FILE_SHARE_WRITE));
    EXPECT_FALSE(::DeleteFileW(At(L"file").c_str()));
    EXPECT_FALSE(OpenForReading(At(L"missing")));
}

TEST_F(Files, OpenForReadingSharesTheFileAsAsked) {
    WriteFile(At(L"file"), "x");
    const KernelHandle opened = OpenForReading(At(L"file"), FILE_SHARE_DELETE);
    EXPECT_FALSE(OpenForReading(At(L"file")));
    EXPECT_TRUE(::DeleteFileW(At(L"file").c_str()));
}

TEST_F(Files, CreateForWritingEmptiesTheFileAndSharesItAsAsked) {
    WriteFile(At(L"file"), "old");
    KernelHandle opened = CreateForWriting(At(L"file"), 0);
    EXPECT_FALSE(CreateForWriting(At(L"file"), FILE_SHARE_READ | FILE_SHARE_WRITE));
    opened.reset();
    EXPECT_EQ(ReadFile(At(L"file")), "");
    opened = CreateForWriting(At(L"file"), FILE_SHARE_READ | FILE_SHARE_WRITE);
    EXPECT_TRUE(CreateForWriting(At(L"file"), FILE_SHARE_READ | FILE_SHARE_WRITE));
}

TEST_F(Files, MoveEntryRenamesFilesAndFoldersAndReplacesFilesOnly) {
    WriteFile(At(L"a"), "a");
    WriteFile(At(L"b"), "b");
    WriteFile(At(L"folder\\x"), "x");
    WriteFile(At(L"other\\y"), "y");
    EXPECT_EQ(MoveEntry(At(L"a"), At(L"b")), ERROR_SUCCESS);
    EXPECT_EQ(ReadFile(At(L"b")), "a");
    EXPECT_EQ(KindOf(At(L"a")), EntryKind::Missing);
    EXPECT_EQ(MoveEntry(At(L"folder"), At(L"moved")), ERROR_SUCCESS);
    EXPECT_EQ(ReadFile(At(L"moved\\x")), "x");
    EXPECT_EQ(MoveEntry(At(L"moved"), At(L"other")), kDenied);
    EXPECT_EQ(MoveEntry(At(L"missing"), At(L"c")), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST_F(Files, MoveEntryMayReplaceAndChangeVolumesAndNothingElse) {
    DWORD asked = 0;
    const auto hook = bench::HookCall<decltype(&::MoveFileExW)>(
        L"kernel32.dll", "MoveFileExW", [&](LPCWSTR, LPCWSTR, DWORD flags) -> BOOL {
            asked = flags;
            return TRUE;
        });
    EXPECT_EQ(MoveEntry(L"a", L"b"), ERROR_SUCCESS);
    EXPECT_EQ(asked, DWORD{MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED});
}

TEST_F(Files, EnsureDirectoryCreatesAllMissingParents) {
    EXPECT_TRUE(EnsureDirectory(At(L"a\\b c\\\u00E4")));
    EXPECT_TRUE(EnsureDirectory(At(L"a")));
    EXPECT_TRUE(EnsureDirectory(At(L"x\\y\\")));
    EXPECT_TRUE(EnsureDirectory(L"\\\\?\\" + At(L"extended\\form").native()));
    EXPECT_THAT(bench::FolderListing(scratch_.Path()),
                testing::ElementsAre(L"a/", L"a/b c/", L"a/b c/\u00E4/", L"extended/",
                                     L"extended/form/", L"x/", L"x/y/"));
}

TEST_F(Files, EnsureDirectoryIsTrueWhereAnythingExistsAndFalseWhereNothingCan) {
    WriteFile(At(L"file"), "x");
    EXPECT_TRUE(EnsureDirectory(At(L"file")));
    EXPECT_TRUE(EnsureDirectory(L"C:\\"));
    EXPECT_FALSE(EnsureDirectory(L""));
    EXPECT_FALSE(EnsureDirectory(At(L"file\\below")));
    EXPECT_FALSE(EnsureDirectory(L"Q:\\x"));
}

TEST_F(Files, EnsureDirectoryCreatesFoldersOfAnyLength) {
    const path deep = bench::DeepFolder(scratch_.Path());
    const bench::PathLimit limit;
    EXPECT_TRUE(EnsureDirectory(deep));
    EXPECT_EQ(KindOf(deep), EntryKind::Folder);
    for (size_t length = 235; length <= 265; ++length) {
        const path folder = At(std::wstring(length - scratch_.Path().native().size() - 1, L'f'));
        ASSERT_EQ(folder.native().size(), length);
        EXPECT_TRUE(EnsureDirectory(folder)) << length;
        EXPECT_TRUE(WriteBinaryFile(folder / L"file", Bytes("x"))) << length;
    }
}

TEST_F(Files, WriteBinaryFileReplacesTheContentAndCreatesTheFolder) {
    constexpr std::string_view kBinary("a\r\n\0\x1A z", 7);
    EXPECT_TRUE(WriteBinaryFile(At(L"new folder\\file.bin"), Bytes(kBinary)));
    EXPECT_EQ(ReadFile(At(L"new folder\\file.bin")), kBinary);

    const std::string large((3U << 20) + 1, 'o');
    EXPECT_TRUE(WriteBinaryFile(At(L"file"), Bytes(large)));
    EXPECT_TRUE(ReadFile(At(L"file")) == large);
    EXPECT_TRUE(WriteBinaryFile(At(L"file"), Bytes("new")));
    EXPECT_EQ(ReadFile(At(L"file")), "new");
    EXPECT_TRUE(WriteBinaryFile(At(L"file"), {}));
    EXPECT_EQ(ReadFile(At(L"file")), "");
}

TEST_F(Files, WriteBinaryFileFailsOnAFullDisk) {
    for (const BOOL result : {TRUE, FALSE}) {
        const auto hook = bench::HookCall<decltype(&::WriteFile)>(
            L"kernel32.dll", "WriteFile",
            [&](HANDLE, LPCVOID, DWORD count, LPDWORD written, LPOVERLAPPED) -> BOOL {
                *written = count - 1;
                return result;
            });
        EXPECT_FALSE(WriteBinaryFile(At(L"file"), Bytes("new"))) << result;
    }
}

TEST_F(Files, WriteBinaryFileFailsOnReadOnlyOpenAndImpossibleFiles) {
    for (const wchar_t* name : {L"read-only", L"open"}) {
        WriteFile(At(name), "old");
    }
    bench::SetReadOnly(At(L"read-only"), true);
    const bench::OpenElsewhere open(At(L"open"), FILE_SHARE_READ);
    MakeFolder(L"folder");
    for (const wchar_t* name : {L"read-only", L"open", L"folder", L"read-only\\below a file"}) {
        EXPECT_FALSE(WriteBinaryFile(At(name), Bytes("new"))) << name;
    }
    EXPECT_EQ(ReadFile(At(L"read-only")), "old");
    EXPECT_EQ(ReadFile(At(L"open")), "old");
}

}  // namespace
