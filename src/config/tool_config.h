#pragma once

#include <string>
#include <string_view>
#include <vector>

// Defaults for the installer and the uninstaller that are built from the same configuration. The
// operator's configuration text normally replaces them.
inline constexpr std::wstring_view kDefaultCopyright =
    L"\u00A9 2026 Brennick. Karvoth and its logo belong to their owner.";
inline constexpr std::wstring_view kDefaultEacProductId = L"7c41e09ab6d2438f95b01d6ea83f527c";
inline constexpr std::wstring_view kDefaultDirectXUrl =
    L"https://download.microsoft.com/download/1/7/1/1718CCC4-6315-4D8E-9543-8E28A4E18C4C/"
    L"dxwebsetup.exe";
inline constexpr std::wstring_view kDefaultVcRedistUrl =
    L"https://aka.ms/vs/17/release/vc_redist.x64.exe";

inline constexpr std::wstring_view kDefaultStartupExe = L"patcher.exe";
inline constexpr std::wstring_view kDefaultRepairToolName = L"KrvBrennickInstaller.exe";
inline constexpr std::wstring_view kDefaultToolTitle = L"KrvBrennickInstaller";

// Replace texts that an operator left blank.
inline constexpr std::wstring_view kFallbackGameName = L"Karvoth";
inline constexpr std::wstring_view kFallbackPublisher = L"Brennick";

// Everything that differs between games. The downloader, the installer and the uninstaller of a
// game use the same keys: this tool reads all of them and uses some. The member initializers are
// the compiled-in defaults; the embedded configuration text (config_text.h) overrides them key by
// key.
//
// The fields are in the parser's order; config_keys.cpp lists the keys in the same order. Colors,
// versions and language codes are text.
struct ToolConfig {
    std::wstring downloaderName = L"Karvoth Downloader";
    std::wstring downloaderVersion = L"v2.0.0";
    std::wstring welcomeTitle = L"WELCOME TO KARVOTH";
    std::wstring welcomeBody;
    std::wstring installInstruction;
    std::wstring defaultInstallPath = L"D:\\Karvoth";
    std::wstring packageMode = L"download";
    std::wstring archiveType = L"zip";
    std::wstring archiveUrl;
    std::vector<std::wstring> archiveMirrorUrls;
    std::wstring embeddedArchiveName;
    std::wstring archiveSha256;
    std::wstring startupExe;
    std::wstring shortcutName = L"Karvoth";
    std::wstring discordUrl;
    std::wstring websiteUrl;
    std::wstring repairToolName{kDefaultRepairToolName};
    std::wstring downloadTitle = L"DOWNLOAD & INSTALL";
    std::wstring downloadSubtitle;
    std::wstring accentHex = L"FFA640";
    std::wstring companyName = L"By Brennick";
    std::wstring installerFileDescription = L"Karvoth Downloader";
    std::wstring installerProductName = L"Karvoth Downloader";
    std::wstring installerProductVersion = L"2.0.0";
    std::wstring installerCopyright{kDefaultCopyright};
    std::wstring installerLanguage = L"0409";
    std::wstring uninstallerFileDescription = L"Karvoth Uninstaller";
    std::wstring uninstallerProductName = L"Karvoth Uninstaller";
    std::wstring uninstallerProductVersion = L"2.0.0";
    std::wstring uninstallerCopyright{kDefaultCopyright};
    std::wstring uninstallerLanguage = L"0409";
    std::wstring programsDisplayName = L"Karvoth";
    std::wstring programsPublisher = L"Brennick";
    std::wstring programsDisplayVersion = L"2.0.0";
    std::wstring repairFileDescription{kDefaultToolTitle};
    std::wstring repairProductName{kDefaultToolTitle};
    std::wstring repairProductVersion = L"2.0.0";
    std::wstring repairCopyright{kDefaultCopyright};
    std::wstring repairLanguage = L"0409";
    std::wstring vcRedistMinVersion;
    std::wstring eacProductId{kDefaultEacProductId};
    std::wstring directXWebInstallerUrl{kDefaultDirectXUrl};
    std::wstring vcRedistX64Url{kDefaultVcRedistUrl};

    bool showLogo = true;
    bool showWelcomeText = true;
    bool showDownloadText = true;
    bool showDiscord = true;
    bool runAfterInstall = true;
    bool offerDesktopShortcut = true;
    bool cleanupArchive = true;
    bool installRepairTool = true;
    bool installPrerequisites = false;
    bool installEac = false;
    bool multiRepairTool = false;
    bool requireAdmin = true;
    bool promptOnlineDirectX = false;
    bool promptOnlineVcRedist = false;
};

// The active configuration. Holds the defaults until the window's creation replaces it; read-only
// afterwards, so both threads read it without a lock.
extern ToolConfig toolConfig;
