#include "uninstaller/uninstall_guard.h"

#include <algorithm>
#include <array>
#include <optional>

#include "common/files.h"
#include "common/handles.h"
#include "common/paths.h"
#include "common/shell_api.h"
#include "common/temporary_folder.h"
#include "common/tool_instance.h"
#include "config/tool_config.h"
#include "job/client/reinstall_cleanup.h"
#include "system/installed_programs_entry.h"
#include "system/known_folder.h"
#include "system/startup_program.h"
#include "uninstaller/other_programs.h"

namespace {

// Never a client folder, even if a misplaced tool registered it.
constexpr std::array kSharedFolders{
    &FOLDERID_Windows,
    &FOLDERID_System,
    &FOLDERID_SystemX86,
    &FOLDERID_ProgramFiles,
    &FOLDERID_ProgramFilesX86,
    &FOLDERID_ProgramFilesCommon,
    &FOLDERID_ProgramFilesCommonX86,
    &FOLDERID_ProgramData,
    &FOLDERID_UserProgramFiles,
    &FOLDERID_Profile,
    &FOLDERID_UserProfiles,
    &FOLDERID_Public,
    &FOLDERID_Desktop,
    &FOLDERID_PublicDesktop,
    &FOLDERID_Documents,
    &FOLDERID_PublicDocuments,
    &FOLDERID_Downloads,
    &FOLDERID_PublicDownloads,
    &FOLDERID_Pictures,
    &FOLDERID_PublicPictures,
    &FOLDERID_Music,
    &FOLDERID_PublicMusic,
    &FOLDERID_Videos,
    &FOLDERID_PublicVideos,
    &FOLDERID_RoamingAppData,
    &FOLDERID_LocalAppData,
    &FOLDERID_LocalAppDataLow,
    &FOLDERID_SavedGames,
    &FOLDERID_Favorites,
    &FOLDERID_SkyDrive,
    &FOLDERID_StartMenu,
    &FOLDERID_Programs,
    &FOLDERID_Startup,
};

std::wstring UpperCase(std::wstring text) {
    ::CharUpperBuffW(text.data(), static_cast<DWORD>(text.size()));
    return text;
}

// A system folder in the form used for comparing. Falls back to the reported path if it cannot be
// resolved. Empty if this system does not have the folder.
std::wstring ComparableForm(const std::wstring& folder) {
    const std::wstring form = WeaklyCanonical(folder).value_or(FullPath(folder));
    return UpperCase(FileNamePart(form).empty() ? ParentFolder(form) : form);
}

std::wstring ComparableForm(const KNOWNFOLDERID& id) {
    return ComparableForm(KnownFolder(id, KF_FLAG_DONT_VERIFY));
}

// Whether the canonical `folder` is or contains a shared folder, or is inside the Windows folder.
bool OverlapsSharedFolder(const std::wstring& folder) {
    const std::wstring own = UpperCase(folder);
    const auto contains = [&](const std::wstring& shared) {
        return IsAtOrBelowCanonicalPath(shared, own);
    };
    return IsBelowCanonicalPath(own, ComparableForm(FOLDERID_Windows)) ||
           contains(ComparableForm(TemporaryFolder())) ||
           std::any_of(kSharedFolders.begin(), kSharedFolders.end(),
                       [&](const KNOWNFOLDERID* id) { return contains(ComparableForm(*id)); });
}

// A repair tool that the player has renamed is not found. While it is running, its file cannot be
// removed; it is then reported, and the uninstaller stays for a second attempt.
bool IsRunning(const std::wstring& program) {
    // The file of a running program cannot be opened for writing.
    const auto file = AdoptHandle<KernelHandle>(
        ::CreateFileW(SystemPath(program).Text(), GENERIC_WRITE,
                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                      OPEN_EXISTING, 0, nullptr));
    return !file && ::GetLastError() == ERROR_SHARING_VIOLATION;
}

// `folder` is canonical and both the uninstaller's and the registered one.
Verdict JudgeContent(const std::wstring& folder) {
    const std::optional<std::wstring> uninstaller = WeaklyCanonical(toolExePath);
    if (!uninstaller || !IsSameCanonicalPath(ParentFolder(*uninstaller), folder) ||
        !IsRegularFile(*uninstaller) || !IsSafeReinstallFolder()) {
        return {.refusal = Refusal::UnsafeFolder};
    }
    if (OverlapsSharedFolder(folder)) {
        return {.refusal = Refusal::SharedFolder};
    }
    const std::optional<OtherProgram> other = FindOtherProgramIn(folder, toolConfig);
    if (other) {
        return {.refusal = Refusal::OtherProgram,
                .namedFolder = other->folder,
                .namedProgram = other->name};
    }
    const std::optional<std::wstring> startup =
        WeaklyCanonical(ResolveStartupExePath(toolConfig, toolFolder));
    if (!startup || !IsBelowCanonicalPath(*startup, folder) || !IsRegularFile(*startup)) {
        return {.refusal = Refusal::StartupProgramMissing};
    }
    if (IsRunning(*startup) || IsRunning(JoinPaths(folder, toolConfig.repairToolName))) {
        return {.refusal = Refusal::InUse};
    }
    return {.client = {folder, *uninstaller, *startup}};
}

}  // namespace

Verdict JudgeClient() {
    const std::optional<std::wstring> registered = RegisteredFolder(toolConfig);
    if (!registered) {
        return {.refusal = Refusal::NotRegistered};
    }
    const std::optional<std::wstring> folder = WeaklyCanonical(toolFolder);
    const std::optional<std::wstring> named = WeaklyCanonical(*registered);
    if (!folder || !named) {
        return {.refusal = Refusal::UnresolvedFolder,
                .namedFolder = folder ? *registered : toolFolder};
    }
    if (!IsSameCanonicalPath(*folder, *named)) {
        return {.refusal = Refusal::RegisteredElsewhere, .namedFolder = *registered};
    }
    return JudgeContent(*folder);
}

Verdict JudgeClientAgain(const ApprovedClient& approved) {
    Verdict verdict = JudgeClient();
    if (verdict.refusal == Refusal::None && verdict.client != approved) {
        verdict = {.refusal = Refusal::Changed, .namedFolder = approved.folder};
    }
    return verdict;
}
