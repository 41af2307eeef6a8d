#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

// Finding the programs on the user's machine that can unpack a RAR package. Nothing here reports a
// failure: what cannot be found or read is just not on the list. Any thread.

// One program to try.
struct ExtractorCommand {
    std::wstring toolPath;   // Usually a full path; see FindRarExtractors for the exception.
    std::wstring arguments;  // Everything behind the program on its command line.
};

// The programs to try, in this order: UnRAR and WinRAR, then 7-Zip; of each, first beside the
// tool, then under the 64-bit and the 32-bit program folder, then by the platform's own search.
// Each program is listed once. A program folder that the environment does not name leaves a
// relative path, which is looked up from the current folder. Empty when nothing was found.
[[nodiscard]] std::vector<ExtractorCommand> FindRarExtractors(
    const std::filesystem::path& archivePath, const std::filesystem::path& stagingFolder);

// The arguments for UnRAR or, when the file is called "winrar.exe" in any letter case, for WinRAR.
std::wstring RarToolArguments(std::wstring_view toolPath, const std::filesystem::path& archivePath,
                              const std::filesystem::path& stagingFolder);

std::wstring SevenZipArguments(const std::filesystem::path& archivePath,
                               const std::filesystem::path& stagingFolder);

// The value of an environment variable; empty when it is unset or has 4096 characters or more.
std::wstring ReadEnvironmentPath(const std::wstring& name);

// Where the platform's standard search finds the file, as a full path. It finds folders too. Empty
// when it finds nothing or a path of 260 characters or more.
std::wstring SearchProgramPath(const std::wstring& fileName);

// `base` joined with `relative`; when one of them is empty, the other alone.
std::wstring JoinUnderBase(const std::wstring& base, const std::wstring& relative);

// Appends `path` unless it is empty or already listed, letter case aside.
void AddUniqueCandidate(std::vector<std::wstring>& candidates, const std::wstring& path);
