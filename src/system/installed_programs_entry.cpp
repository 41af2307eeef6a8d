#include "system/installed_programs_entry.h"

#include "common/files.h"
#include "common/handles.h"
#include "common/tool_instance.h"
#include "system/folder_size.h"
#include "system/installed_programs_values.h"
#include "system/registry_text.h"
#include "system/startup_program.h"
#include "system/uninstaller_file.h"

namespace {

// Creates or opens the entry's key with the right to set values only; null on failure.
RegistryKey OpenEntryKey(const ToolConfig& config) {
    HKEY key = nullptr;
    const LSTATUS status =
        ::RegCreateKeyExW(HKEY_CURRENT_USER, UninstallKeyPath(config).c_str(), 0, nullptr,
                          REG_OPTION_NON_VOLATILE, KEY_SET_VALUE, nullptr, &key, nullptr);
    return RegistryKey(status == ERROR_SUCCESS ? key : nullptr);
}

bool SetValue(HKEY key, const std::wstring& name, DWORD type, const void* data, size_t bytes) {
    return ::RegSetValueExW(key, name.c_str(), 0, type, static_cast<const BYTE*>(data),
                            static_cast<DWORD>(bytes)) == ERROR_SUCCESS;
}

bool WriteValue(HKEY key, const RegistryValue& value) {
    if (const auto* number = std::get_if<uint32_t>(&value.data)) {
        return SetValue(key, value.name, REG_DWORD, number, sizeof *number);
    }
    const auto& text = std::get<std::wstring>(value.data);
    // The data includes the terminator.
    return SetValue(key, value.name, REG_SZ, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
}

InstalledProgramFacts GatherFacts(const std::wstring& uninstaller) {
    const std::wstring startupExe = ResolveStartupExePath(toolConfig, toolFolder);
    InstalledProgramFacts facts;
    facts.clientFolder = toolFolder;
    facts.uninstaller = uninstaller;
    facts.icon = IsRegularFile(startupExe) ? startupExe : uninstaller;
    facts.clientSizeBytes = FolderSizeBytes(toolFolder);
    ::GetLocalTime(&facts.today);
    return facts;
}

}  // namespace

bool RegisterProgramsAndFeatures(std::wstring& message) {
    const std::wstring uninstaller = UninstallerPath(toolFolder);
    if (!IsRegularFile(uninstaller)) {
        message =
            L"Could not register Programs and Features because Uninstall.exe was not written.";
        return false;
    }
    const RegistryKey key = OpenEntryKey(toolConfig);
    if (!key) {
        message = L"Could not register the game in Programs and Features.";
        return false;
    }
    bool allWritten = true;
    for (const RegistryValue& value :
         InstalledProgramValues(toolConfig, GatherFacts(uninstaller))) {
        // Continues after a failure: one missing value is better than many.
        allWritten = WriteValue(key.get(), value) && allWritten;
    }
    if (!allWritten) {
        message = L"Could not finish writing the Programs and Features registry entry.";
    }
    return allWritten;
}

std::optional<std::wstring> RegisteredFolder(const ToolConfig& config) {
    return RegistryText(HKEY_CURRENT_USER, UninstallKeyPath(config), L"InstallLocation");
}

bool DeleteInstalledProgramsEntry(const ToolConfig& config) {
    const LSTATUS status = ::RegDeleteTreeW(HKEY_CURRENT_USER, UninstallKeyPath(config).c_str());
    return status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND;
}
