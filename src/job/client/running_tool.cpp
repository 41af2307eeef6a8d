#include "job/client/running_tool.h"

#include "common/paths.h"
#include "common/tool_instance.h"

RunningTool FindRunningTool(const std::wstring& exePath) {
    return {ComparableCanonical(exePath), FileSize(exePath)};
}

bool IsRunningTool(const std::wstring& path) {
    return IsRunningTool(path, FindRunningTool(toolExePath));
}

bool IsRunningTool(const std::wstring& path, const RunningTool& tool) {
    if (!tool.canonicalPath) {
        return false;
    }
    const std::optional<std::wstring> canonicalPath = ComparableCanonical(path);
    return canonicalPath && IsSameCanonicalPath(*canonicalPath, *tool.canonicalPath);
}

bool CanBeRunningTool(const EntryFacts& facts, const RunningTool& tool) {
    // A running program's file can be renamed. Its size is then unknown; only the paths can be
    // compared.
    if (!tool.size) {
        return true;
    }
    switch (facts.kind) {
        case EntryKind::RegularFile:
            return facts.size == *tool.size;
        case EntryKind::Unreadable:
            return true;
        case EntryKind::Missing:
        case EntryKind::Folder:
            break;
    }
    return false;
}
