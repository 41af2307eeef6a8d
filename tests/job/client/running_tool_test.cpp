#include "job/client/running_tool.h"

#include <gtest/gtest.h>

#include "bench_parts/skipping.h"
#include "common/tool_instance.h"
#include "job/client/client_folders.h"
#include "job/client/file_hooks.h"

namespace fs = std::filesystem;

TEST(RunningTool, IsRecognizedByItsOwnPath) {
    const bench::ClientFolders folders;
    EXPECT_TRUE(IsRunningTool(folders.Tool()));
}

TEST(RunningTool, IsRecognizedInAnotherLetterCase) {
    const bench::ClientFolders folders;
    EXPECT_TRUE(IsRunningTool(folders.Client() / L"REPAIRTOOL.exe"));
    EXPECT_TRUE(IsRunningTool(folders.Scratch() / L"GAMES" / L"client" / L"repairtool.EXE"));
}

TEST(RunningTool, IsRecognizedWhenItsOwnPathIsWrittenDifferently) {
    const bench::ClientFolders folders;
    const bench::ToolLocation location(
        folders.Client(), folders.Scratch() / L"games/CLIENT\\.\\..\\client/repairTOOL.exe");
    EXPECT_TRUE(IsRunningTool(folders.Tool()));
}

TEST(RunningTool, IsRecognizedByItsShortName) {
    const bench::ClientFolders folders;
    const fs::path tool = folders.Client() / L"The repair tool of the game.exe";
    bench::WriteFile(tool, "tool");
    const fs::path shortPath = bench::WithShortName(tool);
    SKIP_ON_WINDOWS_WITHOUT(!shortPath.empty(), "short names on this volume");
    const bench::ToolLocation location(folders.Client(), tool);
    EXPECT_TRUE(IsRunningTool(shortPath));
}

TEST(RunningTool, IsRecognizedThroughAFolderLink) {
    const bench::ClientFolders folders;
    SKIP_ON_WINDOWS_WITHOUT(bench::MakeFolderLink(folders.Scratch() / L"link", folders.Client()),
                            "links for this user");
    EXPECT_TRUE(IsRunningTool(folders.Scratch() / L"link" / L"RepairTool.exe"));
    const bench::ToolLocation location(folders.Scratch() / L"link",
                                       folders.Scratch() / L"link" / L"RepairTool.exe");
    EXPECT_TRUE(IsRunningTool(folders.Tool()));
}

TEST(RunningTool, OtherEntriesAreNotTheTool) {
    const bench::ClientFolders folders;
    bench::WriteFile(folders.Client() / L"sub" / L"RepairTool.exe", bench::kToolBytes);
    bench::WriteFile(folders.Client() / L"RepairTool.exe.bak", bench::kToolBytes);
    EXPECT_FALSE(IsRunningTool(folders.Client() / L"sub" / L"RepairTool.exe"));
    EXPECT_FALSE(IsRunningTool(folders.Client() / L"RepairTool.exe.bak"));
    EXPECT_FALSE(IsRunningTool(folders.Client() / L"missing.exe"));
    EXPECT_FALSE(IsRunningTool(folders.Client()));
    EXPECT_FALSE(IsRunningTool(L""));
}

TEST(RunningTool, NothingIsTheToolWhileItsPlaceIsUnknown) {
    const bench::ClientFolders folders;
    const bench::ToolLocation location(L"", L"");
    EXPECT_FALSE(IsRunningTool(folders.Tool()));
    EXPECT_FALSE(IsRunningTool(L""));
}

TEST(RunningTool, APathThatCannotBeResolvedIsNotTheTool) {
    const bench::ClientFolders folders;
    const bench::OpenHook hook([](const std::wstring& path) -> DWORD {
        return path.ends_with(L"RepairTool.exe") ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
    });
    EXPECT_FALSE(IsRunningTool(folders.Tool()));
}

TEST(RunningTool, IsKnownByItsPathAloneOnceItsFileIsGone) {
    const bench::ClientFolders folders;
    fs::remove(folders.Tool());
    EXPECT_TRUE(IsRunningTool(folders.Tool()));
    EXPECT_TRUE(CanBeRunningTool(FactsOf(folders.Tool()), FindRunningTool(toolExePath)));
}

TEST(RunningTool, OnlyAFileOfItsSizeOrAnUnreadableEntryCanBeIt) {
    RunningTool tool;
    tool.size = 100;
    EXPECT_TRUE(CanBeRunningTool({EntryKind::RegularFile, 100, 0}, tool));
    EXPECT_TRUE(CanBeRunningTool({EntryKind::Unreadable, 0, 0}, tool));
    EXPECT_FALSE(CanBeRunningTool({EntryKind::RegularFile, 99, 0}, tool));
    EXPECT_FALSE(CanBeRunningTool({EntryKind::RegularFile, 101, 0}, tool));
    EXPECT_FALSE(CanBeRunningTool({EntryKind::Folder, 0, 0}, tool));
    EXPECT_FALSE(CanBeRunningTool({EntryKind::Missing, 0, 0}, tool));
}

TEST(RunningTool, AnythingCanBeItWhileItsSizeIsUnknown) {
    const RunningTool tool;
    for (const EntryKind kind :
         {EntryKind::RegularFile, EntryKind::Unreadable, EntryKind::Folder, EntryKind::Missing}) {
        EXPECT_TRUE(CanBeRunningTool({kind, 0, 0}, tool));
    }
}
