#include "config/config_loader.h"

#include <cstddef>
#include <span>

#include "common/resources.h"
#include "config/config_text.h"
#include "resource_ids.h"

bool LoadEmbeddedConfig(HMODULE module, ToolConfig& target) {
    const std::span<const std::byte> bytes = EmbeddedData(module, ID_CONFIG_TEXT);
    if (bytes.empty()) {
        return false;
    }
    target = ParseConfigText({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    return true;
}

void FillEmptyNames(ToolConfig& config) {
    if (config.startupExe.empty()) {
        config.startupExe = kDefaultStartupExe;
    }
    if (config.repairToolName.empty()) {
        config.repairToolName = kDefaultRepairToolName;
    }
}
