#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "config/tool_config.h"

// Another program of the list of installed programs.
struct OtherProgram {
    std::wstring name;    // As the list shows it, or its key's name.
    std::wstring folder;  // Its install location as the entry has it.
};

// A program other than the configured game that is installed in the canonical `folder` or below it,
// by its entry in the list of the current user or of the machine, 64-bit or 32-bit. An entry is
// left out when its install location is missing, empty, relative, cannot be resolved or does not
// exist any more, and when it calls the uninstaller in `folder`: that is the game itself under an
// older display name. Any thread.
[[nodiscard]] std::optional<OtherProgram> FindOtherProgramIn(const std::filesystem::path& folder,
                                                             const ToolConfig& config);
