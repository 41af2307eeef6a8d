#include "kit/input_file.h"

#include <algorithm>

#include "common/files.h"
#include "common/paths.h"
#include "common/win32_error.h"
#include "kit/utf8.h"

namespace {

std::string ReadAll(HANDLE file, const std::wstring& path, uint64_t size) {
    std::string content(static_cast<size_t>(size), '\0');
    size_t filled = 0;
    while (filled < content.size()) {
        constexpr size_t kPieceBytes = 0x1000000;
        const auto wanted = static_cast<DWORD>(std::min(content.size() - filled, kPieceBytes));
        DWORD bytes = 0;
        if (!::ReadFile(file, content.data() + filled, wanted, &bytes, nullptr)) {
            throw OutsideFailure("cannot read", path, ::GetLastError());
        }
        if (bytes == 0) {
            throw OutsideFailure("cannot read", path, ERROR_HANDLE_EOF);  // It became shorter.
        }
        filled += bytes;
    }
    return content;
}

}  // namespace

InputTooLarge::InputTooLarge(const std::wstring& path, uint64_t mostBytes)
    : OutsideFailure("cannot read " + WideToUtf8(path) + ", which is larger than " +
                         std::to_string(mostBytes / 0x100000) + " MiB",
                     ERROR_FILE_TOO_LARGE) {}

std::optional<std::string> ReadInputFile(const std::wstring& path, uint64_t mostBytes) {
    const KernelHandle file =
        OpenForReading(path, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
    if (!file) {
        const DWORD error = ::GetLastError();
        if (KindOf(path) == EntryKind::Folder) {
            throw OutsideFailure("cannot read " + WideToUtf8(path) + ", which is a folder", error);
        }
        if (IsNotFoundError(error)) {
            return std::nullopt;
        }
        throw OutsideFailure("cannot read", path, error);
    }
    LARGE_INTEGER size{};
    if (!::GetFileSizeEx(file.get(), &size)) {
        throw OutsideFailure("cannot read", path, ::GetLastError());
    }
    if (static_cast<uint64_t>(size.QuadPart) > mostBytes) {
        throw InputTooLarge(path, mostBytes);
    }
    return ReadAll(file.get(), path, static_cast<uint64_t>(size.QuadPart));
}

void RequireFolder(const std::wstring& path) {
    const EntryKind kind = KindOf(path);
    if (kind == EntryKind::RegularFile) {
        throw OutsideFailure("cannot use " + WideToUtf8(path) + ", which is a file; give a folder",
                             ERROR_DIRECTORY);
    }
    if (kind == EntryKind::Missing) {
        throw OutsideFailure("cannot find the folder", path, ERROR_PATH_NOT_FOUND);
    }
}
