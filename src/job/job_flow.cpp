#include "job/job_flow.h"

#include <optional>
#include <string>

#include "common/removal.h"
#include "common/tool_instance.h"
#include "common/win32_error.h"
#include "config/tool_config.h"
#include "extract/archive_extraction.h"
#include "job/client/client_repair.h"
#include "job/job_thread.h"
#include "package/http_download.h"
#include "package/package_hash.h"
#include "package/package_source.h"
#include "system/installed_programs_entry.h"
#include "system/uninstaller_file.h"

namespace {

bool IsReinstall(JobKind kind) {
    return kind == JobKind::Reinstall;
}

// The one error that arrives as an exception: the listing breaks off during the clean-out. Copying
// anyway would mix the new client with leftovers of the old one.
bool RepairClientFolder(const std::wstring& archivePath, const std::wstring& stagingFolder,
                        bool reinstall) {
    try {
        return VerifyAndRepairClient(stagingFolder, reinstall, archivePath);
    } catch (const FileSystemError&) {
        reportFailure(L"Could not read the client folder while removing the old client files.");
        return false;
    }
}

bool DeployUninstaller() {
    reportStage(JobStage::Finishing, L"Finishing...", L"Writing Uninstall.exe...");
    if (!WriteUninstaller()) {
        reportFailure(L"Could not write Uninstall.exe to the client folder.");
        return false;
    }
    return true;
}

bool RegisterGame() {
    reportStage(JobStage::Finishing, L"Finishing...",
                L"Registering Programs and Features entry...");
    std::wstring message;
    if (!RegisterProgramsAndFeatures(message)) {
        reportFailure(message);
        return false;
    }
    return true;
}

// Runs the stages in order. Each reports its own failure; the first false ends the job.
bool RunStages(JobKind kind, const std::wstring& archivePath, const std::wstring& stagingFolder) {
    const std::optional<std::wstring> packageUrl =
        JobPackageUrl(selectedPackageUrl, toolConfig.archiveUrl);
    if (!packageUrl) {
        reportFailure(L"No valid CDN package URL is configured.");
        return false;
    }
    return DownloadPackage(*packageUrl, archivePath) && VerifyPackage(archivePath) &&
           ExtractPackage(archivePath, stagingFolder) &&
           RepairClientFolder(archivePath, stagingFolder, IsReinstall(kind)) &&
           DeployUninstaller() && RegisterGame();
}

// After success and failure alike, so that a retry downloads again. Errors are ignored; leftovers
// stay in the user's temporary folder.
void RemoveTemporaryFiles(const std::wstring& archivePath, const std::wstring& stagingFolder) {
    if (toolConfig.cleanupArchive) {
        static_cast<void>(RemoveEntry(archivePath));
    }
    static_cast<void>(RemoveEntryOrTree(stagingFolder));
}

}  // namespace

bool PrepareJob(JobKind kind, std::wstring_view packageUrl) {
    if (!CanStartJob()) {
        return false;
    }
    SelectPackageUrl(packageUrl);
    ClearForJobStart(kind);
    return true;
}

void runJob(JobKind kind) {
    UpdateJobState([kind](JobState& state) {
        state.kind = kind;
        state.stage = JobStage::Downloading;
        state.statusLine = IsReinstall(kind) ? L"Starting reinstall..." : L"Starting repair...";
        state.detailLine = L"Preparing CDN package...";
    });
    const std::wstring archivePath = MakeArchiveDownloadPath();
    const std::wstring stagingFolder = MakeJobTempFolder();
    const bool succeeded = RunStages(kind, archivePath, stagingFolder);
    RemoveTemporaryFiles(archivePath, stagingFolder);
    if (succeeded) {
        ReportSuccess(IsReinstall(kind) ? L"Reinstall complete." : L"Repair complete.");
        ::PostMessageW(mainWindow, kJobSucceededMessage, 0, 0);
    }
}

void resetForRetry() {
    JoinJobThread();
    selectedPackageUrl.clear();
    resetJobProgress();
}
