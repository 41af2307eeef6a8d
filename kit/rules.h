#pragma once

#include <span>
#include <string_view>

enum class Severity { Note, Warning, Error };

// "note", "warning" or "error".
std::string_view SeverityName(Severity severity);

// What `check` looks for.
struct Rule {
    std::string_view id;
    Severity severity;         // The usual one; some findings differ.
    std::string_view summary;  // One line for lists.
};

// The only place that names the rules. docs/kit.md explains each.
// clang-format off
inline constexpr Rule kRules[] = {
    {"brand.missing-file", Severity::Error, "A file of the brand is not there."},
    {"config.byte-order-mark", Severity::Error, "A byte-order mark hides the first line's key."},
    {"config.not-utf8", Severity::Error, "A line is not UTF-8."},
    {"config.unknown-key", Severity::Warning, "A key that does not exist."},
    {"config.misspelt-key", Severity::Error, "A key that nearly is a known one and is ignored."},
    {"config.key-twice", Severity::Warning, "A later line with the same key wins."},
    {"config.switch-value", Severity::Error, "A switch with a value that is neither on nor off."},
    {"config.outer-blank", Severity::Note, "A blank or tab at either end of a value."},
    {"config.backslash", Severity::Warning, "A backslash that does not mean what it seems to."},
    {"config.not-acted-on", Severity::Note, "A setting that none of the brand's programs uses."},
    {"url.missing", Severity::Error, "No archiveUrl."},
    {"url.scheme", Severity::Error, "archiveUrl begins neither with http:// nor with https://."},
    {"url.invalid", Severity::Error, "archiveUrl is no address that the tool can use."},
    {"url.plain-http", Severity::Warning, "An address without encryption."},
    {"url.not-versioned", Severity::Warning, "An address that looks the same for every release."},
    {"mirror.invalid", Severity::Error, "The second server's address cannot be used."},
    {"mirror.same", Severity::Warning, "Both servers have the same address."},
    {"mirror.missing", Severity::Warning, "Two servers are switched on, but there is one."},
    {"mirror.unused", Severity::Note, "A mirror that players are never offered."},
    {"digest.missing", Severity::Error, "No archiveSha256: the package is not verified."},
    {"digest.malformed", Severity::Error, "archiveSha256 is no SHA-256."},
    {"name.tool", Severity::Error, "repairToolName cannot be the tool's file name."},
    {"name.startup", Severity::Error, "startupExe names no program inside the client."},
    {"name.shortcut", Severity::Warning, "shortcutName will be changed."},
    {"link.scheme", Severity::Error, "A link that no browser opens."},
    {"accent.malformed", Severity::Error, "accentHex is no color."},
    {"accent.contrast", Severity::Warning, "The accent color makes text hard to read."},
    {"version.malformed", Severity::Error, "A product version that is no version."},
    {"language.malformed", Severity::Error, "A language that is no language identifier."},
    {"picture.unreadable", Severity::Error, "A picture that cannot be shown."},
    {"picture.size", Severity::Warning, "A picture that has to be scaled."},
    {"icon.unreadable", Severity::Error, "tool.ico is no icon file."},
    {"icon.sizes", Severity::Warning, "An important size is missing in the icon."},
    {"package.kind", Severity::Error, "The package is neither ZIP nor RAR."},
    {"package.type", Severity::Warning, "archiveType says the other kind."},
    {"package.rar", Severity::Note, "RAR needs a program on the player's machine."},
    {"package.damaged", Severity::Error, "The package contradicts itself or is incomplete."},
    {"package.extra-bytes", Severity::Warning, "Bytes in the package that belong to nothing."},
    {"package.encrypted", Severity::Error, "An encrypted entry."},
    {"package.method", Severity::Error, "An entry packed with another method than Deflate."},
    {"package.bad-name", Severity::Error, "A name that Windows cannot have or that leads outside."},
    {"package.name-encoding", Severity::Error, "A name whose characters are uncertain."},
    {"package.non-ascii", Severity::Warning, "A top-level name that some unpackers garble."},
    {"package.case-clash", Severity::Error, "Two entries that are one name on Windows."},
    {"package.link", Severity::Error, "A link, a device or another special file."},
    {"package.own-name", Severity::Error, "A lone top folder that holds an entry of its own name."},
    {"package.empty", Severity::Error, "A package without a file."},
    {"package.holds-tool", Severity::Warning, "The tool is in the package."},
    {"package.holds-uninstaller", Severity::Warning, "Uninstall.exe is in the package."},
    {"package.holds-unpacker", Severity::Error, "A program that would replace Windows' unpacker."},
    {"package.no-startup", Severity::Error, "startupExe is not in the package."},
    {"package.read-only", Severity::Warning, "A read-only or hidden file."},
    {"package.player-files", Severity::Warning, "A file that players change."},
    {"package.long-path", Severity::Warning, "A path that is too long for some programs."},
    {"package.digest", Severity::Error, "The package's SHA-256 differs from archiveSha256."},
    {"online.unreachable", Severity::Error, "The server does not answer."},
    {"online.certificate", Severity::Error, "The server's certificate is not trusted."},
    {"online.status", Severity::Error, "The server answers with another status than 200."},
    {"online.page", Severity::Error, "The server sends something that is no archive."},
    {"online.to-http", Severity::Warning, "A redirect from HTTPS to HTTP."},
    {"online.no-length", Severity::Warning, "The answer has no Content-Length."},
    {"online.encoding", Severity::Warning, "The answer has a Content-Encoding."},
    {"online.length", Severity::Error, "The server's file has another length."},
    {"online.digest", Severity::Error, "The server's file has another SHA-256."},
};
// clang-format on

// Names a rule in code: Findings::Add("url.missing", ...). A name that is not in the table does not
// compile.
class RuleName {
public:
    // NOLINTNEXTLINE(google-explicit-constructor): a literal names its rule.
    consteval RuleName(const char* id) : index_(IndexOf(id)) {}

    [[nodiscard]] constexpr const Rule& operator*() const {
        return kRules[index_];
    }
    [[nodiscard]] constexpr const Rule* operator->() const {
        return &kRules[index_];
    }
    [[nodiscard]] constexpr size_t Index() const {
        return index_;
    }

private:
    static consteval size_t IndexOf(std::string_view id) {
        size_t index = 0;
        while (kRules[index].id != id) {  // Past the end is no constant expression.
            ++index;
        }
        return index;
    }

    size_t index_;
};
