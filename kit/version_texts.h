#pragma once

#include "config/tool_config.h"
#include "kit/pe/version_block.h"

enum class BrandProgram { Tool, Uninstaller };

// The version resource of one of a brand's programs, with the same rules as cmake/brand_version.py:
// the `repair*` keys for the tool, the `uninstaller*` keys for the uninstaller. `config` as
// ReadBrand gives it. Numbers over 65535 become 65535, and a malformed language English: both are
// errors that only a forced build gets past.
[[nodiscard]] VersionBlock BrandVersion(const ToolConfig& config, BrandProgram program);

// The name of the text that says which version of the engine a program has.
inline constexpr std::wstring_view kEngineVersionName = L"EngineVersion";
