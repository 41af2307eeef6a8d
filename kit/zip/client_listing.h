#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kit/findings.h"

// What a package is made of.

struct ClientEntry {
    std::string name;            // In the package: UTF-8 with slashes; a folder's ends in one.
    uint64_t size = 0;           // Bytes; 0 for a folder.
    uint64_t lastWriteTime = 0;  // 100 ns units since 1601 (FILETIME).

    [[nodiscard]] bool IsFolder() const {
        return name.ends_with('/');
    }
};

struct ClientListing {
    std::vector<ClientEntry> entries;  // Files and empty folders, by the bytes of their names.
    std::vector<std::string> leftOut;  // Names, in the same order; folders end in a slash.
};

struct LeaveOut {
    std::wstring toolName;               // At the top level.
    std::vector<std::wstring> patterns;  // See NamePattern.
};

// Everything below the folder that belongs in its package. Adds the findings that forbid making
// it: links, names that a package cannot have. Throws OutsideFailure when the folder or something
// in it cannot be read.
[[nodiscard]] ClientListing ListClient(const std::wstring& folder, const LeaveOut& leaveOut,
                                       Findings& findings);
