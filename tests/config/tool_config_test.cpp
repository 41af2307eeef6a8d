#include "config/tool_config.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(ToolConfig, StartsEmptyWhereAConfigurationNormallyNamesTheValue) {
    const ToolConfig config;
    EXPECT_THAT(config.archiveUrl, IsEmpty());
    EXPECT_THAT(config.archiveMirrorUrls, IsEmpty());
    EXPECT_THAT(config.archiveSha256, IsEmpty());
    EXPECT_THAT(config.startupExe, IsEmpty());
    EXPECT_EQ(config.repairToolName, L"KrvBrennickInstaller.exe");
}

TEST(ToolConfig, CopiesEveryEntryOfTheMirrorListInOrder) {
    ToolConfig source;
    source.archiveMirrorUrls = {L"one", L"two", L"three"};
    source.showLogo = false;
    source.vcRedistX64Url = L"last text";
    ToolConfig copy;
    copy = source;
    source.archiveMirrorUrls.clear();
    EXPECT_THAT(copy.archiveMirrorUrls, ElementsAre(L"one", L"two", L"three"));
    EXPECT_FALSE(copy.showLogo);
    EXPECT_EQ(copy.vcRedistX64Url, L"last text");
}

TEST(ToolConfig, HasNoFieldWithoutAKey) {
    constexpr size_t kFields = 42 * sizeof(std::wstring) + sizeof(std::vector<std::wstring>) + 14;
    constexpr size_t kAlignment = alignof(ToolConfig);
    EXPECT_EQ(sizeof(ToolConfig), (kFields + kAlignment - 1) / kAlignment * kAlignment);
}

TEST(ToolConfig, ActiveConfigurationHoldsTheDefaultsBeforeLoading) {
    EXPECT_EQ(toolConfig.downloaderName, L"Karvoth Downloader");
    EXPECT_EQ(toolConfig.accentHex, L"FFA640");
    EXPECT_TRUE(toolConfig.requireAdmin);
}

TEST(ToolConfig, IdentifiesTheAntiCheatProductByThirtyTwoLowerCaseHexDigits) {
    EXPECT_EQ(kDefaultEacProductId.size(), 32u);
    EXPECT_EQ(kDefaultEacProductId.find_first_not_of(L"0123456789abcdef"), std::wstring_view::npos);
}

}  // namespace
