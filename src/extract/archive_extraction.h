#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

#include "common/windows_api.h"
#include "extract/extractor_discovery.h"

// What the first bytes of a package say; the configured archive type plays no part here.
enum class PackageSignature {
    Unknown = 0,
    Zip = 1,
    Rar = 2,
};

// Unpacks the package into `stagingFolder`, which is created when missing and not emptied, and
// lifts the content of a lone top folder. The unpacking is done by external programs, tried one
// after another until one ends with exit code 0: tar.exe, then PowerShell for a ZIP package; what
// FindRarExtractors finds for a RAR package.
//
// False after a failure report. What a failed program has written stays in the folder. A stop
// request makes each attempt fail and so ends in the same report. Job thread; blocks as long as
// the programs run.
bool ExtractPackage(const std::filesystem::path& archivePath,
                    const std::filesystem::path& stagingFolder);

// Unknown also for a file that cannot be opened.
[[nodiscard]] PackageSignature SniffPackageSignature(const std::filesystem::path& archivePath);

// The same for the file's first bytes; more than eight are of no use.
PackageSignature SignatureOf(std::span<const std::byte> firstBytes);

// The text with every single quote doubled, as it stands in a single-quoted PowerShell string.
std::wstring QuoteForPowerShell(std::wstring_view text);

// Command lines of the attempts.
std::wstring TarCommandLine(const std::filesystem::path& archivePath,
                            const std::filesystem::path& stagingFolder);
std::wstring PowerShellCommandLine(const std::filesystem::path& archivePath,
                                   const std::filesystem::path& stagingFolder);
std::wstring ExtractorCommandLine(const ExtractorCommand& command);

// The failure message when no program could unpack a RAR package: it names the last one tried.
std::wstring RarFailureMessage(std::wstring_view toolName, DWORD exitCode);
