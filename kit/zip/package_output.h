#pragma once

#include <cstddef>
#include <cstdint>

#include "kit/output_file.h"
#include "kit/pe/byte_access.h"

// The bytes of a package while it is written: collected for large writes, and with a way back.
// Throws OutsideFailure when they cannot be written.
class PackageOutput {
public:
    explicit PackageOutput(OutputFile& file);

    void Write(ByteView bytes);
    // Replaces bytes that are written already.
    void Overwrite(uint64_t offset, ByteView bytes);
    // Continues there; what is behind gets replaced or, at the end, cut off.
    void GoBackTo(uint64_t offset);
    // Where the next byte is written.
    [[nodiscard]] uint64_t Position() const {
        return flushed_ + buffer_.size();
    }
    // Writes what is left.
    void Finish();

private:
    void Flush();
    void WriteAt(uint64_t offset, ByteView bytes);

    OutputFile& file_;
    ByteBuffer buffer_;
    uint64_t flushed_ = 0;
};
