#include "package/package_source.h"

#include <utility>

#include "common/paths.h"
#include "common/temporary_folder.h"
#include "common/text.h"
#include "common/windows_api.h"

bool primaryServerChosen = true;
std::wstring selectedPackageUrl;

namespace {

constexpr std::wstring_view kJobFolderPrefix = L"KrvBrennickRepair_";

std::wstring TrimmedOr(std::wstring_view text, const std::wstring& fallback) {
    std::wstring trimmed = TrimWhitespace(text);
    return trimmed.empty() ? fallback : trimmed;
}

}  // namespace

bool HasSeveralServers(const ToolConfig& config) {
    return config.multiRepairTool && !config.archiveMirrorUrls.empty();
}

std::wstring ChoosePackageUrl(const ToolConfig& config, bool primaryServer) {
    if (HasSeveralServers(config) && !primaryServer) {
        return config.archiveMirrorUrls.front();
    }
    return config.archiveUrl;
}

void SelectPackageUrl(std::wstring_view candidate) {
    selectedPackageUrl = TrimmedOr(candidate, toolConfig.archiveUrl);
}

std::optional<std::wstring> JobPackageUrl(std::wstring_view selectedUrl,
                                          const std::wstring& archiveUrl) {
    std::wstring url = TrimmedOr(selectedUrl, archiveUrl);
    const bool hasScheme = url.starts_with(L"http://") || url.starts_with(L"https://");
    return hasScheme ? std::optional(std::move(url)) : std::nullopt;
}

ArchiveKind ArchiveKindFor(std::wstring_view archiveType, std::wstring_view hint,
                           std::wstring_view selectedUrl, std::wstring_view archiveUrl) {
    const std::wstring type = LowerCase(TrimWhitespace(archiveType));
    if (type != L"auto") {
        return type == L"rar" ? ArchiveKind::Rar : ArchiveKind::Zip;
    }
    const std::wstring selected = TrimWhitespace(selectedUrl);
    std::wstring_view source = archiveUrl;
    if (!hint.empty()) {
        source = hint;
    } else if (!selected.empty()) {
        source = selected;
    }
    const bool namesRar = LowerCase(source).find(L".rar") != std::wstring::npos;
    return namesRar ? ArchiveKind::Rar : ArchiveKind::Zip;
}

ArchiveKind DetectArchiveKind(std::wstring_view hint) {
    return ArchiveKindFor(toolConfig.archiveType, hint, selectedPackageUrl, toolConfig.archiveUrl);
}

std::wstring ArchiveFileName(std::wstring_view repairToolName, uint32_t processId,
                             uint64_t milliseconds, ArchiveKind kind) {
    return SanitizeFileName(repairToolName, kDefaultToolTitle) + L"_" + std::to_wstring(processId) +
           L"_" + std::to_wstring(milliseconds) + (kind == ArchiveKind::Rar ? L".rar" : L".zip");
}

std::wstring JobFolderName(uint32_t processId, uint64_t milliseconds) {
    return std::wstring(kJobFolderPrefix) + std::to_wstring(processId) + L"_" +
           std::to_wstring(milliseconds);
}

std::wstring MakeArchiveDownloadPath() {
    return JoinPaths(TemporaryFolder(),
                     ArchiveFileName(toolConfig.repairToolName, ::GetCurrentProcessId(),
                                     ::GetTickCount64(), DetectArchiveKind(L"")));
}

std::wstring MakeJobTempFolder() {
    return JoinPaths(TemporaryFolder(), JobFolderName(::GetCurrentProcessId(), ::GetTickCount64()));
}
