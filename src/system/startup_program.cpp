#include "system/startup_program.h"

#include <string>

#include "common/files.h"
#include "common/paths.h"
#include "common/shell_api.h"
#include "common/tool_instance.h"

std::wstring ResolveStartupExePath(const ToolConfig& config, const std::wstring& clientFolder) {
    const std::wstring& startupExe = config.startupExe;
    if (startupExe.empty() || !::PathIsRelativeW(startupExe.c_str())) {
        return startupExe;
    }
    return JoinPaths(AsFolder(clientFolder), startupExe);
}

void LaunchStartupProgram() {
    const std::wstring program = ResolveStartupExePath(toolConfig, toolFolder);
    if (program.empty() || !IsRegularFile(program)) {
        return;
    }
    const std::wstring folder = ParentFolder(program);
    ::ShellExecuteW(mainWindow, L"open", program.c_str(), nullptr, folder.c_str(), SW_SHOWNORMAL);
}
