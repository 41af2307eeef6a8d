#pragma once

#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <span>

#include "kit/pe/byte_access.h"

// Compresses a file's bytes block by block, so that the blocks of one file can be compressed at the
// same time: each begins with the 32 KB before it as its dictionary and ends at a whole byte. Put
// behind each other they are one Deflate stream, which depends on nothing but bytes and level.

inline constexpr size_t kBlockBytes = 0x100000;
inline constexpr size_t kDictionaryBytes = 0x8000;

// One thread; can be used again.
class BlockCompressor {
public:
    explicit BlockCompressor(int level);
    ~BlockCompressor();
    BlockCompressor(const BlockCompressor&) = delete;
    BlockCompressor& operator=(const BlockCompressor&) = delete;

    // The block as a part of a Deflate stream; valid until the next call. `before` is what comes
    // before it in the file, at most kDictionaryBytes. `isLast` ends the stream.
    [[nodiscard]] ByteView Compress(ByteView block, ByteView before, bool isLast);

private:
    z_stream stream_{};
    ByteBuffer compressed_;
};

// The same for a block that does not get smaller: its bytes as they are, with Deflate's frames.
[[nodiscard]] ByteBuffer FrameBlock(ByteView block, bool isLast);
[[nodiscard]] uint64_t FramedSize(uint64_t blockBytes);
