#pragma once

#include <optional>
#include <string>
#include <vector>

#include "config/tool_config.h"
#include "kit/pe/icon_file.h"
#include "kit/pe/version_block.h"

// What a finished tool or uninstaller carries. Everything refers to the bytes that it was read
// from.
struct FinishedExe {
    std::wstring engineVersion;
    bool isSigned = false;
    std::vector<VersionText> versionTexts;
    ByteView configText;
    ToolConfig config;  // What the tool reads from it, with empty names filled in.
    std::optional<ByteView> background;
    std::optional<ByteView> logo;
    std::optional<std::vector<IconPicture>> icon;
    std::optional<ByteView> uninstaller;
};

// None when the bytes are no program of ours: `reason` then says why, for the end of a sentence.
[[nodiscard]] std::optional<FinishedExe> ReadFinishedExe(ByteView file, std::string& reason);
