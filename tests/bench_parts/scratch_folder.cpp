#include "bench_parts/scratch_folder.h"

#include <gtest/gtest.h>
#include <sddl.h>
#include <winioctl.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <system_error>
#include <thread>
#include <utility>

#include "bench_parts/waiting.h"
#include "common/text.h"

namespace fs = std::filesystem;

namespace bench {
namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// Where links or permissions were made from outside. A folder above them may then only be removed
// from outside, because Wine shows a file link as its target. Test thread only.
std::vector<fs::path> changedFromOutside;

// Reads the last error itself: call it before anything else can change it.
void ThrowUnless(bool success, const char* action, const fs::path& path) {
    if (!success) {
        const auto error = static_cast<int>(::GetLastError());
        throw std::system_error(error, std::system_category(),
                                std::string(action) + " " + path.string());
    }
}

KernelHandle Open(const fs::path& path, DWORD access, DWORD shareMode, DWORD disposition) {
    return AdoptHandle<KernelHandle>(::CreateFileW(path.c_str(), access, shareMode, nullptr,
                                                   disposition, FILE_FLAG_BACKUP_SEMANTICS,
                                                   nullptr));
}

// Unique within this process; programs that run at the same time differ by their process id.
fs::path UniqueTempPath(const wchar_t* prefix) {
    static std::atomic<unsigned> counter = 0;
    return fs::temp_directory_path() /
           (prefix + std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(counter++));
}

// The form that lifts the limits on length and on trailing dots and blanks.
fs::path Verbatim(const fs::path& absolute) {
    return L"\\\\?\\" + absolute.native();
}

// As plain text: Wine allows an entry named "Z:", which joining paths would take for the drive, and
// removing the scratch folder would then empty that drive.
fs::path EntryIn(const fs::path& folder, const std::wstring& name) {
    return folder.native() + L"\\" + name;
}

// Calls visit(name, attributes) for each entry of the folder.
template <class Visit>
void ForEachEntry(const fs::path& folder, Visit visit) {
    WIN32_FIND_DATAW entry;
    const auto search =
        AdoptHandle<FindHandle>(::FindFirstFileW((folder.native() + L"\\*").c_str(), &entry));
    if (!search) {
        return;
    }
    do {
        const std::wstring name = entry.cFileName;
        if (name != L"." && name != L"..") {
            visit(name, entry.dwFileAttributes);
        }
    } while (::FindNextFileW(search.get(), &entry));
}

void RemoveWithoutFollowing(const fs::path& path, DWORD attributes) {
    if (attributes & FILE_ATTRIBUTE_READONLY) {
        ::SetFileAttributesW(path.c_str(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY});
    }
    if (!(attributes & FILE_ATTRIBUTE_DIRECTORY)) {
        ::DeleteFileW(path.c_str());
        return;
    }
    if (!(attributes & FILE_ATTRIBUTE_REPARSE_POINT)) {
        // Only once the search is over, which keeps the folder open.
        std::vector<std::pair<fs::path, DWORD>> entries;
        ForEachEntry(path, [&](const std::wstring& name, DWORD entryAttributes) {
            entries.emplace_back(EntryIn(path, name), entryAttributes);
        });
        for (const auto& [entry, entryAttributes] : entries) {
            RemoveWithoutFollowing(entry, entryAttributes);
        }
    }
    ::RemoveDirectoryW(path.c_str());
}

void ListBelow(const fs::path& folder, const std::wstring& prefix,
               std::vector<std::wstring>& listing) {
    ForEachEntry(folder, [&](const std::wstring& name, DWORD attributes) {
        if (!(attributes & FILE_ATTRIBUTE_DIRECTORY)) {
            listing.push_back(prefix + name);
        } else if (attributes & FILE_ATTRIBUTE_REPARSE_POINT) {
            listing.push_back(prefix + name + L"@");
        } else {
            listing.push_back(prefix + name + L"/");
            ListBelow(EntryIn(folder, name), prefix + name + L"/", listing);
        }
    });
}

// Runs `script` in the host's shell with the host's names of two paths as $1 and $2. True when its
// last command succeeds. Wine starts a host program but gives no handle to wait for it, so the
// script's end and result are read from a file that appears complete.
bool RunOnHost(const std::wstring& script, const fs::path& first, const fs::path& second) {
    changedFromOutside.push_back(first);
    const fs::path resultFile = UniqueTempPath(L"host-command-");
    std::wstring command = L"sh -c \"PATH=/usr/bin:/bin; " + script +
                           L"; echo $? >\\\"$3.part\\\"; mv \\\"$3.part\\\" \\\"$3\\\"\" sh";
    for (const fs::path& path : {first, second, resultFile}) {
        const std::wstring hostPath = HostPath(path);
        if (hostPath.empty()) {
            return false;
        }
        command += L" \"" + hostPath + L"\"";
    }
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!::CreateProcessW(L"\\\\?\\unix\\bin\\sh", command.data(), nullptr, nullptr, FALSE, 0,
                          nullptr, nullptr, &startup, &process)) {
        return false;
    }
    const bool success =
        Await([&] { return fs::exists(resultFile); }) && ReadFile(resultFile) == "0\n";
    ::DeleteFileW(resultFile.c_str());
    return success;
}

bool WasChangedFromOutside(const fs::path& folder) {
    const std::wstring start = folder.native() + L"\\";
    return std::any_of(changedFromOutside.begin(), changedFromOutside.end(),
                       [&](const fs::path& changed) {
                           return changed.native().compare(0, start.size(), start) == 0;
                       });
}

bool MakeLink(const fs::path& link, const fs::path& target, DWORD kind) {
    if (IsWine()) {
        return RunOnHost(L"ln -s -T -- \\\"$2\\\" \\\"$1\\\"", link, target);
    }
    return ::CreateSymbolicLinkW(link.c_str(), target.c_str(),
                                 kind | SYMBOLIC_LINK_FLAG_ALLOW_UNPRIVILEGED_CREATE) != FALSE;
}

// An empty access list: no access except for the owner, who may change the list.
bool DenyAccess(const fs::path& path) {
    PSECURITY_DESCRIPTOR access = nullptr;
    ::ConvertStringSecurityDescriptorToSecurityDescriptorW(L"D:P", SDDL_REVISION_1, &access,
                                                           nullptr);
    const BOOL success = ::SetFileSecurityW(
        path.c_str(), DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION, access);
    ::LocalFree(access);
    return success != FALSE;
}

std::vector<std::byte> AccessOf(const fs::path& path) {
    DWORD size = 0;
    ::GetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
    std::vector<std::byte> access(size);
    if (!::GetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, access.data(), size, &size)) {
        access.clear();
    }
    return access;
}

bool CanBeListed(const fs::path& folder) {
    return Open(folder, FILE_LIST_DIRECTORY, kShareAll, OPEN_EXISTING) != nullptr;
}

}  // namespace

ScratchFolder::ScratchFolder() {
    do {
        path_ = UniqueTempPath(L"scratch-");
    } while (!::CreateDirectoryW(path_.c_str(), nullptr) &&
             ::GetLastError() == ERROR_ALREADY_EXISTS);
    ThrowUnless(::GetFileAttributesW(path_.c_str()) != INVALID_FILE_ATTRIBUTES, "create", path_);
}

ScratchFolder::~ScratchFolder() {
    // A process that has just ended holds its file and its current folder for a moment longer.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(3);
    for (;;) {
        if (WasChangedFromOutside(path_)) {
            RunOnHost(L"chmod -R u+rwX -- \\\"$1\\\"; rm -rf -- \\\"$1\\\"", path_, path_);
        } else {
            RemoveWithoutFollowing(Verbatim(path_), FILE_ATTRIBUTE_DIRECTORY);
        }
        if (::GetFileAttributesW(path_.c_str()) == INVALID_FILE_ATTRIBUTES) {
            return;
        }
        if (std::chrono::steady_clock::now() > deadline) {
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    ADD_FAILURE() << "something in " << path_ << " cannot be removed; is it still open?";
}

OpenElsewhere::OpenElsewhere(const fs::path& path, DWORD shareMode, DWORD access)
    : file_(Open(path, access, shareMode, OPEN_EXISTING)) {
    ThrowUnless(file_ != nullptr, "open", path);
}

void OpenElsewhere::Close() {
    file_.reset();
}

UnreadableFolder::UnreadableFolder(fs::path folder)
    : folder_(std::move(folder)), formerAccess_(AccessOf(folder_)) {
    if (IsWine()) {
        made_ = RunOnHost(L"chmod 000 -- \\\"$1\\\"", folder_, folder_);
    } else {
        made_ = !formerAccess_.empty() && DenyAccess(folder_);
    }
    made_ = made_ && !CanBeListed(folder_);
}

UnreadableFolder::~UnreadableFolder() {
    if (IsWine()) {
        RunOnHost(L"chmod 755 -- \\\"$1\\\"", folder_, folder_);
    } else if (!formerAccess_.empty()) {
        ::SetFileSecurityW(folder_.c_str(), DACL_SECURITY_INFORMATION, formerAccess_.data());
    }
}

void WriteFile(const fs::path& path, std::string_view bytes) {
    fs::create_directories(path.parent_path());
    const KernelHandle file = Open(path, GENERIC_WRITE, 0, CREATE_ALWAYS);
    ThrowUnless(file != nullptr, "create", path);
    DWORD written = 0;
    const BOOL success =
        ::WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    ThrowUnless(success && written == bytes.size(), "write", path);
}

std::string ReadFile(const fs::path& path) {
    const KernelHandle file = Open(path, GENERIC_READ, kShareAll, OPEN_EXISTING);
    ThrowUnless(file != nullptr, "open", path);
    LARGE_INTEGER size{};
    ThrowUnless(::GetFileSizeEx(file.get(), &size), "measure", path);
    std::string bytes(static_cast<std::size_t>(size.QuadPart), '\0');
    DWORD read = 0;
    ThrowUnless(
        ::ReadFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr),
        "read", path);
    bytes.resize(read);
    return bytes;
}

void SetReadOnly(const fs::path& path, bool readOnly) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    ThrowUnless(attributes != INVALID_FILE_ATTRIBUTES, "find", path);
    const DWORD flag = FILE_ATTRIBUTE_READONLY;
    ThrowUnless(
        ::SetFileAttributesW(path.c_str(), readOnly ? attributes | flag : attributes & ~flag),
        "change", path);
}

void MakeSparseFile(const fs::path& path, std::uint64_t size) {
    fs::create_directories(path.parent_path());
    const KernelHandle file = Open(path, GENERIC_WRITE, 0, CREATE_ALWAYS);
    ThrowUnless(file != nullptr, "create", path);
    // Where the file system has no such mark, a gap takes no space anyway or the space must be
    // there.
    DWORD returned = 0;
    ::DeviceIoControl(file.get(), FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &returned, nullptr);
    LARGE_INTEGER end{};
    end.QuadPart = static_cast<LONGLONG>(size);
    ThrowUnless(::SetFilePointerEx(file.get(), end, nullptr, FILE_BEGIN), "size", path);
    ThrowUnless(::SetEndOfFile(file.get()), "size", path);
}

std::uint64_t GetWriteTime(const fs::path& path) {
    const KernelHandle file = Open(path, FILE_READ_ATTRIBUTES, kShareAll, OPEN_EXISTING);
    ThrowUnless(file != nullptr, "open", path);
    FILETIME time{};
    ThrowUnless(::GetFileTime(file.get(), nullptr, nullptr, &time), "read the time of", path);
    return (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}

void SetWriteTime(const fs::path& path, std::uint64_t time) {
    const KernelHandle file = Open(path, FILE_WRITE_ATTRIBUTES, kShareAll, OPEN_EXISTING);
    ThrowUnless(file != nullptr, "open", path);
    const FILETIME fileTime{static_cast<DWORD>(time), static_cast<DWORD>(time >> 32)};
    ThrowUnless(::SetFileTime(file.get(), nullptr, nullptr, &fileTime), "set the time of", path);
}

fs::path DeepFolder(const fs::path& folder) {
    const std::wstring part(130, L'd');
    return folder / part / part;
}

fs::path MakeDeepFolder(const fs::path& folder) {
    fs::path deep = DeepFolder(folder);
    for (const fs::path& each : {deep.parent_path(), deep}) {
        ThrowUnless(::CreateDirectoryW(Verbatim(each).c_str(), nullptr), "create", each);
    }
    return deep;
}

std::vector<std::wstring> FolderListing(const fs::path& folder) {
    std::vector<std::wstring> listing;
    ListBelow(Verbatim(folder), L"", listing);
    std::sort(listing.begin(), listing.end());
    return listing;
}

bool MakeFolderLink(const fs::path& link, const fs::path& target) {
    return MakeLink(link, target, SYMBOLIC_LINK_FLAG_DIRECTORY);
}

bool MakeFileLink(const fs::path& link, const fs::path& target) {
    return MakeLink(link, target, 0);
}

bool DropFileCache() {
    const fs::path anyPath = fs::temp_directory_path();
    return IsWine() && RunOnHost(L"sync && echo 3 > /proc/sys/vm/drop_caches", anyPath, anyPath);
}

bool IsWine() {
    return ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

std::wstring HostPath(const fs::path& path) {
    using GetUnixFileName = char*(__cdecl*)(const wchar_t*);
    const auto getUnixFileName = reinterpret_cast<GetUnixFileName>(reinterpret_cast<void*>(
        ::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name")));
    if (getUnixFileName == nullptr) {
        return {};
    }
    char* const hostPath = getUnixFileName(path.c_str());
    std::wstring wide = hostPath == nullptr ? std::wstring() : Utf8ToWide(hostPath);
    ::HeapFree(::GetProcessHeap(), 0, hostPath);
    return wide;
}

}  // namespace bench
