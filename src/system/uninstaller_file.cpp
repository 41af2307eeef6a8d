#include "system/uninstaller_file.h"

#include "common/files.h"
#include "common/paths.h"
#include "common/resources.h"
#include "common/tool_instance.h"
#include "resource_ids.h"

std::wstring UninstallerPath(const std::wstring& clientFolder) {
    return JoinPaths(AsFolder(clientFolder), L"Uninstall.exe");
}

bool WriteUninstaller() {
    const std::span<const std::byte> program = EmbeddedData(nullptr, ID_UNINSTALLER);
    return program.empty() || WriteBinaryFile(UninstallerPath(toolFolder), program);
}
