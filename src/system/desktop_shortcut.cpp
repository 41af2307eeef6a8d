#include "system/desktop_shortcut.h"

#include <array>
#include <string_view>

#include "common/files.h"
#include "common/handles.h"
#include "common/paths.h"
#include "common/shell_api.h"
#include "common/text.h"
#include "common/tool_instance.h"
#include "system/known_folder.h"
#include "system/startup_program.h"

namespace {

constexpr std::wstring_view kLinkExtension = L".lnk";

ComPointer<IShellLinkW> MakeShellLink() {
    void* link = nullptr;
    const HRESULT result =
        ::CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW, &link);
    return ComPointer<IShellLinkW>(SUCCEEDED(result) ? static_cast<IShellLinkW*>(link) : nullptr);
}

// The shell link's interface for loading and saving; null on failure.
ComPointer<IPersistFile> PersistFileOf(IShellLinkW& link) {
    void* file = nullptr;
    const HRESULT result = link.QueryInterface(IID_IPersistFile, &file);
    return ComPointer<IPersistFile>(SUCCEEDED(result) ? static_cast<IPersistFile*>(file) : nullptr);
}

bool SaveShellLink(IShellLinkW& link, const std::wstring& linkPath) {
    const ComPointer<IPersistFile> file = PersistFileOf(link);
    return file && SUCCEEDED(file->Save(linkPath.c_str(), TRUE));
}

}  // namespace

std::wstring ShortcutFileName(const ToolConfig& config) {
    const std::wstring name = SanitizeFileName(config.shortcutName, kFallbackGameName);
    return LowerCase(FileNameExtension(name)) == kLinkExtension ? name
                                                                : name + kLinkExtension.data();
}

bool CreateDesktopShortcut(std::wstring& message) {
    const std::wstring target = ResolveStartupExePath(toolConfig, toolFolder);
    if (target.empty()) {
        message = L"No startup EXE is configured for the shortcut.";
        return false;
    }
    if (!IsRegularFile(target)) {
        message = L"Could not find the shortcut target: " + target;
        return false;
    }
    const std::wstring desktop = KnownFolder(FOLDERID_Desktop);
    if (desktop.empty()) {
        message = L"Could not locate the Desktop folder.";
        return false;
    }
    const ComPointer<IShellLinkW> link = MakeShellLink();
    if (!link) {
        message = L"Could not create the Windows shortcut object.";
        return false;
    }
    // A shortcut without one of these fields is still useful.
    link->SetPath(target.c_str());
    link->SetWorkingDirectory(ParentFolder(target).c_str());
    link->SetDescription((toolConfig.downloaderName + L" launcher").c_str());
    if (!SaveShellLink(*link, JoinPaths(desktop, ShortcutFileName(toolConfig)))) {
        message = L"Could not save the shortcut to your Desktop.";
        return false;
    }
    message = L"Game desktop shortcut created.";
    return true;
}

std::optional<std::wstring> ReadShortcutTarget(const std::wstring& shortcut) {
    const ComPointer<IShellLinkW> link = MakeShellLink();
    const ComPointer<IPersistFile> file = link ? PersistFileOf(*link) : nullptr;
    std::array<wchar_t, MAX_PATH> target{};
    if (!file || FAILED(file->Load(shortcut.c_str(), STGM_READ)) ||
        link->GetPath(target.data(), static_cast<int>(target.size()), nullptr, SLGP_RAWPATH) !=
            S_OK) {
        return std::nullopt;
    }
    return target.data();
}
