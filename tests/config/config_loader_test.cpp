#include "config/config_loader.h"

#include <gtest/gtest.h>

#include "bench_parts/call_hook.h"

namespace {

// This test program embeds embedded_config.txt as resource 201, with CR LF and no final line feed.
TEST(LoadEmbeddedConfig, ReplacesTheWholeTarget) {
    ToolConfig config;
    config.archiveUrl = L"left over";
    config.archiveMirrorUrls = {L"left over"};
    EXPECT_TRUE(LoadEmbeddedConfig(nullptr, config));
    EXPECT_EQ(config.archiveUrl, L"http://127.0.0.1/embedded.zip");
    EXPECT_EQ(config.shortcutName, L"Embedded \u00C4");
    EXPECT_TRUE(config.archiveMirrorUrls.empty());
    EXPECT_EQ(config.downloaderName, L"Karvoth Downloader");
}

void ExpectFailureThatKeepsTheTarget(HMODULE module = nullptr) {
    ToolConfig config;
    config.archiveUrl = L"as it was";
    EXPECT_FALSE(LoadEmbeddedConfig(module, config));
    EXPECT_EQ(config.archiveUrl, L"as it was");
}

TEST(LoadEmbeddedConfig, KeepsTheTargetWithoutAReadableResource) {
    ExpectFailureThatKeepsTheTarget(::GetModuleHandleW(L"kernel32.dll"));
    {
        const auto hook = bench::HookCall<decltype(&::SizeofResource)>(
            L"kernel32.dll", "SizeofResource", [](auto...) -> DWORD { return 0; });
        ExpectFailureThatKeepsTheTarget();
    }
    {
        const auto hook = bench::HookCall<decltype(&::LoadResource)>(
            L"kernel32.dll", "LoadResource", [](auto...) -> HGLOBAL { return nullptr; });
        ExpectFailureThatKeepsTheTarget();
    }
    const auto hook = bench::HookCall<decltype(&::LockResource)>(
        L"kernel32.dll", "LockResource", [](auto...) -> LPVOID { return nullptr; });
    ExpectFailureThatKeepsTheTarget();
}

TEST(FillEmptyNames, FillsEmptyNamesOnly) {
    ToolConfig config;
    config.repairToolName.clear();
    FillEmptyNames(config);
    EXPECT_EQ(config.startupExe, L"patcher.exe");
    EXPECT_EQ(config.repairToolName, L"KrvBrennickInstaller.exe");
    config.startupExe = L" ";
    config.repairToolName = L"my.exe";
    FillEmptyNames(config);
    EXPECT_EQ(config.startupExe, L" ");
    EXPECT_EQ(config.repairToolName, L"my.exe");
}

}  // namespace
