#include "extract/archive_extraction.h"

#include <algorithm>
#include <array>
#include <vector>

#include "common/files.h"
#include "common/paths.h"
#include "extract/extraction_texts.h"
#include "extract/folder_flattening.h"
#include "extract/process_runner.h"
#include "job/progress/job_progress.h"

namespace {

constexpr size_t kSignatureBytes = 8;

constexpr wchar_t kNotAnArchiveMessage[] =
    L"The downloaded package is not a valid ZIP or RAR archive.\n"
    L"Check that the CDN URL points directly to the client .zip/.rar file, not an installer EXE or "
    L"website page.";
constexpr wchar_t kNoRarProgramMessage[] =
    L"RAR repair needs WinRAR, UnRAR, or 7-Zip. Install one of them or place unrar.exe/7z.exe "
    L"beside this tool.";
constexpr wchar_t kZipFailureMessage[] =
    L"ZIP extraction failed.\n"
    L"Check that the downloaded package is a complete .zip archive and that you have permission to "
    L"write to the install folder.";

// The third and the fourth byte are checked independently, so pairs that no ZIP program writes,
// such as 03 06, are accepted too. That is harmless: the unpacking program decides.
bool HasZipSignature(std::span<const std::byte> bytes) {
    const auto isOneOf = [](std::byte character, int first, int second, int third) {
        const int value = std::to_integer<int>(character);
        return value == first || value == second || value == third;
    };
    return bytes.size() >= 4 && bytes[0] == std::byte{'P'} && bytes[1] == std::byte{'K'} &&
           isOneOf(bytes[2], 3, 5, 7) && isOneOf(bytes[3], 4, 6, 8);
}

// "Rar!", 1A 07 and the number of the format: 00 up to RAR 4, 01 for RAR 5.
bool HasRarSignature(std::span<const std::byte> bytes) {
    constexpr std::array kCommonPart{std::byte{'R'}, std::byte{'a'},  std::byte{'r'},
                                     std::byte{'!'}, std::byte{0x1A}, std::byte{0x07}};
    return bytes.size() > kCommonPart.size() &&
           std::equal(kCommonPart.begin(), kCommonPart.end(), bytes.begin()) &&
           (bytes[kCommonPart.size()] == std::byte{0} || bytes[kCommonPart.size()] == std::byte{1});
}

bool ExtractZip(const std::wstring& archivePath, const std::wstring& stagingFolder) {
    if (RunHiddenAndWait(TarCommandLine(archivePath, stagingFolder)) ||
        RunHiddenAndWait(PowerShellCommandLine(archivePath, stagingFolder))) {
        return FlattenSingleTopFolder(stagingFolder);
    }
    reportFailure(kZipFailureMessage);
    return false;
}

bool ExtractRar(const std::wstring& archivePath, const std::wstring& stagingFolder) {
    const std::vector<ExtractorCommand> commands = FindRarExtractors(archivePath, stagingFolder);
    if (commands.empty()) {
        reportFailure(kNoRarProgramMessage);
        return false;
    }
    std::wstring toolName;
    DWORD exitCode = 0;
    for (const ExtractorCommand& command : commands) {
        toolName = FileNamePart(command.toolPath);
        exitCode = 0;  // Reported for an attempt that a stop request ends.
        UpdateJobState(
            [&](JobState& state) { state.detailLine = L"Extracting with " + toolName + L"..."; });
        if (RunHiddenAndWait(ExtractorCommandLine(command), &exitCode)) {
            return FlattenSingleTopFolder(stagingFolder);
        }
    }
    reportFailure(RarFailureMessage(toolName, exitCode));
    return false;
}

}  // namespace

bool ExtractPackage(const std::wstring& archivePath, const std::wstring& stagingFolder) {
    reportStage(JobStage::Extracting, kExtractingStatus, kPreparingFilesDetail);
    // Without the folder, the unpacking program fails.
    static_cast<void>(EnsureDirectory(stagingFolder));
    switch (SniffPackageSignature(archivePath)) {
        case PackageSignature::Zip:
            return ExtractZip(archivePath, stagingFolder);
        case PackageSignature::Rar:
            return ExtractRar(archivePath, stagingFolder);
        case PackageSignature::Unknown:
            break;
    }
    reportFailure(kNotAnArchiveMessage);
    return false;
}

PackageSignature SniffPackageSignature(const std::wstring& archivePath) {
    const KernelHandle archive = OpenForReading(archivePath);
    std::array<std::byte, kSignatureBytes> bytes{};
    DWORD count = 0;
    if (!archive || !::ReadFile(archive.get(), bytes.data(), static_cast<DWORD>(bytes.size()),
                                &count, nullptr)) {
        return PackageSignature::Unknown;
    }
    return SignatureOf(std::span(bytes).first(count));
}

PackageSignature SignatureOf(std::span<const std::byte> firstBytes) {
    if (HasZipSignature(firstBytes)) {
        return PackageSignature::Zip;
    }
    return HasRarSignature(firstBytes) ? PackageSignature::Rar : PackageSignature::Unknown;
}

std::wstring QuoteForPowerShell(std::wstring_view text) {
    std::wstring quoted;
    quoted.reserve(text.size());
    for (const wchar_t character : text) {
        quoted.append(character == L'\'' ? 2 : 1, character);
    }
    return quoted;
}

std::wstring TarCommandLine(const std::wstring& archivePath, const std::wstring& stagingFolder) {
    return L"tar.exe -xf \"" + archivePath + L"\" -C \"" + stagingFolder + L"\"";
}

std::wstring PowerShellCommandLine(const std::wstring& archivePath,
                                   const std::wstring& stagingFolder) {
    return L"powershell.exe -NoProfile -ExecutionPolicy Bypass -Command \"Expand-Archive "
           L"-LiteralPath '" +
           QuoteForPowerShell(archivePath) + L"' -DestinationPath '" +
           QuoteForPowerShell(stagingFolder) + L"' -Force\"";
}

std::wstring ExtractorCommandLine(const ExtractorCommand& command) {
    return L"\"" + command.toolPath + L"\" " + command.arguments;
}

std::wstring RarFailureMessage(std::wstring_view toolName, DWORD exitCode) {
    return L"RAR extraction failed with " + std::wstring(toolName) + L" exit code " +
           std::to_wstring(exitCode) +
           L".\nCheck that the CDN file is a complete, non-password-protected .rar archive. If it "
           L"still fails, install 7-Zip or place 7z.exe beside this tool.";
}
