#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "common/windows_api.h"
#include "config/tool_config.h"

// What the game's entry in the system's list of installed programs says. Everything here is a
// function of its arguments and touches neither disk nor registry. Any thread.

// The texts of the entry. Each is the first of several configured texts that is not blank,
// trimmed; the version is empty when none is configured, the other two have a last resort.
[[nodiscard]] std::wstring ProgramsDisplayName(const ToolConfig& config);
[[nodiscard]] std::wstring ProgramsPublisher(const ToolConfig& config);
[[nodiscard]] std::wstring ProgramsDisplayVersion(const ToolConfig& config);

// The name of the entry's registry key, made of the display name, and the key's path below
// HKEY_CURRENT_USER. A new display name makes a new entry.
[[nodiscard]] std::wstring BuildUninstallKeyName(const ToolConfig& config);
[[nodiscard]] std::wstring UninstallKeyPath(const ToolConfig& config);

// The path in double quotes, with a backslash before each double quote inside.
[[nodiscard]] std::wstring QuoteCommandLinePath(const std::filesystem::path& path);

// A size for the entry: in KiB, a started one counts as whole, and at most what 32 bits hold.
[[nodiscard]] uint32_t SizeInKibibytes(uint64_t bytes);

struct RegistryValue {
    std::wstring name;
    std::variant<std::wstring, uint32_t> data;  // REG_SZ or REG_DWORD.
};

// What the entry says besides the configured texts.
struct InstalledProgramFacts {
    std::filesystem::path clientFolder;
    std::filesystem::path uninstaller;
    std::filesystem::path icon;  // The file whose first icon stands for the game.
    uint64_t clientSizeBytes = 0;
    SYSTEMTIME today{};  // Local time; only year, month and day are read.
};

// The entry's values in the order in which they are written. An empty version is among them, an
// empty website is not.
[[nodiscard]] std::vector<RegistryValue> InstalledProgramValues(const ToolConfig& config,
                                                                const InstalledProgramFacts& facts);
