#pragma once

#include <optional>
#include <string>

#include "config/tool_config.h"

// Another program in the list of installed programs.
struct OtherProgram {
    std::wstring name;    // The display name, or the name of its key.
    std::wstring folder;  // The entry's install location.
};

// A program other than the configured game that is installed in or below the canonical `folder`,
// according to the lists of the current user and the machine, 64-bit and 32-bit. Ignores entries
// whose install location is missing, empty, relative, unresolvable or nonexistent, and entries that
// call the uninstaller in `folder`: those are the game under an older display name. Any thread.
[[nodiscard]] std::optional<OtherProgram> FindOtherProgramIn(const std::wstring& folder,
                                                             const ToolConfig& config);
