#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "common/files.h"

// The one file of the client folder that no job overwrites or deletes: this program's own. It is
// recognized by what a path leads to, not by its name: other letter case, short names and links
// make no difference. Any thread.

// The facts about the tool's file, gathered once for a pass over many files.
struct RunningTool {
    std::optional<std::wstring> canonicalPath;  // None when it cannot be resolved.
    std::optional<uint64_t> size;               // None when the file cannot be found.
};

// The facts about the file at `exePath`, normally `toolExePath`.
[[nodiscard]] RunningTool FindRunningTool(const std::wstring& exePath);

// Whether `path` leads to the tool's file; without `tool`, to the one at `toolExePath`. Also false
// when either path cannot be resolved.
[[nodiscard]] bool IsRunningTool(const std::wstring& path);
[[nodiscard]] bool IsRunningTool(const std::wstring& path, const RunningTool& tool);

// A cheap check first: false when an entry with these facts cannot be the tool's file, because it
// is missing, a folder, or of another size.
[[nodiscard]] bool CanBeRunningTool(const EntryFacts& facts, const RunningTool& tool);
