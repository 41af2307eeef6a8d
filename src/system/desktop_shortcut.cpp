#include "system/desktop_shortcut.h"

#include <filesystem>
#include <string_view>

#include "common/files.h"
#include "common/handles.h"
#include "common/paths.h"
#include "common/shell_api.h"
#include "common/text.h"
#include "config/tool_config.h"
#include "system/known_folder.h"
#include "system/startup_program.h"

namespace {

constexpr std::wstring_view kLinkExtension = L".lnk";
constexpr std::wstring_view kLastResortName = L"Karvoth";

ComPointer<IShellLinkW> MakeShellLink() {
    void* link = nullptr;
    const HRESULT result =
        ::CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW, &link);
    return ComPointer<IShellLinkW>(SUCCEEDED(result) ? static_cast<IShellLinkW*>(link) : nullptr);
}

bool SaveShellLink(IShellLinkW& link, const std::filesystem::path& linkPath) {
    void* found = nullptr;
    if (FAILED(link.QueryInterface(IID_IPersistFile, &found))) {
        return false;
    }
    const ComPointer<IPersistFile> file(static_cast<IPersistFile*>(found));
    return SUCCEEDED(file->Save(linkPath.c_str(), TRUE));
}

}  // namespace

std::wstring ShortcutFileName() {
    const std::wstring name = SanitizeFileName(toolConfig.shortcutName, kLastResortName);
    return LowerCase(FileNameExtension(name)) == kLinkExtension ? name
                                                                : name + kLinkExtension.data();
}

bool CreateDesktopShortcut(std::wstring& message) {
    const std::filesystem::path target = ResolveStartupExePath();
    if (target.empty()) {
        message = L"No startup EXE is configured for the shortcut.";
        return false;
    }
    if (!IsRegularFile(target)) {
        message = L"Could not find the shortcut target: " + target.native();
        return false;
    }
    const std::filesystem::path desktop = KnownFolder(FOLDERID_Desktop);
    if (desktop.empty()) {
        message = L"Could not locate the Desktop folder.";
        return false;
    }
    const ComPointer<IShellLinkW> link = MakeShellLink();
    if (!link) {
        message = L"Could not create the Windows shortcut object.";
        return false;
    }
    // A field that is refused does not keep the shortcut from being useful.
    link->SetPath(target.c_str());
    link->SetWorkingDirectory(ParentFolder(target.native()).c_str());
    link->SetDescription((toolConfig.downloaderName + L" launcher").c_str());
    if (!SaveShellLink(*link, desktop / ShortcutFileName())) {
        message = L"Could not save the shortcut to your Desktop.";
        return false;
    }
    message = L"Game desktop shortcut created.";
    return true;
}
