#include "job/client/running_tool.h"

#include <gtest/gtest.h>

#include <utility>

#include "bench_parts/file_hooks.h"
#include "bench_parts/skipping.h"
#include "common/tool_instance.h"
#include "job/client/client_folders.h"

namespace fs = std::filesystem;

TEST(RunningTool, IsRecognizedByItsOwnPathInAnyLetterCase) {
    const bench::ClientFolders folders;
    EXPECT_TRUE(IsRunningTool(folders.Tool()));
    EXPECT_TRUE(IsRunningTool(folders.Client() / L"REPAIRTOOL.exe"));
    EXPECT_TRUE(IsRunningTool(folders.Scratch() / L"GAMES" / L"client" / L"repairtool.EXE"));
}

TEST(RunningTool, IsRecognizedIfItsOwnPathIsWrittenDifferently) {
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

TEST(RunningTool, NoPathIsTheToolWhileItsLocationIsUnknown) {
    const bench::ClientFolders folders;
    const bench::ToolLocation location(L"", L"");
    EXPECT_FALSE(IsRunningTool(folders.Tool()));
    EXPECT_FALSE(IsRunningTool(L""));
}

TEST(RunningTool, APathThatCannotBeResolvedIsNotTheTool) {
    const bench::ClientFolders folders;
    const auto hook = bench::RefuseToOpen(folders.Tool());
    EXPECT_FALSE(IsRunningTool(folders.Tool()));
}

TEST(RunningTool, IsRecognizedByItsPathOnceItsFileIsRemoved) {
    const bench::ClientFolders folders;
    fs::remove(folders.Tool());
    EXPECT_TRUE(IsRunningTool(folders.Tool()));
    EXPECT_TRUE(CanBeRunningTool(FactsOf(folders.Tool()), FindRunningTool(toolExePath)));
}

TEST(RunningTool, OnlyAFileOfItsSizeOrAnUnreadableEntryCanBeIt) {
    const RunningTool ofUnknownSize;
    RunningTool tool;
    tool.size = 100;
    const std::pair<EntryFacts, bool> rows[] = {
        {{EntryKind::RegularFile, 100, 0}, true}, {{EntryKind::Unreadable, 0, 0}, true},
        {{EntryKind::RegularFile, 99, 0}, false}, {{EntryKind::RegularFile, 101, 0}, false},
        {{EntryKind::Folder, 100, 0}, false},     {{EntryKind::Missing, 100, 0}, false},
    };
    for (const auto& [facts, canBeIt] : rows) {
        EXPECT_EQ(CanBeRunningTool(facts, tool), canBeIt) << static_cast<int>(facts.kind);
        EXPECT_TRUE(CanBeRunningTool(facts, ofUnknownSize));
    }
}
