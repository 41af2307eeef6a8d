#include <optional>
#include <span>

#include "common/com_apartment.h"
#include "common/handles.h"
#include "common/paths.h"
#include "common/shell_api.h"
#include "common/system_dlls.h"
#include "common/tool_instance.h"
#include "config/config_loader.h"
#include "uninstaller/hand_over.h"
#include "uninstaller/uninstall_run.h"

namespace {

constexpr int kExitDone = 0;
constexpr int kExitNotDone = 1;  // Refused, declined or incomplete.

std::optional<HandOver> HandOverOnCommandLine() {
    int count = 0;
    const ArgumentList arguments(::CommandLineToArgvW(::GetCommandLineW(), &count));
    return arguments ? ParseHandOver({arguments.get(), static_cast<size_t>(count)}) : std::nullopt;
}

bool RunAsCopy(const HandOver& handOver) {
    AwaitOriginal(handOver.original);
    toolExePath = handOver.uninstaller;
    toolFolder = ParentFolder(handOver.uninstaller);
    const ComApartment apartment;
    return RunUninstall();
}

bool RunAsOriginal() {
    LocateTool();
    if (StartCopy(toolExePath)) {
        return true;
    }
    ReportFailedStart();
    return false;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
    LoadDllsFromSystemFolderOnly();
    if (!LoadEmbeddedConfig(nullptr, toolConfig)) {
        ReportMissingConfiguration();
        return kExitNotDone;
    }
    FillEmptyNames(toolConfig);
    const std::optional<HandOver> handOver = HandOverOnCommandLine();
    return (handOver ? RunAsCopy(*handOver) : RunAsOriginal()) ? kExitDone : kExitNotDone;
}
