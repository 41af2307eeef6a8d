#include "kit/zip/inflater.h"

#include <new>

namespace {

constexpr size_t kUnpackedBytes = 0x10000;
constexpr int kRawDeflate = -MAX_WBITS;  // Without zlib's own header.

}  // namespace

Inflater::Inflater() : unpacked_(std::make_unique_for_overwrite<std::byte[]>(kUnpackedBytes)) {
    if (::inflateInit2(&stream_, kRawDeflate) != Z_OK) {
        throw std::bad_alloc();
    }
}

Inflater::~Inflater() {
    ::inflateEnd(&stream_);
}

void Inflater::Begin(uint64_t largestSize) {
    ::inflateReset(&stream_);
    largestSize_ = largestSize;
    size_ = 0;
    unused_ = 0;
    checksum_ = 0;
    isAtEnd_ = false;
    isTooLarge_ = false;
}

bool Inflater::Take(std::span<const std::byte> packed) {
    if (isAtEnd_) {
        unused_ += packed.size();
        return true;
    }
    // zlib does not write to its input, although its type allows that.
    stream_.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(packed.data()));
    stream_.avail_in = static_cast<uInt>(packed.size());
    do {
        stream_.next_out = reinterpret_cast<Bytef*>(unpacked_.get());
        stream_.avail_out = static_cast<uInt>(kUnpackedBytes);
        const int result = ::inflate(&stream_, Z_NO_FLUSH);
        if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR) {
            return false;
        }
        const size_t count = kUnpackedBytes - stream_.avail_out;
        checksum_ = ContinueChecksum(checksum_, {unpacked_.get(), count});
        size_ += count;
        if (size_ > largestSize_) {
            isTooLarge_ = true;
            return false;
        }
        isAtEnd_ = result == Z_STREAM_END;
    } while (!isAtEnd_ && (stream_.avail_in > 0 || stream_.avail_out == 0));
    unused_ = stream_.avail_in;
    return true;
}

uint32_t ContinueChecksum(uint32_t checksum, std::span<const std::byte> bytes) {
    return static_cast<uint32_t>(
        ::crc32_z(checksum, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()));
}
