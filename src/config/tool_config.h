#pragma once

#include <string>
#include <string_view>
#include <vector>

// The values below go out to the installer and the uninstaller that are made from the same
// configuration; an operator's configuration text normally replaces them.
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

// Everything that differs from one game to the next. The key set is shared with the downloader,
// the installer and the uninstaller of the same game: this tool reads every key into the record
// and acts on some of them. The member initializers are the compiled-in defaults; the embedded
// configuration text (config_text.h) replaces the fields whose keys it names.
//
// The keys stand in the order in which the parser fills them; config_keys.cpp lists them in the
// same order. A plain value: copies share nothing. No field is a number: colors, versions and
// language codes are text.
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
    std::wstring repairToolName = L"KrvBrennickInstaller.exe";
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
    std::wstring repairFileDescription = L"KrvBrennickInstaller";
    std::wstring repairProductName = L"KrvBrennickInstaller";
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

// The active configuration: the defaults until the window's creation replaces it as a whole, then
// read-only, so both threads read it without a lock.
extern ToolConfig toolConfig;
