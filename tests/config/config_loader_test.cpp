#include "config/config_loader.h"

#include <gtest/gtest.h>

#include <cstring>

#include "bench_parts/import_hook.h"

namespace {

// This test program embeds embedded_config.txt as resource 201, with CR LF and no final line feed.
TEST(LoadEmbeddedConfig, ReplacesTheTargetAsAWhole) {
    ToolConfig config;
    config.archiveUrl = L"left over";
    config.archiveMirrorUrls = {L"left over"};
    EXPECT_TRUE(LoadEmbeddedConfig(nullptr, config));
    EXPECT_EQ(config.archiveUrl, L"http://127.0.0.1/embedded.zip");
    EXPECT_EQ(config.shortcutName, L"Embedded \u00C4");
    EXPECT_TRUE(config.archiveMirrorUrls.empty());
    EXPECT_EQ(config.downloaderName, L"Karvoth Downloader");
}

void ExpectUntouchedByAFailedLoad() {
    ToolConfig config;
    config.archiveUrl = L"as it was";
    EXPECT_FALSE(LoadEmbeddedConfig(nullptr, config));
    EXPECT_EQ(config.archiveUrl, L"as it was");
}

TEST(LoadEmbeddedConfig, LeavesTheTargetAloneWhenTheModuleHasNoSuchResource) {
    ToolConfig config;
    config.archiveUrl = L"as it was";
    EXPECT_FALSE(LoadEmbeddedConfig(::GetModuleHandleW(L"kernel32.dll"), config));
    EXPECT_EQ(config.archiveUrl, L"as it was");
}

DWORD WINAPI SizeOfNothing(HMODULE, HRSRC) {
    return 0;
}

TEST(LoadEmbeddedConfig, LeavesTheTargetAloneWhenTheResourceIsEmpty) {
    const bench::ImportHook hook(L"kernel32.dll", "SizeofResource",
                                 reinterpret_cast<void*>(&SizeOfNothing));
    ASSERT_TRUE(hook.Installed());
    ExpectUntouchedByAFailedLoad();
}

HGLOBAL WINAPI LoadNothing(HMODULE, HRSRC) {
    return nullptr;
}

TEST(LoadEmbeddedConfig, LeavesTheTargetAloneWhenTheResourceCannotBeLoaded) {
    const bench::ImportHook hook(L"kernel32.dll", "LoadResource",
                                 reinterpret_cast<void*>(&LoadNothing));
    ASSERT_TRUE(hook.Installed());
    ExpectUntouchedByAFailedLoad();
}

LPVOID WINAPI LockNothing(HGLOBAL) {
    return nullptr;
}

TEST(LoadEmbeddedConfig, LeavesTheTargetAloneWhenTheResourceLocksToNothing) {
    const bench::ImportHook hook(L"kernel32.dll", "LockResource",
                                 reinterpret_cast<void*>(&LockNothing));
    ASSERT_TRUE(hook.Installed());
    ExpectUntouchedByAFailedLoad();
}

TEST(FillEmptyNames, GivesEmptyNamesTheirStandIns) {
    ToolConfig config;
    config.startupExe.clear();
    config.repairToolName.clear();
    FillEmptyNames(config);
    EXPECT_EQ(config.startupExe, L"patcher.exe");
    EXPECT_EQ(config.repairToolName, L"KrvBrennickInstaller.exe");
}

TEST(FillEmptyNames, KeepsNamesThatAreThereEvenBlankOnes) {
    ToolConfig config;
    config.startupExe = L" ";
    config.repairToolName = L"my.exe";
    FillEmptyNames(config);
    EXPECT_EQ(config.startupExe, L" ");
    EXPECT_EQ(config.repairToolName, L"my.exe");
}

TEST(FillEmptyNames, ServesADefaultRecordAfterAMissingResource) {
    ToolConfig config;
    EXPECT_FALSE(LoadEmbeddedConfig(::GetModuleHandleW(L"kernel32.dll"), config));
    FillEmptyNames(config);
    EXPECT_EQ(config.startupExe, L"patcher.exe");
    EXPECT_EQ(config.programsDisplayName, L"Karvoth");
}

}  // namespace
