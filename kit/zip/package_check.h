#pragma once

#include <string>

#include "config/tool_config.h"
#include "kit/check.h"

// All rules on the package itself, package.*, and its facts. Reads every entry, with all processor
// cores. Throws OutsideFailure when the file does not exist, is a folder or cannot be read.
void CheckPackage(const std::wstring& path, const ToolConfig& config, Findings& findings,
                  PackageFacts& facts, Console& console);
