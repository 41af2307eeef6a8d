#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "common/windows_api.h"
#include "config/tool_config.h"

// The content of the game's entry in the list of installed programs. Pure functions. Any thread.

// Texts of the entry: each is the first of several configured texts that is not blank, trimmed. If
// all are blank, the version is empty and the others have a fallback.
[[nodiscard]] std::wstring ProgramsDisplayName(const ToolConfig& config);
[[nodiscard]] std::wstring ProgramsPublisher(const ToolConfig& config);
[[nodiscard]] std::wstring ProgramsDisplayVersion(const ToolConfig& config);

// The name of the entry's registry key, made from the display name, and the key's path below
// HKEY_CURRENT_USER. A changed display name means another entry.
[[nodiscard]] std::wstring BuildUninstallKeyName(const ToolConfig& config);
[[nodiscard]] std::wstring UninstallKeyPath(const ToolConfig& config);

// The path in double quotes, with a backslash before each double quote inside.
[[nodiscard]] std::wstring QuoteCommandLinePath(const std::wstring& path);

// A size in KiB, rounded up and limited to 32 bits.
[[nodiscard]] uint32_t SizeInKibibytes(uint64_t bytes);

struct RegistryValue {
    std::wstring name;
    std::variant<std::wstring, uint32_t> data;  // REG_SZ or REG_DWORD.
};

// The content of the entry that is not configured.
struct InstalledProgramFacts {
    std::wstring clientFolder;
    std::wstring uninstaller;
    std::wstring icon;  // The file whose first icon represents the game.
    uint64_t clientSizeBytes = 0;
    SYSTEMTIME today{};  // Local time; only year, month and day are used.
};

// The entry's values in the order of writing. Includes an empty version but not an empty website.
[[nodiscard]] std::vector<RegistryValue> InstalledProgramValues(const ToolConfig& config,
                                                                const InstalledProgramFacts& facts);
