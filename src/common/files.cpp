#include "common/files.h"

#include <fstream>
#include <system_error>

#include "common/handles.h"
#include "common/paths.h"
#include "common/win32_error.h"

namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

uint64_t Join(DWORD high, DWORD low) {
    return (static_cast<uint64_t>(high) << 32) | low;
}

KernelHandle OpenEntry(const std::filesystem::path& path, DWORD access) {
    return AdoptHandle<KernelHandle>(::CreateFileW(path.c_str(), access, kShareAll, nullptr,
                                                   OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS,
                                                   nullptr));
}

template <typename Information>
EntryFacts FactsFrom(const Information& information) {
    const bool isFolder = (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    return {isFolder ? EntryKind::Folder : EntryKind::RegularFile,
            isFolder ? 0 : Join(information.nFileSizeHigh, information.nFileSizeLow),
            Join(information.ftLastWriteTime.dwHighDateTime,
                 information.ftLastWriteTime.dwLowDateTime)};
}

// Attributes by name are quick but describe a link itself; behind one, the opened target answers.
DWORD ReadFacts(const std::filesystem::path& path, EntryFacts& facts) {
    WIN32_FILE_ATTRIBUTE_DATA byName{};
    if (!::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &byName)) {
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

}  // namespace

EntryFacts FactsOf(const std::filesystem::path& path) {
    EntryFacts facts;
    const DWORD error = ReadFacts(path, facts);
    if (error != ERROR_SUCCESS && !MeansNotThere(error)) {
        facts.kind = EntryKind::Unreadable;
    }
    return facts;
}

EntryKind KindOf(const std::filesystem::path& path) {
    return FactsOf(path).kind;
}

std::optional<uint64_t> FileSize(const std::filesystem::path& path) {
    const EntryFacts facts = FactsOf(path);
    return facts.kind == EntryKind::RegularFile ? std::optional(facts.size) : std::nullopt;
}

std::optional<uint64_t> LastWriteTime(const std::filesystem::path& path) {
    const EntryFacts facts = FactsOf(path);
    const bool isKnown = facts.kind == EntryKind::RegularFile || facts.kind == EntryKind::Folder;
    return isKnown ? std::optional(facts.lastWriteTime) : std::nullopt;
}

bool SetLastWriteTime(const std::filesystem::path& path, uint64_t time) {
    const KernelHandle entry = OpenEntry(path, FILE_WRITE_ATTRIBUTES);
    if (!entry) {
        return false;
    }
    const FILETIME stamp{static_cast<DWORD>(time), static_cast<DWORD>(time >> 32)};
    return ::SetFileTime(entry.get(), nullptr, nullptr, &stamp) != 0;
}

DWORD CopyFileOver(const std::filesystem::path& source, const std::filesystem::path& target) {
    return ::CopyFileW(source.c_str(), target.c_str(), FALSE) ? ERROR_SUCCESS : ::GetLastError();
}

DWORD MoveEntry(const std::filesystem::path& source, const std::filesystem::path& target) {
    return ::MoveFileExW(source.c_str(), target.c_str(),
                         MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED)
               ? ERROR_SUCCESS
               : ::GetLastError();
}

bool EnsureDirectory(const std::filesystem::path& path) {
    if (path.empty()) {
        return false;
    }
    std::error_code ignored;  // What counts is what stands there afterwards.
    std::filesystem::create_directories(path, ignored);
    const EntryKind kind = KindOf(path);
    return kind == EntryKind::Folder || kind == EntryKind::RegularFile;
}

bool WriteBinaryFile(const std::filesystem::path& path, std::span<const std::byte> bytes) {
    const std::filesystem::path folder = ParentFolder(path.native());
    if (!folder.empty()) {
        EnsureDirectory(folder);  // A folder that is missing still makes the opening fail.
    }
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    if (!file.is_open()) {
        return false;
    }
    if (!bytes.empty()) {
        file.write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
    }
    return file.good();
}
