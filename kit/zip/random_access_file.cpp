#include "kit/zip/random_access_file.h"

#include <algorithm>

#include "common/files.h"
#include "kit/errors.h"

namespace {

constexpr size_t kLargestReadBytes = 0x1000000;

}  // namespace

RandomAccessFile::RandomAccessFile(const std::wstring& path)
    : path_(path), file_(OpenForReading(path)) {
    LARGE_INTEGER size{};
    if (!file_ || !::GetFileSizeEx(file_.get(), &size)) {
        const DWORD error = ::GetLastError();
        throw OutsideFailure("cannot open", path_, error);
    }
    size_ = static_cast<uint64_t>(size.QuadPart);
}

size_t RandomAccessFile::ReadAt(uint64_t offset, std::span<std::byte> target) const {
    size_t done = 0;
    while (done < target.size()) {
        const uint64_t position = offset + done;
        OVERLAPPED place{};
        place.Offset = static_cast<DWORD>(position);
        place.OffsetHigh = static_cast<DWORD>(position >> 32);
        const auto wanted = static_cast<DWORD>(std::min(target.size() - done, kLargestReadBytes));
        DWORD count = 0;
        if (!::ReadFile(file_.get(), target.data() + done, wanted, &count, &place)) {
            const DWORD error = ::GetLastError();
            if (error == ERROR_HANDLE_EOF) {
                break;
            }
            throw OutsideFailure("cannot read", path_, error);
        }
        if (count == 0) {
            break;
        }
        done += count;
    }
    return done;
}

WindowReader::WindowReader(const RandomAccessFile& file)
    : file_(file), window_(std::make_unique_for_overwrite<std::byte[]>(kWindowBytes)) {}

std::span<const std::byte> WindowReader::Part(uint64_t offset, size_t size) {
    std::span<const std::byte> part = FromWindow(offset);
    if (part.size() < size) {
        Load(offset);
        part = FromWindow(offset);
    }
    return part.first(std::min(part.size(), size));
}

std::span<const std::byte> WindowReader::Next(uint64_t offset, uint64_t limit) {
    std::span<const std::byte> part = FromWindow(offset);
    if (part.empty() && limit > 0) {
        Load(offset);
        part = FromWindow(offset);
    }
    return part.first(static_cast<size_t>(std::min<uint64_t>(part.size(), limit)));
}

std::span<const std::byte> WindowReader::FromWindow(uint64_t offset) const {
    if (offset < start_ || offset - start_ >= length_) {
        return {};
    }
    const auto skipped = static_cast<size_t>(offset - start_);
    return {window_.get() + skipped, length_ - skipped};
}

void WindowReader::Load(uint64_t offset) {
    length_ = 0;
    length_ = file_.ReadAt(offset, {window_.get(), kWindowBytes});
    start_ = offset;
}
