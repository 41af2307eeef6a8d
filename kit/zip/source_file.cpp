#include "kit/zip/source_file.h"

#include "common/files.h"
#include "kit/errors.h"
#include "kit/utf8.h"

SourceFile::SourceFile(const std::wstring& path, uint64_t size, uint64_t lastWriteTime)
    : path_(path),
      size_(size),
      lastWriteTime_(lastWriteTime),
      file_(OpenForReading(path, FILE_SHARE_READ | FILE_SHARE_DELETE)) {
    if (!file_) {
        const DWORD error = ::GetLastError();
        throw OutsideFailure("cannot read", path_, error);
    }
    RequireUnchanged();
}

void SourceFile::Read(uint64_t offset, std::span<std::byte> target) {
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32);
    DWORD count = 0;
    if (!::ReadFile(file_.get(), target.data(), static_cast<DWORD>(target.size()), &count,
                    &place)) {
        const DWORD error = ::GetLastError();
        if (error != ERROR_HANDLE_EOF) {
            throw OutsideFailure("cannot read", path_, error);
        }
    }
    if (count != target.size()) {
        throw OutsideFailure(WideToUtf8(path_) +
                             " was changed while it was packed; close the game and pack again");
    }
    RequireUnchanged();
}

// Asks for no more than it needs: GetFileInformationByHandle would query the volume, too.
void SourceFile::RequireUnchanged() const {
    FILE_BASIC_INFO times{};
    LARGE_INTEGER size{};
    if (!::GetFileInformationByHandleEx(file_.get(), FileBasicInfo, &times, sizeof times) ||
        !::GetFileSizeEx(file_.get(), &size)) {
        const DWORD error = ::GetLastError();
        throw OutsideFailure("cannot read", path_, error);
    }
    if (static_cast<uint64_t>(size.QuadPart) != size_ ||
        static_cast<uint64_t>(times.LastWriteTime.QuadPart) != lastWriteTime_) {
        throw OutsideFailure(WideToUtf8(path_) +
                             " was changed while it was packed; close the game and pack again");
    }
}
