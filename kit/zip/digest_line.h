#pragma once

#include <string>
#include <string_view>

// The configuration text with this value for `archiveSha256`: in the line that wins, which is the
// last one with that key; appended when there is none. All other bytes stay as they are.
[[nodiscard]] std::string WithArchiveDigest(std::string_view configText, std::string_view digest);
