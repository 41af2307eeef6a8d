#pragma once

#include "kit/pe/byte_access.h"

// The checksum of a program's file, as in the optional header: the sum of all 16-bit words with
// carries added, the checksum's own four bytes at `checksumOffset` (even) left out, plus the size.
[[nodiscard]] uint32_t PeChecksum(ByteView file, size_t checksumOffset);
