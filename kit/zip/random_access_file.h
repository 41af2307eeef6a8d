#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "common/handles.h"

// A file that is read at any offset. Several threads may read at once.
class RandomAccessFile {
public:
    // Throws OutsideFailure when the file cannot be opened or its size cannot be read. Others may
    // write to it meanwhile, so its size can change.
    explicit RandomAccessFile(const std::wstring& path);

    // In bytes, when the file was opened.
    [[nodiscard]] uint64_t Size() const {
        return size_;
    }

    // Fills `target` from `offset` on and returns how many bytes there were: fewer only at the end
    // of the file. Throws OutsideFailure when the read fails.
    [[nodiscard]] size_t ReadAt(uint64_t offset, std::span<std::byte> target) const;

private:
    std::wstring path_;
    KernelHandle file_;
    uint64_t size_ = 0;
};

// Reads ahead in a RandomAccessFile, for parts that mostly follow each other. One thread.
class WindowReader {
public:
    // No part may be larger.
    static constexpr size_t kWindowBytes = 0x40000;

    explicit WindowReader(const RandomAccessFile& file);

    // The bytes from `offset` on, `size` of them unless the file ends before. Valid until the next
    // call. Throws OutsideFailure when a read fails.
    [[nodiscard]] std::span<const std::byte> Part(uint64_t offset, size_t size);

    // What is left in the window from `offset` on, at most `limit` bytes; reads the next window
    // when there is nothing. Empty only at the end of the file and for a limit of 0.
    [[nodiscard]] std::span<const std::byte> Next(uint64_t offset, uint64_t limit);

private:
    [[nodiscard]] std::span<const std::byte> FromWindow(uint64_t offset) const;
    void Load(uint64_t offset);

    const RandomAccessFile& file_;
    std::unique_ptr<std::byte[]> window_;
    uint64_t start_ = 0;
    size_t length_ = 0;
};
