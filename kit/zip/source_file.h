#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "common/handles.h"

// A file of the client while it is packed. No other program can write to it while it is open.
class SourceFile {
public:
    // Throws OutsideFailure when it cannot be opened or has another size or time than expected.
    SourceFile(const std::wstring& path, uint64_t size, uint64_t lastWriteTime);

    // Fills `target`. Throws OutsideFailure when that fails or the file was changed.
    void Read(uint64_t offset, std::span<std::byte> target);

private:
    void RequireUnchanged() const;

    std::wstring path_;
    uint64_t size_;
    uint64_t lastWriteTime_;
    KernelHandle file_;
};
