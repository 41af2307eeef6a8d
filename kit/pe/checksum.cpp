#include "kit/pe/checksum.h"

uint32_t PeChecksum(ByteView file, size_t checksumOffset) {
    uint64_t sum = 0;
    for (size_t i = 0; i < file.size(); ++i) {
        if (i < checksumOffset || i >= checksumOffset + 4) {
            sum += std::to_integer<uint64_t>(file[i]) << (i % 2 * 8);
        }
    }
    while (sum > 0xFFFF) {
        sum = (sum & 0xFFFF) + (sum >> 16);
    }
    return static_cast<uint32_t>(sum + file.size());
}
