#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "common/windows_api.h"
#include "extract/extractor_discovery.h"

// The kind of a package by its first bytes; the configured archive type is not used here.
enum class PackageSignature {
    Unknown = 0,
    Zip = 1,
    Rar = 2,
};

// The job's extraction stage: unpacks the package into `stagingFolder`, which is created if missing
// but not emptied, and flattens a single top folder. External programs do the unpacking, tried in
// order until one ends with exit code 0: tar.exe, then PowerShell for a ZIP package; the programs
// from FindRarExtractors for a RAR package.
//
// False after a failure report; what a failed program has written stays in the folder. A stop
// request makes each attempt fail and so ends in the same report. Job thread; blocks while the
// programs run.
[[nodiscard]] bool ExtractPackage(const std::wstring& archivePath,
                                  const std::wstring& stagingFolder);

// Unknown also for a file that cannot be opened or read.
[[nodiscard]] PackageSignature SniffPackageSignature(const std::wstring& archivePath);

// The same for the file's first bytes; at most eight are needed.
PackageSignature SignatureOf(std::span<const std::byte> firstBytes);

// The text with every single quote doubled, for use in a single-quoted PowerShell string.
std::wstring QuoteForPowerShell(std::wstring_view text);

// The command lines of the attempts.
std::wstring TarCommandLine(const std::wstring& archivePath, const std::wstring& stagingFolder);
std::wstring PowerShellCommandLine(const std::wstring& archivePath,
                                   const std::wstring& stagingFolder);
std::wstring ExtractorCommandLine(const ExtractorCommand& command);

// The failure message when no program could unpack a RAR package. Names the last one tried.
std::wstring RarFailureMessage(std::wstring_view toolName, DWORD exitCode);
