#include "job/client/running_tool.h"

#include <gtest/gtest.h>

#include <utility>

#include "bench_parts/file_hooks.h"
#include "bench_parts/skipping.h"
#include "common/tool_instance.h"
#include "job/client/client_folders.h"

namespace fs = std::filesystem;

TEST(RunningTool, IsRecognizedHoweverEitherPathIsWritten) {
    const bench::ClientFolders folders;
    EXPECT_TRUE(IsRunningTool(folders.Tool()));
    EXPECT_TRUE(IsRunningTool(folders.Scratch() / L"GAMES" / L"client" / L"repairtool.EXE"));
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

TEST(RunningTool, IsRecognizedOnAVolumeWithoutDosName) {
    const bench::ClientFolders folders;
    using GetFinalPath = decltype(&::GetFinalPathNameByHandleW);
    const auto hook = bench::HookCall<GetFinalPath>(
        bench::kKernel32, "GetFinalPathNameByHandleW",
        [](HANDLE file, LPWSTR path, DWORD size, DWORD flags) -> DWORD {
            ::SetLastError(ERROR_INVALID_FUNCTION);
            return (flags & VOLUME_NAME_NT) == 0
                       ? 0
                       : bench::RealFunction<GetFinalPath>(
                             bench::kKernel32, "GetFinalPathNameByHandleW")(file, path, size,
                                                                            flags);
        });
    EXPECT_TRUE(IsRunningTool(folders.Tool()));
    EXPECT_FALSE(IsRunningTool(folders.Client()));
}

TEST(RunningTool, OtherUnknownAndUnresolvedPathsAreNotTheTool) {
    const bench::ClientFolders folders;
    const fs::path client = folders.Client();
    bench::WriteFile(client / L"sub" / L"RepairTool.exe", bench::kToolBytes);
    bench::WriteFile(client / L"RepairTool.exe.bak", bench::kToolBytes);
    for (const fs::path& other : {client / L"sub" / L"RepairTool.exe", client / L"missing.exe",
                                  client / L"RepairTool.exe.bak", client, fs::path()}) {
        EXPECT_FALSE(IsRunningTool(other)) << other;
    }
    {
        const auto hook = bench::RefuseToOpen(folders.Tool());
        EXPECT_FALSE(IsRunningTool(folders.Tool()));
    }
    const bench::ToolLocation unknown(L"", L"");
    EXPECT_FALSE(IsRunningTool(folders.Tool()));
    EXPECT_FALSE(IsRunningTool(L""));
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
