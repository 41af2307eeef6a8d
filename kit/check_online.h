#pragma once

#include <cstdint>
#include <optional>

#include "config/tool_config.h"
#include "kit/console.h"
#include "kit/findings.h"

struct OnlineOptions {
    bool download = false;                 // Reads the whole package and compares its digest.
    std::optional<uint64_t> packageBytes;  // The size of the local package, to compare with.
};

// The rules online.*: asks the server of `archiveUrl` and, when players can choose it, the first
// mirror, as the tool asks them. Addresses that the tool cannot use are not asked; other rules name
// them. Blocks for up to 30 s at each silence of a server. Throws OutsideFailure when the kit
// itself cannot use the network.
void CheckOnline(const ToolConfig& config, const OnlineOptions& options, Findings& findings,
                 Console& console);
