#include "common/files.h"

#include <string>
#include <vector>

#include "common/paths.h"
#include "common/win32_error.h"

namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

uint64_t Join(DWORD high, DWORD low) {
    return (static_cast<uint64_t>(high) << 32) | low;
}

KernelHandle OpenEntry(const std::wstring& path, DWORD access) {
    return AdoptHandle<KernelHandle>(::CreateFileW(SystemPath(path).Text(), access, kShareAll,
                                                   nullptr, OPEN_EXISTING,
                                                   FILE_FLAG_BACKUP_SEMANTICS, nullptr));
}

template <typename Information>
EntryFacts FactsFrom(const Information& information) {
    const bool isFolder = (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    return {isFolder ? EntryKind::Folder : EntryKind::RegularFile,
            isFolder ? 0 : Join(information.nFileSizeHigh, information.nFileSizeLow),
            JoinFileTime(information.ftLastWriteTime)};
}

// Attributes by name are fast but describe a link itself; for a link, the target is opened.
DWORD ReadFacts(const std::wstring& path, EntryFacts& facts) {
    WIN32_FILE_ATTRIBUTE_DATA byName{};
    if (!::GetFileAttributesExW(SystemPath(path).Text(), GetFileExInfoStandard, &byName)) {
        return ::GetLastError();
    }
    if ((byName.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
        facts = FactsFrom(byName);
        return ERROR_SUCCESS;
    }
    const KernelHandle target = OpenEntry(path, FILE_READ_ATTRIBUTES);
    if (!target) {
        return ::GetLastError();
    }
    BY_HANDLE_FILE_INFORMATION byHandle{};
    if (!::GetFileInformationByHandle(target.get(), &byHandle)) {
        return ::GetLastError();
    }
    facts = FactsFrom(byHandle);
    return ERROR_SUCCESS;
}

bool Exists(const std::wstring& path) {
    const EntryKind kind = KindOf(path);
    return kind == EntryKind::Folder || kind == EntryKind::RegularFile;
}

}  // namespace

uint64_t JoinFileTime(const FILETIME& time) {
    return Join(time.dwHighDateTime, time.dwLowDateTime);
}

EntryFacts FactsOf(const std::wstring& path) {
    EntryFacts facts;
    const DWORD error = ReadFacts(path, facts);
    if (error != ERROR_SUCCESS && !IsNotFoundError(error)) {
        facts.kind = EntryKind::Unreadable;
    }
    return facts;
}

EntryFacts FactsOf(HANDLE file) {
    LARGE_INTEGER size{};
    FILETIME lastWriteTime{};
    if (!::GetFileSizeEx(file, &size) || !::GetFileTime(file, nullptr, nullptr, &lastWriteTime)) {
        return {EntryKind::Unreadable};
    }
    return {EntryKind::RegularFile, static_cast<uint64_t>(size.QuadPart),
            JoinFileTime(lastWriteTime)};
}

EntryKind KindOf(const std::wstring& path) {
    return FactsOf(path).kind;
}

std::optional<uint64_t> FileSize(const std::wstring& path) {
    const EntryFacts facts = FactsOf(path);
    return facts.kind == EntryKind::RegularFile ? std::optional(facts.size) : std::nullopt;
}

std::optional<uint64_t> LastWriteTime(const std::wstring& path) {
    const EntryFacts facts = FactsOf(path);
    const bool isKnown = facts.kind == EntryKind::RegularFile || facts.kind == EntryKind::Folder;
    return isKnown ? std::optional(facts.lastWriteTime) : std::nullopt;
}

bool SetLastWriteTime(const std::wstring& path, uint64_t time) {
    const KernelHandle entry = OpenEntry(path, FILE_WRITE_ATTRIBUTES);
    if (!entry) {
        return false;
    }
    const FILETIME stamp{static_cast<DWORD>(time), static_cast<DWORD>(time >> 32)};
    return ::SetFileTime(entry.get(), nullptr, nullptr, &stamp) != 0;
}

KernelHandle OpenForReading(const std::wstring& path, DWORD shareMode) {
    return AdoptHandle<KernelHandle>(::CreateFileW(SystemPath(path).Text(), GENERIC_READ, shareMode,
                                                   nullptr, OPEN_EXISTING,
                                                   FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
}

KernelHandle CreateForWriting(const std::wstring& path, DWORD shareMode) {
    return AdoptHandle<KernelHandle>(::CreateFileW(SystemPath(path).Text(), GENERIC_WRITE,
                                                   shareMode, nullptr, CREATE_ALWAYS,
                                                   FILE_ATTRIBUTE_NORMAL, nullptr));
}

DWORD DeleteSingleFile(const std::wstring& path) {
    return ::DeleteFileW(SystemPath(path).Text()) ? ERROR_SUCCESS : ::GetLastError();
}

DWORD CopyFileOver(const std::wstring& source, const std::wstring& target) {
    return ::CopyFileW(SystemPath(source).Text(), SystemPath(target).Text(), FALSE)
               ? ERROR_SUCCESS
               : ::GetLastError();
}

DWORD MoveEntry(const std::wstring& source, const std::wstring& target) {
    return ::MoveFileExW(SystemPath(source).Text(), SystemPath(target).Text(),
                         MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED)
               ? ERROR_SUCCESS
               : ::GetLastError();
}

DWORD CreateSingleFolder(const std::wstring& path) {
    return ::CreateDirectoryW(SystemPath(path).Text(), nullptr) ? ERROR_SUCCESS : ::GetLastError();
}

bool EnsureDirectory(const std::wstring& path) {
    if (path.empty()) {
        return false;
    }
    if (Exists(path)) {
        return true;
    }
    // Up to the first folder whose parent exists, then down again. Errors are ignored; only the end
    // state matters.
    std::vector<std::wstring> missing{path};
    while (CreateSingleFolder(missing.back()) == ERROR_PATH_NOT_FOUND) {
        std::wstring parent = ParentFolder(missing.back());
        if (parent.empty() || parent == missing.back()) {
            break;
        }
        missing.push_back(std::move(parent));
    }
    for (missing.pop_back(); !missing.empty(); missing.pop_back()) {
        static_cast<void>(CreateSingleFolder(missing.back()));
    }
    return Exists(path);
}

bool WriteBinaryFile(const std::wstring& path, std::span<const std::byte> bytes) {
    const std::wstring folder = ParentFolder(path);
    if (!folder.empty()) {
        static_cast<void>(EnsureDirectory(folder));  // Without the folder, opening fails.
    }
    const KernelHandle file = CreateForWriting(path, FILE_SHARE_READ | FILE_SHARE_WRITE);
    if (!file) {
        return false;
    }
    DWORD written = 0;
    // On a full disk WriteFile can succeed with a short count.
    return bytes.empty() || (::WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()),
                                         &written, nullptr) != FALSE &&
                             written == bytes.size());
}
