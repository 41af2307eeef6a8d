#pragma once

#include "common/windows_api.h"
#include "config/tool_config.h"

// Reads the configuration text embedded in `module` (null: the program's own file) into `target`,
// as a whole. False when the resource is missing or empty; `target` is then left as it is, and
// nobody is told: the compiled-in defaults serve. Window thread, before any job exists.
[[nodiscard]] bool LoadEmbeddedConfig(HMODULE module, ToolConfig& target);

// The two fields that must not be empty get their stand-ins: `startupExe` "patcher.exe" and
// `repairToolName` "KrvBrennickInstaller.exe". Applied after loading, whether it worked or not.
void FillEmptyNames(ToolConfig& config);
