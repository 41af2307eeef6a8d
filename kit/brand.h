#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "config/tool_config.h"

// No config.txt that makes sense is larger.
inline constexpr uint64_t kMostConfigBytes = 0x400000;

inline constexpr std::wstring_view kConfigFileName = L"config.txt";
inline constexpr std::wstring_view kBackgroundFileName = L"background.jpg";
inline constexpr std::wstring_view kLogoFileName = L"logo.png";
inline constexpr std::wstring_view kIconFileName = L"tool.ico";

// The files of a brand's folder, byte for byte; none where one is missing.
struct Brand {
    std::optional<std::string> configText;
    std::optional<std::string> background;
    std::optional<std::string> logo;
    std::optional<std::string> icon;

    // What the tool reads from `configText`, with the names that may be empty filled in as it does.
    // The defaults when the file is missing.
    ToolConfig config;
};

// Which files of a brand to read besides config.txt.
struct BrandFiles {
    bool pictures = true;
    bool hiddenLogo = true;  // One that showLogo hides; else with `pictures` only a shown one.
    bool icon = true;
};

// Treats the files that are not to be read as missing. Throws OutsideFailure when
// the folder does not exist, or a file in it cannot be read or is larger than any that makes sense
// (config.txt 4 MiB, the others 256 MiB).
[[nodiscard]] Brand ReadBrand(const std::wstring& folder, const BrandFiles& needed = {});
