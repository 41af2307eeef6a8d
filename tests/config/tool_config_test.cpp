#include "config/tool_config.h"

#include <gtest/gtest.h>

namespace {

TEST(ToolConfig, HasNoFieldWithoutAKey) {
    constexpr size_t kFields = 42 * sizeof(std::wstring) + sizeof(std::vector<std::wstring>) + 14;
    constexpr size_t kAlignment = alignof(ToolConfig);
    EXPECT_EQ(sizeof(ToolConfig), (kFields + kAlignment - 1) / kAlignment * kAlignment);
}

TEST(ToolConfig, TheActiveConfigurationHasTheDefaultsBeforeLoading) {
    EXPECT_EQ(toolConfig.downloaderName, L"Karvoth Downloader");
    EXPECT_EQ(toolConfig.accentHex, L"FFA640");
    EXPECT_EQ(toolConfig.startupExe, L"");
    EXPECT_TRUE(toolConfig.requireAdmin);
}

}  // namespace
