// Tests of the bench itself: with a wrong tool every other test is worthless.

#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <system_error>

#include "bench_parts/call_hook.h"
#include "bench_parts/import_hook.h"
#include "bench_parts/scratch_folder.h"
#include "bench_parts/skipping.h"
#include "ui/controls_api.h"

namespace {

namespace fs = std::filesystem;
using bench::ImportHook;
using bench::OpenElsewhere;
using bench::ScratchFolder;
using testing::ElementsAre;
using testing::IsEmpty;

// Values that no real call returns.
constexpr ULONGLONG kFakeTick = 4242;
constexpr ULONGLONG kOtherFakeTick = 2424;

ULONGLONG WINAPI FakeTickCount() {
    return kFakeTick;
}

// An optimized function loads an import's address only once, so each call is made in a separate
// one, through a volatile pointer so that it is not inlined.
ULONGLONG CallTickCount() {
    return ::GetTickCount64();
}
ULONGLONG (*volatile tickCount)() = &CallTickCount;

ULONGLONG WINAPI OtherFakeTickCount() {
    return kOtherFakeTick;
}

bool Exists(const fs::path& path) {
    return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// What the path leads to in the end, links resolved.
std::wstring FinalPath(const fs::path& path) {
    const auto file = AdoptHandle<KernelHandle>(
        ::CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                      FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    std::wstring finalPath(MAX_PATH, L'\0');
    finalPath.resize(::GetFinalPathNameByHandleW(file.get(), finalPath.data(), MAX_PATH, 0));
    return finalPath;
}

// The Win32 error of copying one file over another; 0 when it worked.
DWORD CopyOver(const fs::path& source, const fs::path& target) {
    return ::CopyFileW(source.c_str(), target.c_str(), FALSE) ? ERROR_SUCCESS : ::GetLastError();
}

// The Win32 error of opening a folder for listing; 0 when it worked.
DWORD ListingError(const fs::path& folder) {
    WIN32_FIND_DATAW entry;
    const auto search = AdoptHandle<FindHandle>(::FindFirstFileW((folder / L"*").c_str(), &entry));
    return search ? ERROR_SUCCESS : ::GetLastError();
}

TEST(ImportHook, ReplacesAFunctionAndRestoresItInReverseOrder) {
    {
        const ImportHook outer(L"Kernel32.DLL", "GetTickCount64",
                               reinterpret_cast<void*>(&FakeTickCount));
        ASSERT_TRUE(outer.Installed()) << "the DLL's name in other letter case";
        EXPECT_EQ(tickCount(), kFakeTick);
        const auto original = outer.Original<decltype(&::GetTickCount64)>();
        ASSERT_NE(original, nullptr);
        EXPECT_NE(original(), kFakeTick);
        {
            const ImportHook inner(L"kernel32.dll", "GetTickCount64",
                                   reinterpret_cast<void*>(&OtherFakeTickCount));
            EXPECT_EQ(tickCount(), kOtherFakeTick);
        }
        EXPECT_EQ(tickCount(), kFakeTick);
    }
    EXPECT_NE(tickCount(), kFakeTick);
}

TEST(HookCall, ReachesCallsFromStaticLibrariesAndTheRealFunctionStaysAvailable) {
    const ScratchFolder scratch;
    bench::WriteFile(scratch.Path() / L"a.txt", "");
    int calls = 0;
    const auto hook = bench::HookCall<decltype(&::MoveFileExW)>(
        L"kernel32.dll", "MoveFileExW", [&](auto... arguments) -> BOOL {
            if (++calls == 1) {
                ::SetLastError(ERROR_SHARING_VIOLATION);
                return FALSE;
            }
            return bench::RealFunction<decltype(&::MoveFileExW)>(L"kernel32.dll",
                                                                 "MoveFileExW")(arguments...);
        });
    std::error_code error;
    fs::rename(scratch.Path() / L"a.txt", scratch.Path() / L"b.txt", error);
    EXPECT_TRUE(error);
    EXPECT_THAT(bench::FolderListing(scratch.Path()), ElementsAre(L"a.txt"));
    fs::rename(scratch.Path() / L"a.txt", scratch.Path() / L"b.txt", error);
    EXPECT_FALSE(error);
    EXPECT_THAT(bench::FolderListing(scratch.Path()), ElementsAre(L"b.txt"));
    EXPECT_EQ(calls, 2);
}

// Whether the system accepts the request for its common controls.
bool InitializesControls() {
    const INITCOMMONCONTROLSEX controls{sizeof controls, ICC_STANDARD_CLASSES};
    return ::InitCommonControlsEx(&controls) != FALSE;
}
bool (*volatile initializesControls)() = &InitializesControls;

BOOL WINAPI RefuseControls(const INITCOMMONCONTROLSEX*) {
    return FALSE;
}

// The hook comes before the first call, which must not undo it.
TEST(ImportHook, ReplacesAFunctionThatIsResolvedAtItsFirstCall) {
    {
        const ImportHook hook(L"comctl32.dll", "InitCommonControlsEx",
                              reinterpret_cast<void*>(&RefuseControls));
        ASSERT_TRUE(hook.Installed());
        EXPECT_FALSE(initializesControls());
        EXPECT_FALSE(initializesControls());
        const INITCOMMONCONTROLSEX controls{sizeof controls, ICC_STANDARD_CLASSES};
        EXPECT_TRUE(hook.Original<decltype(&::InitCommonControlsEx)>()(&controls));
        EXPECT_FALSE(initializesControls());
    }
    EXPECT_TRUE(initializesControls());
}

TEST(ImportHook, IsNotInstalledForAFunctionThatIsNotImported) {
    const ImportHook unknownFunction(L"kernel32.dll", "NoSuchFunction",
                                     reinterpret_cast<void*>(&FakeTickCount));
    const ImportHook unknownDll(L"no_such.dll", "GetTickCount64",
                                reinterpret_cast<void*>(&FakeTickCount));
    EXPECT_FALSE(unknownFunction.Installed());
    EXPECT_EQ(unknownFunction.Original<void*>(), nullptr);
    EXPECT_FALSE(unknownDll.Installed());
    EXPECT_NE(tickCount(), kFakeTick);
}

TEST(Bench, StartsWithEmptyFolders) {
    SKIP_ON_WINDOWS("the folders are the machine's own");
    wchar_t temp[MAX_PATH + 1]{};
    ASSERT_NE(::GetTempPathW(MAX_PATH + 1, temp), 0U);
    EXPECT_THAT(bench::FolderListing(temp), IsEmpty());
    EXPECT_THAT(bench::FolderListing(L"C:\\bench"), IsEmpty());
}

TEST(ScratchFolder, IsFreshAndRemovedWithItsContent) {
    fs::path folder;
    {
        const ScratchFolder scratch;
        const ScratchFolder other;
        folder = scratch.Path();
        EXPECT_NE(folder, other.Path());
        EXPECT_THAT(bench::FolderListing(folder), IsEmpty());
        bench::WriteFile(folder / L"Über" / L"locked.dat", "x");
        bench::SetReadOnly(folder / L"Über" / L"locked.dat", true);
        bench::WriteFile(folder / L"plain.txt", "y");
        EXPECT_THAT(bench::FolderListing(folder),
                    ElementsAre(L"plain.txt", L"\u00dcber/", L"\u00dcber/locked.dat"));
    }
    EXPECT_FALSE(Exists(folder));
}

TEST(ScratchFolder, RemovesAnEntryNamedLikeADrive) {
    SKIP_ON_WINDOWS("Windows has no such names");
    fs::path folder;
    {
        const ScratchFolder scratch;
        folder = scratch.Path();
        // A drive that there is not.
        ASSERT_TRUE(::CreateDirectoryW((folder.native() + L"\\q:").c_str(), nullptr));
        EXPECT_THAT(bench::FolderListing(folder), ElementsAre(L"q:/"));
    }
    EXPECT_FALSE(Exists(folder));
}

TEST(ScratchFolder, KeepsTheTargetsOfLinks) {
    const ScratchFolder kept;
    bench::WriteFile(kept.Path() / L"sub" / L"inside.txt", "kept");
    bench::WriteFile(kept.Path() / L"file.txt", "kept");
    fs::path folder;
    {
        const ScratchFolder scratch;
        folder = scratch.Path();
        ASSERT_TRUE(bench::MakeFolderLink(folder / L"folder link", kept.Path() / L"sub"));
        ASSERT_TRUE(bench::MakeFileLink(folder / L"file link", kept.Path() / L"file.txt"));
        ASSERT_TRUE(bench::MakeFolderLink(folder / L"dangling", kept.Path() / L"no" / L"where"));
    }
    EXPECT_FALSE(Exists(folder));
    EXPECT_THAT(bench::FolderListing(kept.Path()),
                ElementsAre(L"file.txt", L"sub/", L"sub/inside.txt"));
}

TEST(ScratchFolder, FailsTheTestWhenSomethingIsStillOpen) {
    auto scratch = std::make_unique<ScratchFolder>();
    const fs::path folder = scratch->Path();
    bench::WriteFile(folder / L"open.txt", "");
    OpenElsewhere open(folder / L"open.txt", FILE_SHARE_READ);
    EXPECT_NONFATAL_FAILURE(scratch.reset(), "cannot be removed");
    open.Close();
    fs::remove_all(folder);
}

TEST(FileHelpers, KeepBytesTimesAndSizes) {
    const ScratchFolder scratch;
    const std::string bytes("a\r\n\0\xff\x1a", 6);
    bench::WriteFile(scratch.Path() / L"b.dat", bytes);
    EXPECT_EQ(bench::ReadFile(scratch.Path() / L"b.dat"), bytes);
    constexpr std::uint64_t kTime = 133'000'000'000'000'001;
    bench::SetWriteTime(scratch.Path() / L"b.dat", kTime);
    EXPECT_EQ(bench::GetWriteTime(scratch.Path() / L"b.dat"), kTime);
    bench::SetWriteTime(scratch.Path(), kTime + 1);
    EXPECT_EQ(bench::GetWriteTime(scratch.Path()), kTime + 1);
    constexpr std::uint64_t kFiveGibibytes = std::uint64_t{5} << 30;
    bench::MakeSparseFile(scratch.Path() / L"big.dat", kFiveGibibytes + 1);
    EXPECT_EQ(fs::file_size(scratch.Path() / L"big.dat"), kFiveGibibytes + 1);
}

TEST(FileHelpers, ThrowTheErrorCode) {
    const ScratchFolder scratch;
    try {
        bench::ReadFile(scratch.Path() / L"missing.txt");
        FAIL() << "nothing was thrown";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code().value(), ERROR_FILE_NOT_FOUND);
    }
}

TEST(FileHelpers, KeepAFileFromBeingReplaced) {
    const ScratchFolder scratch;
    const fs::path source = scratch.Path() / L"new.txt";
    const fs::path target = scratch.Path() / L"old.txt";
    bench::WriteFile(source, "new");
    bench::WriteFile(target, "old");
    bench::SetReadOnly(target, true);
    EXPECT_EQ(CopyOver(source, target), DWORD{ERROR_ACCESS_DENIED});
    bench::SetReadOnly(target, false);
    OpenElsewhere open(target, FILE_SHARE_READ);
    EXPECT_EQ(CopyOver(source, target), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(bench::ReadFile(target), "old");
    open.Close();
    EXPECT_EQ(CopyOver(source, target), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(bench::ReadFile(target), "new");
}

TEST(Links, LeadToTheirTargets) {
    const ScratchFolder scratch;
    bench::WriteFile(scratch.Path() / L"real" / L"a.txt", "through the link");
    ASSERT_TRUE(bench::MakeFolderLink(scratch.Path() / L"link ü", scratch.Path() / L"real"));
    ASSERT_TRUE(
        bench::MakeFileLink(scratch.Path() / L"b.txt", scratch.Path() / L"real" / L"a.txt"));
    EXPECT_EQ(bench::ReadFile(scratch.Path() / L"link ü" / L"a.txt"), "through the link");
    EXPECT_EQ(bench::ReadFile(scratch.Path() / L"b.txt"), "through the link");
    EXPECT_EQ(FinalPath(scratch.Path() / L"link ü"), FinalPath(scratch.Path() / L"real"));
    EXPECT_NE(
        ::GetFileAttributesW((scratch.Path() / L"link ü").c_str()) & FILE_ATTRIBUTE_REPARSE_POINT,
        0U);
}

TEST(Links, MayLeadUpwardsOrNowhere) {
    const ScratchFolder scratch;
    bench::WriteFile(scratch.Path() / L"sub" / L"a.txt", "a");
    ASSERT_TRUE(bench::MakeFolderLink(scratch.Path() / L"sub" / L"loop", scratch.Path()));
    ASSERT_TRUE(bench::MakeFolderLink(scratch.Path() / L"dangling", scratch.Path() / L"missing"));
    EXPECT_TRUE(Exists(scratch.Path() / L"sub" / L"loop" / L"sub" / L"loop" / L"sub" / L"a.txt"));
    EXPECT_FALSE(Exists(scratch.Path() / L"dangling" / L"a.txt"));
    // The dangling link still occupies its name.
    EXPECT_FALSE(bench::MakeFolderLink(scratch.Path() / L"dangling", scratch.Path() / L"sub"));
    EXPECT_THAT(bench::FolderListing(scratch.Path() / L"sub"), ElementsAre(L"a.txt", L"loop@"));
}

TEST(UnreadableFolder, RefusesToBeListedUntilItEnds) {
    const ScratchFolder scratch;
    bench::WriteFile(scratch.Path() / L"closed" / L"a.txt", "a");
    {
        const bench::UnreadableFolder closed(scratch.Path() / L"closed");
        ASSERT_TRUE(closed.Made());
        EXPECT_EQ(ListingError(scratch.Path() / L"closed"), DWORD{ERROR_ACCESS_DENIED});
    }
    EXPECT_EQ(ListingError(scratch.Path() / L"closed"), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(bench::ReadFile(scratch.Path() / L"closed" / L"a.txt"), "a");
}

}  // namespace
