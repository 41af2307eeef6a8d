#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "common/handles.h"
#include "common/windows_api.h"

// A place for a test's files, and what tests do with files there. Nothing in here uses the file
// functions of the program under test.
//
// Helpers without a result throw std::system_error with the Win32 error code when they fail, so
// that preparing a test needs no checks: GoogleTest reports the exception as a failure.

namespace bench {

// A fresh empty folder below the temp folder, removed with the object together with its content:
// read-only entries, unreadable folders, links (but not their targets). An entry that cannot be
// removed, such as an open file, fails the test.
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    // Absolute, without a trailing separator.
    [[nodiscard]] const std::filesystem::path& Path() const {
        return path_;
    }

private:
    std::filesystem::path path_;
};

// Keeps a file or folder open, as another program would, as long as the object lives or until
// Close.
class OpenElsewhere {
public:
    // `shareMode`: what others may still do, a combination of FILE_SHARE_READ, _WRITE and _DELETE.
    // `access`: what the other program opens it for.
    explicit OpenElsewhere(const std::filesystem::path& path, DWORD shareMode,
                           DWORD access = GENERIC_READ);
    void Close();

private:
    KernelHandle file_;
};

// Makes a folder's content unreadable (its listing fails with ERROR_ACCESS_DENIED) as long as the
// object lives. Declare it after its ScratchFolder.
class UnreadableFolder {
public:
    explicit UnreadableFolder(std::filesystem::path folder);
    ~UnreadableFolder();
    UnreadableFolder(const UnreadableFolder&) = delete;
    UnreadableFolder& operator=(const UnreadableFolder&) = delete;

    // False where it cannot be brought about; the folder is then as it was.
    [[nodiscard]] bool Made() const {
        return made_;
    }

private:
    std::filesystem::path folder_;
    std::vector<std::byte> formerAccess_;
    bool made_ = false;
};

// Replaces the file's whole content; missing folders above it are created.
void WriteFile(const std::filesystem::path& path, std::string_view bytes);
std::string ReadFile(const std::filesystem::path& path);
void SetReadOnly(const std::filesystem::path& path, bool readOnly);
// A file of `size` bytes, all zero, that takes up next to no space; good for sizes over 4 GiB.
void MakeSparseFile(const std::filesystem::path& path, std::uint64_t size);

// Last write time of a file or folder in 100 ns steps since 1601 (FILETIME).
std::uint64_t GetWriteTime(const std::filesystem::path& path);
void SetWriteTime(const std::filesystem::path& path, std::uint64_t time);

// A folder below `folder` whose path has more than 260 characters, and the same created.
std::filesystem::path DeepFolder(const std::filesystem::path& folder);
std::filesystem::path MakeDeepFolder(const std::filesystem::path& folder);

// Everything below `folder`, sorted by character codes: "a.txt", "empty/", "link@", "sub/",
// "sub/b.txt". Paths are relative to `folder`, with "/" between and after folders; a folder link
// ends in "@" and is not entered. (Under Wine a file link looks like a file, and a dangling link is
// invisible.)
std::vector<std::wstring> FolderListing(const std::filesystem::path& folder);

// Symbolic links. `target` is absolute; it need not exist and may be above the link. True if the
// link was made; Windows makes links only for administrators or in developer mode.
bool MakeFolderLink(const std::filesystem::path& link, const std::filesystem::path& target);
bool MakeFileLink(const std::filesystem::path& link, const std::filesystem::path& target);

// Makes the machine write out and forget what it has cached of files, so that the next reads come
// from the disk. False where that cannot be done: under Windows, and without the right to do it.
bool DropFileCache();

// Is this Wine instead of Windows?
bool IsWine();

// Under Wine, the host's path of a Windows path; empty if not known.
std::wstring HostPath(const std::filesystem::path& path);

}  // namespace bench
