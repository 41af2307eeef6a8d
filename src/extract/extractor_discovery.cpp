#include "extract/extractor_discovery.h"

#include <algorithm>
#include <array>

#include "common/files.h"
#include "common/paths.h"
#include "common/text.h"
#include "common/tool_instance.h"
#include "common/windows_api.h"

namespace {

constexpr size_t kEnvironmentBufferChars = 4096;
constexpr wchar_t kProgramFolder64[] = L"ProgramFiles";
constexpr wchar_t kProgramFolder32[] = L"ProgramFiles(x86)";

std::wstring Quoted(const std::wstring& text) {
    return L"\"" + text + L"\"";
}

std::vector<std::wstring> RarCandidates(const std::wstring& besideTool) {
    const std::wstring programs64 = ReadEnvironmentPath(kProgramFolder64);
    const std::wstring programs32 = ReadEnvironmentPath(kProgramFolder32);
    return {
        JoinUnderBase(besideTool, L"unrar.exe"),
        JoinUnderBase(besideTool, L"UnRAR.exe"),
        JoinUnderBase(programs64, L"WinRAR\\UnRAR.exe"),
        JoinUnderBase(programs64, L"WinRAR\\WinRAR.exe"),
        JoinUnderBase(programs32, L"WinRAR\\UnRAR.exe"),
        JoinUnderBase(programs32, L"WinRAR\\WinRAR.exe"),
        SearchProgramPath(L"unrar.exe"),
        SearchProgramPath(L"WinRAR.exe"),
    };
}

std::vector<std::wstring> SevenZipCandidates(const std::wstring& besideTool) {
    return {
        JoinUnderBase(besideTool, L"7z.exe"),
        JoinUnderBase(besideTool, L"7za.exe"),
        JoinUnderBase(ReadEnvironmentPath(kProgramFolder64), L"7-Zip\\7z.exe"),
        JoinUnderBase(ReadEnvironmentPath(kProgramFolder32), L"7-Zip\\7z.exe"),
        SearchProgramPath(L"7z.exe"),
        SearchProgramPath(L"7za.exe"),
    };
}

std::vector<std::wstring> KeepExistingOnce(const std::vector<std::wstring>& candidates) {
    std::vector<std::wstring> found;
    for (const std::wstring& candidate : candidates) {
        if (!candidate.empty() && IsRegularFile(candidate)) {
            AddUniqueCandidate(found, candidate);
        }
    }
    return found;
}

}  // namespace

std::vector<ExtractorCommand> FindRarExtractors(const std::wstring& archivePath,
                                                const std::wstring& stagingFolder) {
    const std::wstring besideTool = ParentFolder(toolExePath);
    std::vector<ExtractorCommand> commands;
    for (const std::wstring& tool : KeepExistingOnce(RarCandidates(besideTool))) {
        commands.push_back({tool, RarToolArguments(tool, archivePath, stagingFolder)});
    }
    for (const std::wstring& tool : KeepExistingOnce(SevenZipCandidates(besideTool))) {
        commands.push_back({tool, SevenZipArguments(archivePath, stagingFolder)});
    }
    return commands;
}

std::wstring RarToolArguments(std::wstring_view toolPath, const std::wstring& archivePath,
                              const std::wstring& stagingFolder) {
    const bool isWinRar = LowerCase(FileNamePart(toolPath)) == L"winrar.exe";
    // x: with full paths; -ibck: in the background, without WinRAR's window; -o+: overwrite.
    // The trailing backslash tells the RAR programs that the argument is a destination folder.
    return std::wstring(isWinRar ? L"x -ibck -o+ " : L"x -o+ ") + Quoted(archivePath) + L" " +
           Quoted(stagingFolder + L"\\");
}

std::wstring SevenZipArguments(const std::wstring& archivePath, const std::wstring& stagingFolder) {
    // x: with full paths; -y: yes to every question; -o: the output folder, with no space after it.
    return L"x -y -o" + Quoted(stagingFolder) + L" " + Quoted(archivePath);
}

std::wstring ReadEnvironmentPath(const std::wstring& name) {
    std::array<wchar_t, kEnvironmentBufferChars> buffer{};
    // If the value does not fit, the result is the size that it needs.
    const DWORD length =
        ::GetEnvironmentVariableW(name.c_str(), buffer.data(), static_cast<DWORD>(buffer.size()));
    return length < buffer.size() ? std::wstring(buffer.data(), length) : std::wstring();
}

std::wstring SearchProgramPath(const std::wstring& fileName) {
    std::array<wchar_t, MAX_PATH> buffer{};
    const DWORD length = ::SearchPathW(nullptr, fileName.c_str(), nullptr,
                                       static_cast<DWORD>(buffer.size()), buffer.data(), nullptr);
    return length < buffer.size() ? std::wstring(buffer.data(), length) : std::wstring();
}

std::wstring JoinUnderBase(const std::wstring& base, const std::wstring& relative) {
    return JoinPaths(base, relative);
}

void AddUniqueCandidate(std::vector<std::wstring>& candidates, const std::wstring& path) {
    const auto isSame = [lower = LowerCase(path)](const std::wstring& listed) {
        return LowerCase(listed) == lower;
    };
    if (!path.empty() && std::none_of(candidates.begin(), candidates.end(), isSame)) {
        candidates.push_back(path);
    }
}
