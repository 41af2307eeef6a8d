#include "kit/zip/package_output.h"

#include <algorithm>

#include "kit/errors.h"

namespace {

constexpr size_t kCollectedBytes = 0x100000;
constexpr size_t kLargestWriteBytes = 0x1000000;

}  // namespace

PackageOutput::PackageOutput(OutputFile& file) : file_(file) {
    buffer_.reserve(kCollectedBytes);
}

void PackageOutput::Write(ByteView bytes) {
    if (buffer_.size() + bytes.size() > kCollectedBytes) {
        Flush();
    }
    if (bytes.size() >= kCollectedBytes) {
        WriteAt(flushed_, bytes);
        flushed_ += bytes.size();
    } else {
        AppendBytes(buffer_, bytes);
    }
}

void PackageOutput::Overwrite(uint64_t offset, ByteView bytes) {
    Flush();
    WriteAt(offset, bytes);
}

void PackageOutput::GoBackTo(uint64_t offset) {
    Flush();
    flushed_ = offset;
}

void PackageOutput::Finish() {
    Flush();
    LARGE_INTEGER end{};
    end.QuadPart = static_cast<LONGLONG>(flushed_);
    if (!::SetFilePointerEx(file_.Handle(), end, nullptr, FILE_BEGIN) ||
        !::SetEndOfFile(file_.Handle())) {
        const DWORD error = ::GetLastError();
        throw OutsideFailure("cannot write", file_.Target(), error);
    }
}

void PackageOutput::Flush() {
    WriteAt(flushed_, buffer_);
    flushed_ += buffer_.size();
    buffer_.clear();
}

void PackageOutput::WriteAt(uint64_t offset, ByteView bytes) {
    while (!bytes.empty()) {
        OVERLAPPED place{};
        place.Offset = static_cast<DWORD>(offset);
        place.OffsetHigh = static_cast<DWORD>(offset >> 32);
        const auto length = static_cast<DWORD>(std::min(bytes.size(), kLargestWriteBytes));
        DWORD written = 0;
        if (!::WriteFile(file_.Handle(), bytes.data(), length, &written, &place)) {
            const DWORD error = ::GetLastError();
            throw OutsideFailure("cannot write", file_.Target(), error);
        }
        // On a full disk WriteFile can succeed with a short count.
        if (written != length) {
            throw OutsideFailure("cannot write", file_.Target(), ERROR_DISK_FULL);
        }
        offset += length;
        bytes = bytes.subspan(length);
    }
}
