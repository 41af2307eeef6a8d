#pragma once

#include <optional>
#include <string>
#include <vector>

#include "kit/pe/resource_tree.h"

// The program with exactly these resources: in one section at its end, which replaces a section of
// resources that it has. Behind that one there may only be the relocations, which move up. All
// other sections keep their bytes and places. The same input gives the same bytes on every system.
//
// No two of `resources` may have the same type, number and language; their order does not matter.
//
// None when the program is not one that can be changed: not 64-bit, signed, with bytes behind its
// sections or no room for a section's header, or when the result would be over 2 GiB. `reason` then
// says why, for the end of a sentence. Any thread.
[[nodiscard]] std::optional<ByteBuffer> WithResources(ByteView program,
                                                      std::vector<Resource> resources,
                                                      std::string& reason);
