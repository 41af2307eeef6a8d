#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>

#include "common/handles.h"
#include "common/windows_api.h"

// Single files and folders, through direct Win32 calls: the compilers' standard libraries differ in
// what matters here. Paths may have any length and form. Questions about a path follow links. Any
// thread. A DWORD result is a Win32 error code, ERROR_SUCCESS when it worked.

enum class EntryKind {
    Missing,  // Nothing there, a link to nothing, or a name that cannot be.
    RegularFile,
    Folder,
    Unreadable,  // There may be something, but the system does not tell.
};

// What one look at a path tells. Size and time are 0 where they are not known.
struct EntryFacts {
    EntryKind kind = EntryKind::Missing;
    uint64_t size = 0;           // Bytes of a regular file.
    uint64_t lastWriteTime = 0;  // 100 ns steps since 1601 (FILETIME).
};

// For those who need more than one of the answers below: they cost one look instead of one each.
[[nodiscard]] EntryFacts FactsOf(const std::filesystem::path& path);

[[nodiscard]] EntryKind KindOf(const std::filesystem::path& path);

[[nodiscard]] inline bool IsRegularFile(const std::filesystem::path& path) {
    return KindOf(path) == EntryKind::RegularFile;
}

// Size in bytes of the file itself, not of its possibly older listing; none for anything else.
[[nodiscard]] std::optional<uint64_t> FileSize(const std::filesystem::path& path);

// Last write times in 100 ns steps since 1601 (FILETIME); also of folders.
[[nodiscard]] std::optional<uint64_t> LastWriteTime(const std::filesystem::path& path);
// False when the file cannot be opened for that or refuses. Works on read-only files.
[[nodiscard]] bool SetLastWriteTime(const std::filesystem::path& path, uint64_t time);

// Opens an existing file for reading from its start to its end; others may read and write it
// meanwhile. Null when it cannot be opened, ::GetLastError() tells why.
[[nodiscard]] KernelHandle OpenForReading(const std::filesystem::path& path);

// Opens a file for writing, created or emptied. `shareMode`: what others may do meanwhile, a
// combination of FILE_SHARE_READ, _WRITE and _DELETE, or 0. Null when it cannot be opened (it is
// read-only, hidden or in use), ::GetLastError() tells why.
[[nodiscard]] KernelHandle CreateForWriting(const std::filesystem::path& path, DWORD shareMode);

// Deletes a file that is not read-only. Not for folders; see removal.h.
[[nodiscard]] DWORD DeleteSingleFile(const std::filesystem::path& path);

// Copies one file, replacing what is there; attributes and time stamp come along. A read-only or
// opened target makes it fail; a copy that breaks off can leave a shortened target.
[[nodiscard]] DWORD CopyFileOver(const std::filesystem::path& source,
                                 const std::filesystem::path& target);

// Renames, replacing a file that is there; a file may go to another volume, a folder may not.
[[nodiscard]] DWORD MoveEntry(const std::filesystem::path& source,
                              const std::filesystem::path& target);

// Creates one folder; an error when something is there already.
[[nodiscard]] DWORD CreateSingleFolder(const std::filesystem::path& path);

// Creates the folder with all missing parents. Whether something exists at `path` afterwards, be
// it a folder or not; false for an empty path.
[[nodiscard]] bool EnsureDirectory(const std::filesystem::path& path);

// Writes the file in place, creating its folder when missing. False when it cannot be opened or
// the write fails; what is then in the file is undefined. An error on closing is ignored.
[[nodiscard]] bool WriteBinaryFile(const std::filesystem::path& path,
                                   std::span<const std::byte> bytes);
