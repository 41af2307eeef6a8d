#include "uninstaller/held_folder.h"

#include <optional>
#include <string>

#include "common/paths.h"

namespace {

// The longest possible path, including the terminator.
constexpr DWORD kMaxPathLength = 32'768;

std::optional<std::wstring> PathOf(HANDLE folder) {
    std::wstring path(kMaxPathLength, L'\0');
    path.resize(
        ::GetFinalPathNameByHandleW(folder, path.data(), kMaxPathLength, FILE_NAME_NORMALIZED));
    return WeaklyCanonical(path);
}

}  // namespace

KernelHandle HoldFolder(const std::wstring& canonicalFolder) {
    // Without FILE_SHARE_DELETE, and with an access right that is subject to sharing.
    auto folder = AdoptHandle<KernelHandle>(::CreateFileW(
        SystemPath(canonicalFolder).Text(), FILE_LIST_DIRECTORY, FILE_SHARE_READ | FILE_SHARE_WRITE,
        nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (!folder) {
        return nullptr;
    }
    const std::optional<std::wstring> path = PathOf(folder.get());
    const bool isTheSame = path && IsSameCanonicalPath(*path, canonicalFolder);
    return isTheSame ? std::move(folder) : nullptr;
}
