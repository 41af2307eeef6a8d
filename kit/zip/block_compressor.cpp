#include "kit/zip/block_compressor.h"

#include <algorithm>
#include <new>

namespace {

constexpr int kRawDeflate = -MAX_WBITS;  // Without zlib's own header.
// Ends a Huffman block after 8,192 symbols. The usual 16,384 make packages of programs and data 0.4
// % larger.
constexpr int kMemoryLevel = 7;
// A flush to a whole byte needs a few bytes more than deflateBound says.
constexpr size_t kFlushBytes = 64;
constexpr size_t kLargestFrame = 0xFFFF;
constexpr size_t kFrameHeaderBytes = 5;

Bytef* ZlibBytes(ByteView bytes) {
    // zlib does not write to its input, although its type allows that.
    return reinterpret_cast<Bytef*>(const_cast<std::byte*>(bytes.data()));
}

}  // namespace

BlockCompressor::BlockCompressor(int level) {
    if (::deflateInit2(&stream_, level, Z_DEFLATED, kRawDeflate, kMemoryLevel,
                       Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::bad_alloc();
    }
    compressed_.resize(::deflateBound(&stream_, kBlockBytes) + kFlushBytes);
}

BlockCompressor::~BlockCompressor() {
    ::deflateEnd(&stream_);
}

ByteView BlockCompressor::Compress(ByteView block, ByteView before, bool isLast) {
    ::deflateReset(&stream_);
    if (!before.empty()) {
        ::deflateSetDictionary(&stream_, ZlibBytes(before), static_cast<uInt>(before.size()));
    }
    stream_.next_in = ZlibBytes(block);
    stream_.avail_in = static_cast<uInt>(block.size());
    stream_.next_out = reinterpret_cast<Bytef*>(compressed_.data());
    stream_.avail_out = static_cast<uInt>(compressed_.size());
    ::deflate(&stream_, isLast ? Z_FINISH : Z_SYNC_FLUSH);
    return ByteView(compressed_).first(compressed_.size() - stream_.avail_out);
}

ByteBuffer FrameBlock(ByteView block, bool isLast) {
    ByteBuffer framed;
    framed.reserve(static_cast<size_t>(FramedSize(block.size())));
    while (!block.empty()) {
        const size_t size = std::min(block.size(), kLargestFrame);
        const bool endsStream = isLast && size == block.size();
        AppendU8(framed, endsStream ? 1 : 0);
        AppendU16(framed, static_cast<uint16_t>(size));
        AppendU16(framed, static_cast<uint16_t>(~size));
        AppendBytes(framed, block.first(size));
        block = block.subspan(size);
    }
    return framed;
}

uint64_t FramedSize(uint64_t blockBytes) {
    return blockBytes + (blockBytes + kLargestFrame - 1) / kLargestFrame * kFrameHeaderBytes;
}
