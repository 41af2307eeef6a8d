#include <gtest/gtest.h>

#include "bench_parts/call_hook.h"
#include "bench_parts/skipping.h"
#include "common/tool_instance.h"
#include "job/client/client_folders.h"
#include "job/client/file_hooks.h"
#include "job/client/reinstall_cleanup.h"
#include "job/client/substituted_drive.h"
#include "job/progress/job_progress.h"

namespace fs = std::filesystem;

// What a wrong answer here costs is a disk: every condition is met with real folders, also at the
// root of drive C:, which belongs to the test alone.

namespace {

// A folder outside the scratch folder with a tool in it; goes with the object.
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

std::wstring FinalPath(const fs::path& folder) {
    const auto opened = AdoptHandle<KernelHandle>(
        ::CreateFileW(folder.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                      FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    std::wstring path(MAX_PATH, L'\0');
    path.resize(::GetFinalPathNameByHandleW(opened.get(), path.data(), MAX_PATH, 0));
    return path;
}

class CurrentFolder {
public:
    explicit CurrentFolder(const fs::path& folder) : former_(fs::current_path()) {
        fs::current_path(folder);
    }
    ~CurrentFolder() {
        fs::current_path(former_);
    }
    CurrentFolder(const CurrentFolder&) = delete;
    CurrentFolder& operator=(const CurrentFolder&) = delete;

private:
    fs::path former_;
};

}  // namespace

TEST(ReinstallSafety, AllowsAClientFolder) {
    const bench::ClientFolders folders;
    EXPECT_TRUE(IsSafeReinstallFolder());
}

TEST(ReinstallSafety, RefusesTheRootOfTheSystemDrive) {
    bench::WriteFile(L"C:\\tool.exe", "tool");
    EXPECT_FALSE(IsSafeWithToolIn(L"C:\\"));
    EXPECT_FALSE(IsSafeWithToolIn(L"c:\\"));
    EXPECT_FALSE(IsSafeWithToolIn(L"C:/"));
    EXPECT_FALSE(IsSafeWithToolIn(L"C:\\\\"));
    EXPECT_FALSE(IsSafeWithToolIn(L"C:\\windows\\.."));
    EXPECT_FALSE(IsSafeWithToolIn(L"\\\\?\\C:\\"));
    fs::remove(L"C:\\tool.exe");
}

TEST(ReinstallSafety, RefusesADriveWithoutSeparatorWhateverIsCurrentOnIt) {
    // The part of "C:\tool.exe" before its last separator is "C:", which by itself means the
    // drive's current folder.
    const ToolFolderAt folder(L"C:\\abcdef");
    EXPECT_FALSE(IsSafeAt(L"C:", L"C:\\tool.exe"));
    const CurrentFolder current(L"C:\\abcdef");
    EXPECT_FALSE(IsSafeAt(L"C:", L"C:\\tool.exe"));
}

TEST(ReinstallSafety, RefusesTheRootOfAMissingDrive) {
    EXPECT_FALSE(IsSafeWithToolIn(L"Q:\\"));
    EXPECT_FALSE(IsSafeAt(L"Q:", L"Q:\\tool.exe"));
}

TEST(ReinstallSafety, RefusesTheRootOfAnotherDrive) {
    SKIP_ON_WINDOWS("a second drive is an exception here");
    const bench::ClientFolders folders;
    const bench::SubstitutedDrive drive(L"X:", folders.Client());
    ASSERT_TRUE(drive.Made());
    EXPECT_FALSE(IsSafeAt(L"X:\\", L"X:\\RepairTool.exe"));
    EXPECT_FALSE(IsSafeAt(L"X:", L"X:\\RepairTool.exe"));
}

TEST(ReinstallSafety, AllowsASubstitutedDriveThatStandsForAClientFolder) {
    const bench::ClientFolders folders;
    const bench::SubstitutedDrive drive(L"X:", folders.Client());
    ASSERT_TRUE(drive.Made());
    SKIP_ON_WINE_WITHOUT(FinalPath(L"X:\\") == FinalPath(folders.Client()),
                         "resolve a substituted drive");
    EXPECT_TRUE(IsSafeAt(L"X:\\", L"X:\\RepairTool.exe"));
}

TEST(ReinstallSafety, RefusesASubstitutedDriveThatStandsForARoot) {
    const bench::SubstitutedDrive drive(L"X:", L"C:\\");
    ASSERT_TRUE(drive.Made());
    EXPECT_FALSE(IsSafeAt(L"X:\\", L"X:\\tool.exe"));
}

TEST(ReinstallSafety, RefusesTheRootOfAVolumeMountedInAFolder) {
    const bench::ClientFolders folders;
    fs::path mounted = folders.Client();
    const auto hook = bench::HookCall<decltype(&::GetVolumePathNameW)>(
        L"kernel32.dll", "GetVolumePathNameW", [&](LPCWSTR, LPWSTR root, DWORD size) -> BOOL {
            root[(mounted.native() + L"\\").copy(root, size - 1)] = L'\0';
            return TRUE;
        });
    EXPECT_FALSE(IsSafeReinstallFolder());
    mounted = folders.Client().parent_path();
    EXPECT_TRUE(IsSafeReinstallFolder());
}

TEST(ReinstallSafety, RefusesPathsOfFourAndFiveCharactersAndAllowsSix) {
    const ToolFolderAt four(L"C:\\a");
    const ToolFolderAt five(L"C:\\ab");
    const ToolFolderAt six(L"C:\\abc");
    EXPECT_FALSE(IsSafeWithToolIn(L"C:\\a"));
    EXPECT_FALSE(IsSafeWithToolIn(L"C:\\ab"));
    EXPECT_TRUE(IsSafeWithToolIn(L"C:\\abc"));
}

TEST(ReinstallSafety, MeasuresTheResolvedPath) {
    const ToolFolderAt five(L"C:\\ab");
    const ToolFolderAt six(L"C:\\abc");
    EXPECT_FALSE(IsSafeWithToolIn(L"C:\\windows\\..\\ab"));
    EXPECT_FALSE(IsSafeWithToolIn(L"C:\\ab\\"));
    EXPECT_FALSE(IsSafeWithToolIn(L"C:\\ab\\.\\\\"));
    EXPECT_FALSE(IsSafeWithToolIn(L"\\\\?\\C:\\ab"));
    EXPECT_TRUE(IsSafeWithToolIn(L"C:\\ABC\\"));
}

TEST(ReinstallSafety, CountsUtf16Units) {
    const fs::path twoUnits = L"C:\\\U0001F3AE";
    const fs::path threeUnits = L"C:\\\U0001F3AEa";
    const ToolFolderAt five(twoUnits);
    const ToolFolderAt six(threeUnits);
    EXPECT_FALSE(IsSafeWithToolIn(twoUnits));
    EXPECT_TRUE(IsSafeWithToolIn(threeUnits));
}

TEST(ReinstallSafety, RefusesALinkToADrivesRoot) {
    const bench::ClientFolders folders;
    const fs::path link = folders.Scratch() / L"link to the root";
    SKIP_ON_WINDOWS_WITHOUT(bench::MakeFolderLink(link, L"C:\\"), "links for this user");
    bench::WriteFile(L"C:\\tool.exe", "tool");
    EXPECT_FALSE(IsSafeWithToolIn(link));
    fs::remove(L"C:\\tool.exe");
}

TEST(ReinstallSafety, RefusesALinkToAShortPath) {
    const bench::ClientFolders folders;
    const ToolFolderAt five(L"C:\\ab");
    const fs::path link = folders.Scratch() / L"link to a short path";
    SKIP_ON_WINDOWS_WITHOUT(bench::MakeFolderLink(link, L"C:\\ab"), "links for this user");
    EXPECT_FALSE(IsSafeWithToolIn(link));
}

TEST(ReinstallSafety, AllowsALinkToTheClientFolder) {
    const bench::ClientFolders folders;
    const fs::path link = folders.Scratch() / L"link";
    SKIP_ON_WINDOWS_WITHOUT(bench::MakeFolderLink(link, folders.Client()), "links for this user");
    EXPECT_TRUE(IsSafeAt(link, link / L"RepairTool.exe"));
    EXPECT_TRUE(IsSafeAt(link, folders.Tool()));
    EXPECT_TRUE(IsSafeAt(folders.Client(), link / L"RepairTool.exe"));
}

TEST(ReinstallSafety, RefusesALinkThatLeadsTheToolElsewhere) {
    const bench::ClientFolders folders;
    const fs::path other = folders.Scratch() / L"other";
    bench::WriteFile(other / L"RepairTool.exe", "another tool");
    SKIP_ON_WINDOWS_WITHOUT(bench::MakeFolderLink(folders.Scratch() / L"link", other),
                            "links for this user");
    EXPECT_FALSE(IsSafeAt(folders.Client(), folders.Scratch() / L"link" / L"RepairTool.exe"));
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

TEST(ReinstallSafety, RefusesWhenAPathIsUnknown) {
    const bench::ClientFolders folders;
    EXPECT_FALSE(IsSafeAt(L"", folders.Tool()));
    EXPECT_FALSE(IsSafeAt(folders.Client(), L""));
    EXPECT_FALSE(IsSafeAt(L"", L""));
}

TEST(ReinstallSafety, RefusesWhenTheFolderCannotBeResolved) {
    const bench::ClientFolders folders;
    const std::wstring client = folders.Client();
    const bench::OpenHook hook([&](const std::wstring& path) -> DWORD {
        return path == client ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
    });
    EXPECT_FALSE(IsSafeReinstallFolder());
}

TEST(ReinstallSafety, RefusesWhenTheToolCannotBeResolved) {
    const bench::ClientFolders folders;
    const std::wstring tool = folders.Tool();
    const bench::OpenHook hook([&](const std::wstring& path) -> DWORD {
        return path == tool ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
    });
    EXPECT_FALSE(IsSafeReinstallFolder());
}

TEST(ReinstallSafety, JudgesNetworkPathsByTheirText) {
    SKIP_ON_WINDOWS("asking the network for a missing server takes too long");
    EXPECT_TRUE(IsSafeWithToolIn(L"\\\\server\\share\\game"));
    EXPECT_FALSE(IsSafeAt(L"\\\\server\\share\\game", L"\\\\server\\share\\tool.exe"));
    EXPECT_FALSE(IsSafeAt(L"\\\\server\\share\\game", L"\\\\server\\other\\game\\tool.exe"));
    EXPECT_FALSE(IsSafeAt(L"\\\\server\\share\\game", L"C:\\share\\game\\tool.exe"));
    EXPECT_FALSE(IsSafeAt(L"\\\\server\\", L"\\\\server\\tool.exe")) << "a root of any length";
}

TEST(ReinstallSafety, RefusesTheRootOfANetworkShare) {
    SKIP_ON_WINDOWS("asking the network for a missing server takes too long");
    EXPECT_FALSE(IsSafeWithToolIn(L"\\\\server\\share"));
    EXPECT_FALSE(IsSafeAt(L"\\\\server\\share\\", L"\\\\server\\share\\tool.exe"));
    EXPECT_FALSE(IsSafeAt(L"//server/share/", L"//server/share/tool.exe"));
}

TEST(ReinstallSafety, RefusesAToolPathThatMayHaveBeenCut) {
    // As it is read from the system: cut in the middle of a folder's name, two levels too high.
    const bench::ScratchFolder scratch;
    const std::wstring parent = scratch.Path().native();
    const std::wstring cut = parent + L"\\" + std::wstring(259 - parent.size() - 1, L'f');
    ASSERT_EQ(cut.size(), 259u);
    EXPECT_FALSE(IsSafeAt(parent, cut));
    EXPECT_TRUE(IsSafeAt(parent, cut.substr(0, 258)));
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
        const CurrentFolder current(folders.Client());
        EXPECT_FALSE(IsOutsideClientFolder(L"package.zip"));
        EXPECT_TRUE(IsOutsideClientFolder(L"..\\package.zip"));
    }
    const CurrentFolder current(folders.Package());
    EXPECT_TRUE(IsOutsideClientFolder(L"package.zip"));
}

TEST(OutsideClientFolder, IgnoresTheLetterCaseThatAServerGivesBack) {
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

TEST(OutsideClientFolder, IsSafeWhenAPathCannotBeResolved) {
    const bench::ClientFolders folders;
    const bench::FolderOnAnotherDrive drive(folders.Package());
    std::wstring unresolvable;
    const bench::OpenHook hook([&](const std::wstring& path) -> DWORD {
        return path == unresolvable ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
    });
    unresolvable = folders.Package();
    EXPECT_FALSE(IsOutsideClientFolder(unresolvable)) << "on the client's drive";
    unresolvable = drive.Path();
    EXPECT_TRUE(IsOutsideClientFolder(unresolvable)) << "on another drive";
    unresolvable = folders.Client();
    EXPECT_FALSE(IsOutsideClientFolder(folders.Package())) << "the client itself";
}

TEST(ReinstallSafety, TouchesNothing) {
    const bench::ClientFolders folders;
    bench::WriteFile(folders.Client() / L"a.dat", "a");
    EXPECT_TRUE(IsSafeReinstallFolder());
    EXPECT_FALSE(IsSafeAt(folders.Scratch(), folders.Tool()));
    EXPECT_EQ(bench::FolderListing(folders.Client()),
              (std::vector<std::wstring>{L"RepairTool.exe", L"a.dat"}));
    EXPECT_EQ(snapshot().statusLine, L"Ready.");
}
