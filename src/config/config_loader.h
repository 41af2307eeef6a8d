#pragma once

#include "common/windows_api.h"
#include "config/tool_config.h"

// Replaces `target` with the configuration text embedded in `module` (null: the running exe). False
// when the resource is missing or empty; `target` is then unchanged. Window thread, before any job
// exists.
[[nodiscard]] bool LoadEmbeddedConfig(HMODULE module, ToolConfig& target);

// Sets the two fields that must not be empty to their fallbacks: `startupExe` to "patcher.exe" and
// `repairToolName` to "KrvBrennickInstaller.exe". Call it after loading, even if that failed.
void FillEmptyNames(ToolConfig& config);
