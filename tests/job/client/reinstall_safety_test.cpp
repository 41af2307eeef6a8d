#include <gtest/gtest.h>

#include <tuple>
#include <utility>

#include "bench_parts/call_hook.h"
#include "bench_parts/current_folder.h"
#include "bench_parts/file_hooks.h"
#include "bench_parts/skipping.h"
#include "common/tool_instance.h"
#include "job/client/client_folders.h"
#include "job/client/reinstall_cleanup.h"

namespace fs = std::filesystem;

// A wrong answer here can cost a disk, so every condition is tested with real folders, also at the
// root of drive C:, which belongs to the test alone.

namespace {

// A folder outside the scratch folder with a tool in it, as long as the object lives.
class ToolFolderAt {
public:
    explicit ToolFolderAt(const fs::path& folder) : folder_(folder) {
        bench::WriteFile(folder / L"tool.exe", "tool");
    }
    ~ToolFolderAt() {
        std::error_code ignored;
        fs::remove(folder_ / L"tool.exe", ignored);
        fs::remove(folder_, ignored);
    }
    ToolFolderAt(const ToolFolderAt&) = delete;
    ToolFolderAt& operator=(const ToolFolderAt&) = delete;

private:
    fs::path folder_;
};

bool IsSafeWithToolIn(const fs::path& folder) {
    const bench::ToolLocation location(folder, folder / L"tool.exe");
    return IsSafeReinstallFolder();
}

bool IsSafeAt(const fs::path& folder, const fs::path& exePath) {
    const bench::ToolLocation location(folder, exePath);
    return IsSafeReinstallFolder();
}

}  // namespace

TEST(ReinstallSafety, RefusesRootsAndResolvedPathsOfLessThanSixUtf16Units) {
    const ToolFolderAt four(L"C:\\a");
    const ToolFolderAt five(L"C:\\ab");
    const ToolFolderAt six(L"C:\\abc");
    const ToolFolderAt twoUnits(L"C:\\\U0001F3AE");
    const ToolFolderAt threeUnits(L"C:\\\U0001F3AEa");
    bench::WriteFile(L"C:\\tool.exe", "tool");
    const std::pair<const wchar_t*, bool> rows[] = {
        {L"C:\\", false},
        {L"c:\\", false},
        {L"C:/", false},
        {L"C:\\\\", false},
        {L"C:\\windows\\..", false},
        {L"\\\\?\\C:\\", false},
        {L"Q:\\", false},  // Not there.
        {L"C:\\a", false},
        {L"C:\\ab", false},
        {L"C:\\windows\\..\\ab", false},
        {L"C:\\ab\\", false},
        {L"C:\\ab\\.\\\\", false},
        {L"\\\\?\\C:\\ab", false},
        {L"C:\\\U0001F3AE", false},
        {L"C:\\abc", true},
        {L"C:\\ABC\\", true},
        {L"C:\\\U0001F3AEa", true},
    };
    for (const auto& [folder, isSafe] : rows) {
        EXPECT_EQ(IsSafeWithToolIn(folder), isSafe) << fs::path(folder);
    }
    fs::remove(L"C:\\tool.exe");
}

TEST(ReinstallSafety, RefusesADriveWithoutSeparatorWhateverIsCurrentOnIt) {
    // The part of "C:\tool.exe" before its last separator is "C:", which by itself means the
    // drive's current folder.
    const ToolFolderAt folder(L"C:\\abcdef");
    EXPECT_FALSE(IsSafeAt(L"C:", L"C:\\tool.exe"));
    EXPECT_FALSE(IsSafeAt(L"Q:", L"Q:\\tool.exe"));
    const bench::CurrentFolder current(L"C:\\abcdef");
    EXPECT_FALSE(IsSafeAt(L"C:", L"C:\\tool.exe"));
}

TEST(ReinstallSafety, RefusesTheRootOfAnotherDrive) {
    SKIP_ON_WINDOWS("a second drive is an exception here");
    const bench::ClientFolders folders;
    const bench::SubstitutedDrive drive(L"X:", folders.Client());
    ASSERT_TRUE(drive.Made());
    EXPECT_FALSE(IsSafeAt(L"X:\\", L"X:\\RepairTool.exe"));
    EXPECT_FALSE(IsSafeAt(L"X:", L"X:\\RepairTool.exe"));
}

TEST(ReinstallSafety, RefusesASubstitutedDriveOfARoot) {
    const bench::SubstitutedDrive drive(L"X:", L"C:\\");
    ASSERT_TRUE(drive.Made());
    EXPECT_FALSE(IsSafeAt(L"X:\\", L"X:\\tool.exe"));
}

TEST(ReinstallSafety, RefusesTheRootOfAVolumeMountedInAFolder) {
    const bench::ClientFolders folders;
    fs::path mounted = folders.Client();
    const auto hook = bench::HookCall<decltype(&::GetVolumePathNameW)>(
        bench::kKernel32, "GetVolumePathNameW", [&](LPCWSTR, LPWSTR root, DWORD size) -> BOOL {
            root[(mounted.native() + L"\\").copy(root, size - 1)] = L'\0';
            return TRUE;
        });
    EXPECT_FALSE(IsSafeReinstallFolder());
    mounted = folders.Client().parent_path();
    EXPECT_TRUE(IsSafeReinstallFolder());
}

TEST(ReinstallSafety, JudgesWhereLinksLead) {
    const bench::ClientFolders folders;
    const ToolFolderAt five(L"C:\\ab");
    const fs::path toRoot = folders.Scratch() / L"to the root";
    const fs::path toShortPath = folders.Scratch() / L"to a short path";
    const fs::path toClient = folders.Scratch() / L"to the client";
    const fs::path elsewhere = folders.Scratch() / L"elsewhere";
    bench::WriteFile(folders.Scratch() / L"other" / L"RepairTool.exe", "another tool");
    SKIP_ON_WINDOWS_WITHOUT(bench::MakeFolderLink(toRoot, L"C:\\") &&
                                bench::MakeFolderLink(toShortPath, L"C:\\ab") &&
                                bench::MakeFolderLink(toClient, folders.Client()) &&
                                bench::MakeFolderLink(elsewhere, folders.Scratch() / L"other"),
                            "links for this user");
    bench::WriteFile(L"C:\\tool.exe", "tool");
    EXPECT_FALSE(IsSafeWithToolIn(toRoot));
    fs::remove(L"C:\\tool.exe");
    EXPECT_FALSE(IsSafeWithToolIn(toShortPath));
    EXPECT_TRUE(IsSafeAt(toClient, toClient / L"RepairTool.exe"));
    EXPECT_TRUE(IsSafeAt(toClient, folders.Tool()));
    EXPECT_TRUE(IsSafeAt(folders.Client(), toClient / L"RepairTool.exe"));
    EXPECT_FALSE(IsSafeAt(folders.Client(), elsewhere / L"RepairTool.exe"));
}

TEST(ReinstallSafety, AllowsTheClientFolderInAnotherLetterCase) {
    const bench::ClientFolders folders;
    EXPECT_TRUE(IsSafeAt(folders.Scratch() / L"GAMES" / L"client", folders.Tool()));
    EXPECT_TRUE(IsSafeAt(folders.Client(), folders.Scratch() / L"Games" / L"CLIENT" / L"x.exe"));
}

TEST(ReinstallSafety, AllowsTheClientFolderByItsShortName) {
    const bench::ClientFolders folders;
    const fs::path client = folders.Scratch() / L"Client of the game";
    const fs::path tool = client / L"tool.exe";
    bench::WriteFile(tool, "tool");
    const fs::path shortPath = bench::WithShortName(client);
    SKIP_ON_WINDOWS_WITHOUT(!shortPath.empty(), "short names on this volume");
    EXPECT_TRUE(IsSafeAt(shortPath, shortPath / L"tool.exe"));
    EXPECT_TRUE(IsSafeAt(shortPath, tool));
    EXPECT_TRUE(IsSafeAt(client, shortPath / L"tool.exe"));
}

TEST(ReinstallSafety, RefusesWhenTheToolIsNotDirectlyInTheFolder) {
    const bench::ClientFolders folders;
    EXPECT_FALSE(IsSafeAt(folders.Scratch(), folders.Tool())) << "in a folder below";
    EXPECT_FALSE(IsSafeAt(folders.Scratch() / L"games", folders.Tool())) << "one level below";
    EXPECT_FALSE(IsSafeAt(folders.Package(), folders.Tool())) << "elsewhere";
    EXPECT_FALSE(IsSafeAt(folders.Client() / L"sub", folders.Tool())) << "in a folder above";
    EXPECT_FALSE(IsSafeAt(folders.Client(), folders.Client())) << "the folder itself";
    EXPECT_FALSE(IsSafeAt(folders.Scratch() / L"games" / L"Clien", folders.Tool())) << "a prefix";
}

TEST(ReinstallSafety, RefusesPathsThatAreUnknownOrCannotBeResolved) {
    const bench::ClientFolders folders;
    EXPECT_FALSE(IsSafeAt(L"", folders.Tool()));
    EXPECT_FALSE(IsSafeAt(folders.Client(), L""));
    EXPECT_FALSE(IsSafeAt(L"", L""));
    for (const fs::path& path : {folders.Client(), folders.Tool()}) {
        const auto hook = bench::RefuseToOpen(path);
        EXPECT_FALSE(IsSafeReinstallFolder()) << path;
    }
    EXPECT_TRUE(IsSafeReinstallFolder());
}

TEST(ReinstallSafety, JudgesNetworkPathsByTheirText) {
    SKIP_ON_WINDOWS("asking the network for a missing server takes too long");
    const fs::path game = L"\\\\server\\share\\game";
    EXPECT_TRUE(IsSafeWithToolIn(game));
    EXPECT_FALSE(IsSafeAt(game, L"\\\\server\\share\\tool.exe"));
    EXPECT_FALSE(IsSafeAt(game, L"\\\\server\\other\\game\\tool.exe"));
    EXPECT_FALSE(IsSafeAt(game, L"C:\\share\\game\\tool.exe"));
    for (const wchar_t* root :
         {L"\\\\server\\share", L"\\\\server\\share\\", L"//server/share/", L"\\\\server\\"}) {
        EXPECT_FALSE(IsSafeWithToolIn(root)) << fs::path(root);
    }
}

TEST(ReinstallSafety, RefusesAToolPathThatMayBeTruncated) {
    // Read into a full buffer: truncated within a folder's name, two levels too high.
    const bench::ScratchFolder scratch;
    const std::wstring parent = scratch.Path().native();
    const std::wstring truncated = parent + L"\\" + std::wstring(259 - parent.size() - 1, L'f');
    ASSERT_EQ(truncated.size(), 259u);
    EXPECT_FALSE(IsSafeAt(parent, truncated));
    EXPECT_TRUE(IsSafeAt(parent, truncated.substr(0, 258)));
}

TEST(OutsideClientFolder, IsJudgedByWhereThePathLeads) {
    const bench::ClientFolders folders;
    const fs::path client = folders.Client();
    bench::WriteFile(client / L"temp" / L"package.zip", "zip");
    const std::pair<fs::path, bool> rows[] = {
        {folders.Package(), true},
        {folders.Scratch() / L"missing" / L"package.zip", true},
        {folders.Scratch() / L"games", true},
        {folders.Scratch() / L"games" / L"Client 2" / L"package.zip", true},
        {client / L"..", true},
        {client, false},
        {client / L"temp", false},
        {client / L"temp" / L"package.zip", false},
        {client / L"temp" / L"missing.zip", false},
        {client / L"missing" / L"package.zip", false},
        {folders.Package() / L".." / L"GAMES" / L"client" / L"Temp", false},
        {L"", false},
    };
    for (const auto& [path, isOutside] : rows) {
        EXPECT_EQ(IsOutsideClientFolder(path), isOutside) << path;
    }
}

TEST(OutsideClientFolder, TakesARelativePathFromTheCurrentFolder) {
    const bench::ClientFolders folders;
    {
        const bench::CurrentFolder current(folders.Client());
        EXPECT_FALSE(IsOutsideClientFolder(L"package.zip"));
        EXPECT_TRUE(IsOutsideClientFolder(L"..\\package.zip"));
    }
    const bench::CurrentFolder current(folders.Package());
    EXPECT_TRUE(IsOutsideClientFolder(L"package.zip"));
}

TEST(OutsideClientFolder, IgnoresLetterCaseOnServers) {
    SKIP_ON_WINDOWS("asking the network for a missing server takes too long");
    const bench::ToolLocation location(L"\\\\server\\share\\Game",
                                       L"\\\\server\\share\\Game\\tool.exe");
    EXPECT_FALSE(IsOutsideClientFolder(L"\\\\server\\SHARE\\game\\temp\\package.zip"));
    EXPECT_FALSE(IsOutsideClientFolder(L"\\\\server\\share\\GAME"));
    EXPECT_TRUE(IsOutsideClientFolder(L"\\\\server\\share\\Game 2\\package.zip"));
}

TEST(OutsideClientFolder, FollowsLinks) {
    const bench::ClientFolders folders;
    const fs::path into = folders.Scratch() / L"into the client";
    const fs::path out = folders.Client() / L"out of the client";
    SKIP_ON_WINDOWS_WITHOUT(bench::MakeFolderLink(into, folders.Client()) &&
                                bench::MakeFolderLink(out, folders.Package()),
                            "links for this user");
    EXPECT_FALSE(IsOutsideClientFolder(into / L"package.zip"));
    EXPECT_TRUE(IsOutsideClientFolder(out / L"package.zip"));
}

TEST(OutsideClientFolder, RefusesUnresolvablePathsOnTheClientsDrive) {
    const bench::ClientFolders folders;
    const std::tuple<const char*, fs::path, fs::path, bool> rows[] = {
        {"a path on the client's drive", folders.Package(), folders.Package(), false},
        {"a path on another drive", L"Q:\\package", L"Q:\\package", true},
        {"the client itself", folders.Client(), folders.Package(), false}};
    for (const auto& [name, unresolvable, path, isOutside] : rows) {
        const auto hook = bench::RefuseToOpen(unresolvable);
        EXPECT_EQ(IsOutsideClientFolder(path), isOutside) << name;
    }
}
