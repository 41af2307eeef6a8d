#pragma once

#include <optional>
#include <string>
#include <vector>

#include "kit/pe/byte_access.h"
#include "kit/pe/pe_file.h"

// The numbers of the types that the tool's exes have (winuser.h: RT_ICON and so on).
inline constexpr uint16_t kIconType = 3;
inline constexpr uint16_t kDataType = 10;
inline constexpr uint16_t kIconGroupType = 14;
inline constexpr uint16_t kVersionType = 16;
inline constexpr uint16_t kManifestType = 24;

// One embedded resource. The bytes belong to the record's creator.
struct Resource {
    uint16_t type = 0;
    uint16_t id = 0;
    uint16_t language = 0;  // A Windows language identifier; 0 is neutral.
    ByteView bytes;
};

// The resources of a program in the order of its directory, with bytes in `file`. Those with a name
// instead of a number are left out. None when the directory is damaged; `reason` then says why, for
// the end of a sentence. Any thread.
[[nodiscard]] std::optional<std::vector<Resource>> ReadResources(ByteView file, const PeFile& pe,
                                                                 std::string& reason);

// The resource with this type and number: the neutral one, else the first. Null if there is none.
[[nodiscard]] const Resource* FindEmbedded(const std::vector<Resource>& resources, uint16_t type,
                                           uint16_t id);
