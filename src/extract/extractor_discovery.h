#pragma once

#include <string>
#include <string_view>
#include <vector>

// Finds the programs on the user's machine that can unpack a RAR package. Nothing here reports a
// failure; what cannot be found or read is left out. Any thread.

// One program to try.
struct ExtractorCommand {
    std::wstring toolPath;   // Usually a full path; see FindRarExtractors for the exception.
    std::wstring arguments;  // Everything after the program on its command line.
};

// The programs to try, in this order: UnRAR and WinRAR, then 7-Zip; each first beside the tool,
// then in the 64-bit and the 32-bit program folder, then by the platform's search. Each program is
// listed once. If the environment does not name a program folder, the path is relative to the
// current folder. Empty when no program was found.
[[nodiscard]] std::vector<ExtractorCommand> FindRarExtractors(const std::wstring& archivePath,
                                                              const std::wstring& stagingFolder);

// The arguments for UnRAR or, when the file is called "winrar.exe" in any letter case, for WinRAR.
std::wstring RarToolArguments(std::wstring_view toolPath, const std::wstring& archivePath,
                              const std::wstring& stagingFolder);

std::wstring SevenZipArguments(const std::wstring& archivePath, const std::wstring& stagingFolder);

// The value of an environment variable; empty when it is unset or has 4096 characters or more.
std::wstring ReadEnvironmentPath(const std::wstring& name);

// The full path at which the platform's standard search finds the file; it finds folders too. Empty
// when the file is not found or its path has 260 characters or more.
std::wstring SearchProgramPath(const std::wstring& fileName);

// `base` joined with `relative`; if one of them is empty, the other one.
std::wstring JoinUnderBase(const std::wstring& base, const std::wstring& relative);

// Appends `path` unless it is empty or already listed. Letter case is ignored.
void AddUniqueCandidate(std::vector<std::wstring>& candidates, const std::wstring& path);
