#include "brand_corpus.h"

#include <algorithm>

#include "config/config_loader.h"
#include "config/config_text.h"

namespace kit_test {

namespace {

const std::string kDigest = std::string(32, 'a') + std::string(32, '5');

std::string KeyOf(const std::string& line) {
    return line.substr(0, line.find('='));
}

}  // namespace

std::string ConfigText(const std::vector<std::string>& changes) {
    std::vector<std::string> lines{
        "format=Quellstone.v1",
        "archiveUrl=https://example.com/client-1.0.zip",
        "archiveSha256=" + kDigest,
        "startupExe=bin\\\\game.exe",
        "# A comment",
    };
    for (const std::string& change : changes) {
        const bool removes = change.starts_with('-');
        const std::string key = removes ? change.substr(1) : KeyOf(change);
        const auto found = std::find_if(lines.begin(), lines.end(), [&](const std::string& line) {
            return KeyOf(line) == key;
        });
        if (removes) {
            lines.erase(found);
        } else if (found != lines.end() && lines.size() >= 5 && found - lines.begin() < 5) {
            *found = change;
        } else {
            lines.push_back(change);
        }
    }
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\r\n";
    }
    return text;
}

Brand MakeBrand(std::string configText) {
    Brand brand;
    brand.configText = std::move(configText);
    brand.config = ParseConfigText(*brand.configText);
    FillEmptyNames(brand.config);
    return brand;
}

std::vector<std::string> Described(const Findings& findings) {
    std::vector<std::string> described;
    for (const Finding& finding : findings.List()) {
        described.push_back(std::string(SeverityName(finding.severity)) + " " +
                            std::string(finding.rule->id) + " " + finding.place.text);
    }
    return described;
}

const std::vector<ConfigCase>& ConfigCases() {
    static const std::vector<ConfigCase> cases{
        {{}, {}},
        // config.*
        {{"\xEF\xBB\xBF"
          "x=y"},
         {"warning config.unknown-key config.txt:6"}},
        {{"# \xFF"}, {"error config.not-utf8 config.txt:6"}},
        {{"shortcutName=\xC3\xA4\xE2\x82\xAC"}, {}},
        {{"shortcutName=\xC3"}, {"error config.not-utf8 config.txt:6"}},
        {{"# archiveUrl = x"}, {}},
        {{"no equals sign"}, {}},
        {{"color=red"}, {"warning config.unknown-key config.txt:6"}},
        {{"=x"}, {"warning config.unknown-key config.txt:6"}},
        {{"; note = x"}, {"warning config.unknown-key config.txt:6"}},
        {{"showlogo=1"}, {"error config.misspelt-key config.txt:6"}},
        {{"showLogo =1"}, {"error config.misspelt-key config.txt:6"}},
        {{"showLgoo=1"}, {"error config.misspelt-key config.txt:6"}},
        {{"SHOWLOGOS=1"}, {"error config.misspelt-key config.txt:6"}},
        {{"showLogosss=1"}, {"warning config.unknown-key config.txt:6"}},
        {{"Format=Quellstone.v1"}, {"error config.misspelt-key config.txt:6"}},
        {{"showLogo=1", "showLogo=0"}, {"warning config.key-twice config.txt:6"}},
        {{"showLogo=1", "showLogo=0", "showLogo=1"},
         {"warning config.key-twice config.txt:6", "warning config.key-twice config.txt:7"}},
        {{"showLogo=yes"}, {"error config.switch-value config.txt:6"}},
        {{"showLogo=True"}, {"error config.switch-value config.txt:6"}},
        {{"showLogo=yes", "showLogo=1"}, {"warning config.key-twice config.txt:6"}},
        {{"showLogo=1", "showDiscord=true", "runAfterInstall=TRUE", "cleanupArchive=0",
          "multiRepairTool=false", "offerDesktopShortcut=FALSE"},
         {}},
        {{"showLogo="}, {}},
        {{"showLogo=1 "}, {"error config.outer-blank config.txt:6"}},
        {{"showLogo=\t1"}, {"error config.outer-blank config.txt:6"}},
        {{"archiveUrl= https://example.com/client-1.0.zip"},
         {"error config.outer-blank config.txt:2"}},
        {{"websiteUrl=https://example.com "}, {"error config.outer-blank config.txt:6"}},
        {{"discordUrl=https://example.com\t"}, {"error config.outer-blank config.txt:6"}},
        {{"startupExe= game.exe"}, {"error config.outer-blank config.txt:4"}},
        {{"repairToolName=Tool.exe "}, {"error config.outer-blank config.txt:6"}},
        {{"shortcutName= Game"}, {"note config.outer-blank config.txt:6"}},
        {{"shortcutName="}, {}},
        {{"shortcutName=My Game"}, {}},
        {{"accentHex= FFA640 "}, {"note config.outer-blank config.txt:6"}},
        {{"companyName=a\\qb"}, {"warning config.backslash config.txt:6"}},
        {{"companyName=a\\\\b\\n\\r\\t\\e"}, {}},
        {{"companyName=end\\"}, {}},
        {{"showLogo=\\1"},
         {"error config.switch-value config.txt:6", "warning config.backslash config.txt:6"}},
        {{"format=v1\\."}, {"warning config.backslash config.txt:1"}},
        {{"format=v1\\\\.\\n"}, {}},
        {{"archiveMirrorUrls=https://a\\q"},
         {"warning config.backslash config.txt:6", "note mirror.unused config.txt:6"}},
        {{"installerCopyright=C:new"}, {"note config.not-acted-on config.txt:6"}},
        {{"installerCopyright=c:\\\\x\\new"},
         {"warning config.backslash config.txt:6", "note config.not-acted-on config.txt:6"}},
        {{"repairCopyright=\\new"}, {}},
        {{"embeddedArchiveName=a\\\\b\\t"},
         {"warning config.backslash config.txt:6", "note config.not-acted-on config.txt:6"}},
        {{"repairToolName=To\\\\ol.exe"}, {"error name.tool config.txt:6"}},
        {{"companyName=C:\\new"}, {"warning config.backslash config.txt:6"}},
        {{"companyName=C:\\\\new"}, {}},
        {{"companyName=C:\\\\new\\"}, {"warning config.backslash config.txt:6"}},
        {{"startupExe=bin\\tool.exe"}, {"warning config.backslash config.txt:4"}},
        {{"startupExe=bin\\game.exe"}, {"warning config.backslash config.txt:4"}},
        {{"startupExe=bin/game.exe"}, {}},
        {{"defaultInstallPath=D:\\\\Game"}, {"note config.not-acted-on config.txt:6"}},
        {{"defaultInstallPath=D:\\\\Karvoth"}, {}},
        {{"defaultInstallPath=D:\\\\Karvoth "}, {"note config.outer-blank config.txt:6"}},
        {{"requireAdmin=0"}, {"note config.not-acted-on config.txt:6"}},
        {{"welcomeTitle=WELCOME TO KARVOTH"}, {}},
        {{"uninstallerFileDescription=Mine"}, {}},
        // url.*
        {{"-archiveUrl"}, {"error url.missing config.txt"}},
        {{"archiveUrl="}, {"error url.missing config.txt:2"}},
        {{"archiveUrl=HTTPS://example.com/client-1.0.zip"}, {"error url.scheme config.txt:2"}},
        {{"archiveUrl=example.com/client-1.0.zip"}, {"error url.scheme config.txt:2"}},
        {{"archiveUrl=ftp://example.com/client-1.0.zip"}, {"error url.scheme config.txt:2"}},
        {{"archiveUrl=https://"}, {"error url.invalid config.txt:2"}},
        {{"archiveUrl=https:///1.zip"}, {"error url.invalid config.txt:2"}},
        {{"archiveUrl=https://:80/1.zip"}, {"error url.invalid config.txt:2"}},
        {{"archiveUrl=https://example.com:99999/1.zip"}, {"error url.invalid config.txt:2"}},
        {{"archiveUrl=https://" + std::string(511, 'a') + "/1.zip"}, {}},
        {{"archiveUrl=https://" + std::string(512, 'a') + "/1.zip"},
         {"error url.invalid config.txt:2"}},
        {{"archiveUrl=https://a/1" + std::string(4093, 'p')}, {}},
        {{"archiveUrl=https://a/1" + std::string(4094, 'p')}, {"error url.invalid config.txt:2"}},
        {{"archiveUrl=https://a/1.zip?" + std::string(9000, 'q')}, {}},
        {{"archiveUrl=http://example.com/client-1.0.zip"}, {"warning url.plain-http config.txt:2"}},
        {{"archiveUrl=https://example.com/1.0/client.zip?v=2"},
         {"warning url.not-versioned config.txt:2"}},
        {{"archiveUrl=https://example1.com"}, {"warning url.not-versioned config.txt:2"}},
        {{"archiveUrl=https://example.com/v2.zip?name=client"}, {}},
        // mirror.*
        {{"multiRepairTool=1", "archiveMirrorUrls=https://b/2.zip"}, {}},
        {{"multiRepairTool=1", "archiveMirrorUrls=HTTP://b/2.zip"},
         {"error mirror.invalid config.txt:7"}},
        {{"multiRepairTool=1", "archiveMirrorUrls=https://"},
         {"error mirror.invalid config.txt:7"}},
        {{"multiRepairTool=1", "archiveMirrorUrls=http://b/2.zip"},
         {"warning url.plain-http config.txt:7"}},
        {{"multiRepairTool=1", "archiveMirrorUrls=https://b/client.zip"},
         {"warning url.not-versioned config.txt:7"}},
        {{"multiRepairTool=1", "archiveMirrorUrls=https://example.com/client-1.0.zip"},
         {"warning mirror.same config.txt:7"}},
        {{"multiRepairTool=1"}, {"warning mirror.missing config.txt:6"}},
        {{"multiRepairTool=1", "archiveMirrorUrls= \\n "},
         {"note config.outer-blank config.txt:7", "warning mirror.missing config.txt:6"}},
        {{"multiRepairTool=0", "archiveMirrorUrls=http://b/client.zip"},
         {"note mirror.unused config.txt:7"}},
        {{"multiRepairTool=1", "archiveMirrorUrls=https://b/2.zip\\nhttps://c/2.zip"},
         {"note mirror.unused config.txt:7"}},
        // digest.*
        {{"-archiveSha256"}, {"error digest.missing config.txt"}},
        {{"archiveSha256="}, {"error digest.missing config.txt:3"}},
        {{"archiveSha256=sha256:" + kDigest}, {"error digest.malformed config.txt:3"}},
        {{"archiveSha256=" + kDigest.substr(1)}, {"error digest.malformed config.txt:3"}},
        {{"archiveSha256=unknown"}, {"error digest.malformed config.txt:3"}},
        {{"archiveSha256=" + kDigest.substr(0, 32) + " : - " + kDigest.substr(32)}, {}},
        // name.*
        {{"repairToolName="}, {}},
        {{"repairToolName=Fix My Game.EXE"}, {}},
        {{"repairToolName=Tool"}, {"error name.tool config.txt:6"}},
        {{"repairToolName=.exe"}, {"error name.tool config.txt:6"}},
        {{"repairToolName=Tool.com"}, {"error name.tool config.txt:6"}},
        {{"repairToolName=bin/Tool.exe"}, {"error name.tool config.txt:6"}},
        {{"repairToolName=bin\\\\Tool.exe"}, {"error name.tool config.txt:6"}},
        {{"repairToolName=Tool?.exe"}, {"error name.tool config.txt:6"}},
        {{"repairToolName=To\\tol.exe"},
         {"error name.tool config.txt:6", "warning config.backslash config.txt:6"}},
        {{"repairToolName=con.exe"}, {"error name.tool config.txt:6"}},
        {{"repairToolName=Lpt9.exe"}, {"error name.tool config.txt:6"}},
        {{"repairToolName=COM\xC2\xB9.exe"}, {"error name.tool config.txt:6"}},
        {{"repairToolName=CONSOLE.exe"}, {}},
        {{"repairToolName=Tool.exe."}, {"error name.tool config.txt:6"}},
        {{"repairToolName=uninstall.EXE"}, {"error name.tool config.txt:6"}},
        {{"repairToolName=tar.exe"}, {"error name.tool config.txt:6"}},
        {{"repairToolName=PowerShell.exe"}, {"error name.tool config.txt:6"}},
        {{"repairToolName=GAME.exe", "startupExe=game.exe"}, {"error name.tool config.txt:6"}},
        {{"repairToolName=patcher.exe", "startupExe="}, {"error name.tool config.txt:6"}},
        {{"repairToolName=game.exe", "startupExe=bin/sub/../..//./game.exe"},
         {"error name.tool config.txt:6"}},
        {{"repairToolName=game.exe"}, {}},
        {{"startupExe=C:\\\\game.exe"}, {"warning name.startup config.txt:4"}},
        {{"startupExe=C:game.exe"}, {"warning name.startup config.txt:4"}},
        {{"startupExe=\\\\game.exe"}, {"warning name.startup config.txt:4"}},
        {{"startupExe=\\\\\\\\server\\\\share\\\\game.txt"}, {"warning name.startup config.txt:4"}},
        {{"startupExe=../game.exe"}, {"error name.startup config.txt:4"}},
        {{"startupExe=bin/../../game.exe"}, {"error name.startup config.txt:4"}},
        {{"startupExe=bin/../game.exe"}, {}},
        {{"startupExe=game.bat"}, {"error name.startup config.txt:4"}},
        {{"startupExe=game"}, {"error name.startup config.txt:4"}},
        {{"shortcutName=Game: Part 2"}, {"warning name.shortcut config.txt:6"}},
        {{"shortcutName=Game."}, {"warning name.shortcut config.txt:6"}},
        // link.*
        {{"websiteUrl=www.example.com"}, {"error link.scheme config.txt:6"}},
        {{"discordUrl=discord.example"}, {"error link.scheme config.txt:6"}},
        {{"websiteUrl=HTTP://example.com", "discordUrl=https://example.com"}, {}},
        {{"websiteUrl="}, {}},
        // accent.*
        {{"accentHex=#ffa640"}, {}},
        {{"accentHex="}, {"error accent.malformed config.txt:6"}},
        {{"accentHex=FFA64"}, {"error accent.malformed config.txt:6"}},
        {{"accentHex=##FFA640"}, {"error accent.malformed config.txt:6"}},
        {{"accentHex=FFA6G0"}, {"error accent.malformed config.txt:6"}},
        // 4.49 and 4.55 on the panel; 4.74 and 4.81 on the button.
        {{"accentHex=7C7C7C"}, {"warning accent.contrast config.txt:6"}},
        {{"accentHex=7D7D7D"}, {}},
        {{"accentHex=203040"}, {"warning accent.contrast config.txt:6"}},
        // version.*, language.*
        {{"repairProductVersion=1.4.2-beta 3"}, {}},
        {{"repairProductVersion=65535.0.0.65535"}, {}},
        {{"repairProductVersion="}, {"error version.malformed config.txt:6"}},
        {{"repairProductVersion=v2"}, {"error version.malformed config.txt:6"}},
        {{"repairProductVersion=1.2.3.4.5"}, {"error version.malformed config.txt:6"}},
        {{"repairProductVersion=1..2"}, {"error version.malformed config.txt:6"}},
        {{"uninstallerProductVersion=1.65536"}, {"error version.malformed config.txt:6"}},
        {{"uninstallerProductVersion=1.2 beta"}, {"error version.malformed config.txt:6"}},
        {{"installerProductVersion=whatever"}, {}},
        {{"repairLanguage=0407", "uninstallerLanguage=0c0A"}, {}},
        {{"repairLanguage="}, {"error language.malformed config.txt:6"}},
        {{"uninstallerLanguage=409"}, {"error language.malformed config.txt:6"}},
        {{"uninstallerLanguage=04g9"}, {"error language.malformed config.txt:6"}},
    };
    return cases;
}

}  // namespace kit_test
