#include "config/config_keys.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "config/config_text.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct ExpectedText {
    std::string_view key;
    std::wstring ToolConfig::*field;
    std::wstring_view value;
};

constexpr std::wstring_view kCopyright =
    L"\u00A9 2026 Brennick. Karvoth and its logo belong to their owner.";

// The operators' reference: each text key, the field that it sets, and its default.
const ExpectedText kTexts[] = {
    {"downloaderName", &ToolConfig::downloaderName, L"Karvoth Downloader"},
    {"downloaderVersion", &ToolConfig::downloaderVersion, L"v2.0.0"},
    {"welcomeTitle", &ToolConfig::welcomeTitle, L"WELCOME TO KARVOTH"},
    {"welcomeBody", &ToolConfig::welcomeBody, L""},
    {"installInstruction", &ToolConfig::installInstruction, L""},
    {"defaultInstallPath", &ToolConfig::defaultInstallPath, L"D:\\Karvoth"},
    {"packageMode", &ToolConfig::packageMode, L"download"},
    {"archiveType", &ToolConfig::archiveType, L"zip"},
    {"archiveUrl", &ToolConfig::archiveUrl, L""},
    {"embeddedArchiveName", &ToolConfig::embeddedArchiveName, L""},
    {"archiveSha256", &ToolConfig::archiveSha256, L""},
    {"startupExe", &ToolConfig::startupExe, L""},
    {"shortcutName", &ToolConfig::shortcutName, L"Karvoth"},
    {"discordUrl", &ToolConfig::discordUrl, L""},
    {"websiteUrl", &ToolConfig::websiteUrl, L""},
    {"repairToolName", &ToolConfig::repairToolName, L"KrvBrennickInstaller.exe"},
    {"downloadTitle", &ToolConfig::downloadTitle, L"DOWNLOAD & INSTALL"},
    {"downloadSubtitle", &ToolConfig::downloadSubtitle, L""},
    {"accentHex", &ToolConfig::accentHex, L"FFA640"},
    {"companyName", &ToolConfig::companyName, L"By Brennick"},
    {"installerFileDescription", &ToolConfig::installerFileDescription, L"Karvoth Downloader"},
    {"installerProductName", &ToolConfig::installerProductName, L"Karvoth Downloader"},
    {"installerProductVersion", &ToolConfig::installerProductVersion, L"2.0.0"},
    {"installerCopyright", &ToolConfig::installerCopyright, kCopyright},
    {"installerLanguage", &ToolConfig::installerLanguage, L"0409"},
    {"uninstallerFileDescription", &ToolConfig::uninstallerFileDescription, L"Karvoth Uninstaller"},
    {"uninstallerProductName", &ToolConfig::uninstallerProductName, L"Karvoth Uninstaller"},
    {"uninstallerProductVersion", &ToolConfig::uninstallerProductVersion, L"2.0.0"},
    {"uninstallerCopyright", &ToolConfig::uninstallerCopyright, kCopyright},
    {"uninstallerLanguage", &ToolConfig::uninstallerLanguage, L"0409"},
    {"programsDisplayName", &ToolConfig::programsDisplayName, L"Karvoth"},
    {"programsPublisher", &ToolConfig::programsPublisher, L"Brennick"},
    {"programsDisplayVersion", &ToolConfig::programsDisplayVersion, L"2.0.0"},
    {"repairFileDescription", &ToolConfig::repairFileDescription, L"KrvBrennickInstaller"},
    {"repairProductName", &ToolConfig::repairProductName, L"KrvBrennickInstaller"},
    {"repairProductVersion", &ToolConfig::repairProductVersion, L"2.0.0"},
    {"repairCopyright", &ToolConfig::repairCopyright, kCopyright},
    {"repairLanguage", &ToolConfig::repairLanguage, L"0409"},
    {"vcRedistMinVersion", &ToolConfig::vcRedistMinVersion, L""},
    {"eacProductId", &ToolConfig::eacProductId, L"7c41e09ab6d2438f95b01d6ea83f527c"},
    {"directXWebInstallerUrl", &ToolConfig::directXWebInstallerUrl,
     L"https://download.microsoft.com/download/1/7/1/1718CCC4-6315-4D8E-9543-8E28A4E18C4C/"
     L"dxwebsetup.exe"},
    {"vcRedistX64Url", &ToolConfig::vcRedistX64Url,
     L"https://aka.ms/vs/17/release/vc_redist.x64.exe"},
};

struct ExpectedSwitch {
    std::string_view key;
    bool ToolConfig::*field;
    bool value;
};

const ExpectedSwitch kSwitches[] = {
    {"showLogo", &ToolConfig::showLogo, true},
    {"showWelcomeText", &ToolConfig::showWelcomeText, true},
    {"showDownloadText", &ToolConfig::showDownloadText, true},
    {"showDiscord", &ToolConfig::showDiscord, true},
    {"runAfterInstall", &ToolConfig::runAfterInstall, true},
    {"offerDesktopShortcut", &ToolConfig::offerDesktopShortcut, true},
    {"cleanupArchive", &ToolConfig::cleanupArchive, true},
    {"installRepairTool", &ToolConfig::installRepairTool, true},
    {"installPrerequisites", &ToolConfig::installPrerequisites, false},
    {"installEac", &ToolConfig::installEac, false},
    {"multiRepairTool", &ToolConfig::multiRepairTool, false},
    {"requireAdmin", &ToolConfig::requireAdmin, true},
    {"promptOnlineDirectX", &ToolConfig::promptOnlineDirectX, false},
    {"promptOnlineVcRedist", &ToolConfig::promptOnlineVcRedist, false},
};

std::vector<std::string_view> KeysInReferenceOrder() {
    std::vector<std::string_view> keys;
    for (const ExpectedText& text : kTexts) {
        keys.push_back(text.key);
        if (text.key == "archiveUrl") {
            keys.push_back("archiveMirrorUrls");
        }
    }
    for (const ExpectedSwitch& toggle : kSwitches) {
        keys.push_back(toggle.key);
    }
    return keys;
}

TEST(ConfigKeys, AreAllFiftySevenInTheOrderOfTheirFields) {
    const ToolConfig config;
    std::vector<std::string_view> keys;
    const char* previous = nullptr;
    for (const ConfigKey& key : ConfigKeys()) {
        keys.push_back(key.name);
        const char* address = std::visit(
            [&](auto field) { return reinterpret_cast<const char*>(&(config.*field)); }, key.field);
        EXPECT_LT(previous, address) << key.name;
        previous = address;
    }
    EXPECT_EQ(keys.size(), 57u);
    EXPECT_EQ(keys, KeysInReferenceOrder());
}

// Every field has its default, except the one of the key `named`.
void ExpectDefaults(const ToolConfig& config, std::string_view named = {}) {
    for (const ExpectedText& text : kTexts) {
        if (text.key != named) {
            EXPECT_EQ(config.*text.field, text.value) << text.key << " after " << named;
        }
    }
    for (const ExpectedSwitch& toggle : kSwitches) {
        if (toggle.key != named) {
            EXPECT_EQ(config.*toggle.field, toggle.value) << toggle.key << " after " << named;
        }
    }
    if (named != "archiveMirrorUrls") {
        EXPECT_THAT(config.archiveMirrorUrls, IsEmpty()) << named;
    }
}

TEST(ConfigKeys, FillTheirOwnFieldAndNoOther) {
    ExpectDefaults(ParseConfigText(""));
    for (const ExpectedText& named : kTexts) {
        const ToolConfig config = ParseConfigText(std::string(named.key) + "=a value");
        EXPECT_EQ(config.*named.field, L"a value") << named.key;
        ExpectDefaults(config, named.key);
    }
    for (const ExpectedSwitch& named : kSwitches) {
        const ToolConfig config =
            ParseConfigText(std::string(named.key) + (named.value ? "=0" : "=1"));
        EXPECT_NE(config.*named.field, named.value) << named.key;
        ExpectDefaults(config, named.key);
    }
    const ToolConfig config = ParseConfigText("archiveMirrorUrls=a\\nb");
    EXPECT_THAT(config.archiveMirrorUrls, ElementsAre(L"a", L"b"));
    ExpectDefaults(config, "archiveMirrorUrls");
}

TEST(ConfigKeys, LeaveNoFieldWithoutAKey) {
    constexpr size_t kFields = 42 * sizeof(std::wstring) + sizeof(std::vector<std::wstring>) + 14;
    constexpr size_t kAlignment = alignof(ToolConfig);
    EXPECT_EQ(sizeof(ToolConfig), (kFields + kAlignment - 1) / kAlignment * kAlignment);
    ExpectDefaults(toolConfig);  // Before a configuration is loaded.
}

}  // namespace
