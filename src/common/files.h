#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "common/handles.h"
#include "common/windows_api.h"

// Single files and folders, through Win32: the compilers' standard libraries behave differently
// where it matters here. Paths may have any length and form. Queries follow links. A DWORD result
// is a Win32 error code, ERROR_SUCCESS on success. Any thread.

enum class EntryKind {
    Missing,  // Not found, a dangling link, or an invalid name.
    RegularFile,
    Folder,
    Unreadable,  // The query failed for another reason; something may exist.
};

// The result of one query. Size and time are 0 when unknown.
struct EntryFacts {
    EntryKind kind = EntryKind::Missing;
    uint64_t size = 0;           // Bytes of a regular file.
    uint64_t lastWriteTime = 0;  // 100 ns units since 1601 (FILETIME).
};

// The time in the unit of the records and functions here.
[[nodiscard]] uint64_t JoinFileTime(const FILETIME& time);

// One query, for callers that need more than one of the answers below.
[[nodiscard]] EntryFacts FactsOf(const std::wstring& path);
// The same for an open regular file, which costs less. Unreadable when a query fails.
[[nodiscard]] EntryFacts FactsOf(HANDLE file);

[[nodiscard]] EntryKind KindOf(const std::wstring& path);

[[nodiscard]] inline bool IsRegularFile(const std::wstring& path) {
    return KindOf(path) == EntryKind::RegularFile;
}

// Size of a regular file in bytes; none for anything else.
[[nodiscard]] std::optional<uint64_t> FileSize(const std::wstring& path);

// Last write time of a file or folder in 100 ns units since 1601 (FILETIME).
[[nodiscard]] std::optional<uint64_t> LastWriteTime(const std::wstring& path);
// False when the file cannot be opened for this or the call fails. Works on read-only files.
[[nodiscard]] bool SetLastWriteTime(const std::wstring& path, uint64_t time);

// `shareMode` below is what others may do with the file meanwhile: a combination of
// FILE_SHARE_READ, _WRITE and _DELETE, or 0.

// Opens an existing file for sequential reading. Null on failure, with the reason in
// ::GetLastError().
[[nodiscard]] KernelHandle OpenForReading(const std::wstring& path,
                                          DWORD shareMode = FILE_SHARE_READ | FILE_SHARE_WRITE);

// Creates a file for writing, or truncates an existing one. Null on failure (for instance because
// the file is read-only, hidden or in use), with the reason in ::GetLastError().
[[nodiscard]] KernelHandle CreateForWriting(const std::wstring& path, DWORD shareMode);

// Deletes a file that is not read-only. Not for folders; see removal.h.
[[nodiscard]] DWORD DeleteSingleFile(const std::wstring& path);

// Copies one file with its attributes and last write time, replacing an existing target. Fails when
// the target is read-only or in use. A failed copy can leave a truncated target.
[[nodiscard]] DWORD CopyFileOver(const std::wstring& source, const std::wstring& target);

// Renames, replacing an existing file. Files can be moved to another volume, folders cannot.
[[nodiscard]] DWORD MoveEntry(const std::wstring& source, const std::wstring& target);

// Creates one folder; an error when the path exists already.
[[nodiscard]] DWORD CreateSingleFolder(const std::wstring& path);

// Creates the folder with all missing parents. True when anything exists at `path` afterwards, even
// if it is not a folder; false for an empty path.
[[nodiscard]] bool EnsureDirectory(const std::wstring& path);

// Writes the file in place and creates its folder if missing. False when it cannot be opened or the
// write fails; the file's content is then undefined. Errors on closing are ignored.
[[nodiscard]] bool WriteBinaryFile(const std::wstring& path, std::span<const std::byte> bytes);
