#include "common/paths.h"

#include <algorithm>

#include "common/handles.h"
#include "common/text.h"
#include "common/win32_error.h"
#include "common/windows_api.h"

namespace {

constexpr std::wstring_view kSeparators = L"\\/";
constexpr std::wstring_view kVerbatimPrefix = L"\\\\?\\";
constexpr std::wstring_view kVerbatimUncPrefix = L"\\\\?\\UNC\\";
constexpr std::wstring_view kDevicePrefix = L"\\\\.\\";
constexpr std::wstring_view kNtNamePrefix = L"\\\\?\\GLOBALROOT";

// The lowest limit is 248 characters, for creating a folder; a listing appends two.
constexpr size_t kLongPathLength = 240;

bool IsSeparator(wchar_t character) {
    return character == L'\\' || character == L'/';
}

bool IsDriveLetter(wchar_t character) {
    return (character >= L'A' && character <= L'Z') || (character >= L'a' && character <= L'z');
}

bool StartsWithDrive(std::wstring_view path) {
    return path.size() >= 2 && IsDriveLetter(path[0]) && path[1] == L':';
}

size_t SkipSeparators(std::wstring_view path, size_t position) {
    return std::min(path.find_first_not_of(kSeparators, position), path.size());
}

size_t SkipName(std::wstring_view path, size_t position) {
    return std::min(path.find_first_of(kSeparators, position), path.size());
}

// "\\?\C:\x" becomes "C:\x", "\\?\UNC\s\x" becomes "\\s\x"; a volume name has no plain form.
std::wstring WithoutVerbatimPrefix(std::wstring path) {
    if (path.starts_with(kVerbatimUncPrefix)) {
        return L"\\\\" + path.substr(kVerbatimUncPrefix.size());
    }
    if (path.starts_with(kVerbatimPrefix) &&
        StartsWithDrive(std::wstring_view(path).substr(kVerbatimPrefix.size()))) {
        path.erase(0, kVerbatimPrefix.size());
    }
    return path;
}

enum class Resolution { Resolved, NotFound, Failed };

// Which names are acceptable for a volume.
enum class Naming { DosOnly, DosOrNt };

// `volumeName`: VOLUME_NAME_DOS or VOLUME_NAME_NT. A Win32 error code.
DWORD ReadFinalPath(HANDLE entry, DWORD volumeName, std::wstring& finalPath) {
    std::wstring text;
    DWORD needed = ::GetFinalPathNameByHandleW(entry, nullptr, 0, volumeName);
    while (needed > text.size()) {
        text.resize(needed);
        needed = ::GetFinalPathNameByHandleW(entry, text.data(), needed, volumeName);
    }
    if (needed == 0) {
        return ::GetLastError();
    }
    text.resize(needed);
    finalPath = std::move(text);
    return ERROR_SUCCESS;
}

bool IsNoDosNameError(DWORD error) {
    return error == ERROR_PATH_NOT_FOUND ||  // A volume without a mount point.
           error == ERROR_INVALID_FUNCTION;  // A drive unknown to the mount manager.
}

// The final path of the entry at `path`. Only the open call decides whether the entry is missing:
// an existing entry without a final path must not be mistaken for one.
Resolution ResolveFinalPath(const std::wstring& path, Naming naming, std::wstring& finalPath) {
    const auto opened = AdoptHandle<KernelHandle>(
        ::CreateFileW(SystemPath(path).Text(), FILE_READ_ATTRIBUTES,
                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                      OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (!opened) {
        return IsNotFoundError(::GetLastError()) ? Resolution::NotFound : Resolution::Failed;
    }
    DWORD error = ReadFinalPath(opened.get(), VOLUME_NAME_DOS, finalPath);
    if (error == ERROR_SUCCESS) {
        finalPath = WithoutVerbatimPrefix(std::move(finalPath));
        return Resolution::Resolved;
    }
    if (naming == Naming::DosOrNt && IsNoDosNameError(error)) {
        error = ReadFinalPath(opened.get(), VOLUME_NAME_NT, finalPath);
        finalPath.insert(0, kNtNamePrefix);
    }
    return error == ERROR_SUCCESS ? Resolution::Resolved : Resolution::Failed;
}

std::optional<std::wstring> ResolveExistingPart(const std::wstring& path, Naming naming) {
    std::wstring head = FullPath(path);
    if (head.empty()) {
        return std::nullopt;
    }
    const size_t volumeRoot = VolumeRootLength(head);
    while (head.size() > volumeRoot && head.back() == L'\\') {
        head.pop_back();
    }
    const std::wstring full = head;
    for (;;) {
        std::wstring resolved;
        const Resolution resolution = ResolveFinalPath(head, naming, resolved);
        if (resolution == Resolution::Failed) {
            return std::nullopt;
        }
        if (resolution == Resolution::Resolved) {
            const size_t tail = SkipSeparators(full, head.size());
            // As text: a path that does not exist may contain names that look like a drive ("x:y").
            AppendName(resolved, std::wstring_view(full).substr(tail));
            return resolved;
        }
        if (head.size() <= volumeRoot) {
            return full;
        }
        head.resize(std::max(head.find_last_of(L'\\'), volumeRoot));
    }
}

// "C:\x" becomes "\\?\C:\x", "\\s\x" becomes "\\?\UNC\s\x".
std::wstring WithVerbatimPrefix(std::wstring fullPath) {
    if (fullPath.starts_with(kDevicePrefix) || fullPath.starts_with(kVerbatimPrefix)) {
        return fullPath;
    }
    if (fullPath.starts_with(L"\\\\")) {
        return std::wstring(kVerbatimUncPrefix) + fullPath.substr(2);
    }
    return std::wstring(kVerbatimPrefix) + fullPath;
}

// Whether the path is independent of the current folder and drive.
bool IsAbsolute(std::wstring_view path) {
    return (StartsWithDrive(path) && path.size() > 2 && IsSeparator(path[2])) ||
           (path.size() > 1 && IsSeparator(path[0]) && IsSeparator(path[1]));
}

// Empty for a path that the system accepts unchanged.
std::wstring ExtendedForm(const std::wstring& path) {
    // The length of a relative path includes the current folder.
    if (path.starts_with(kVerbatimPrefix) || (path.size() < kLongPathLength && IsAbsolute(path))) {
        return {};
    }
    std::wstring full = FullPath(path);
    return full.size() < kLongPathLength ? std::wstring() : WithVerbatimPrefix(std::move(full));
}

}  // namespace

size_t RootNameLength(std::wstring_view path) {
    if (StartsWithDrive(path)) {
        return 2;
    }
    if (path.size() < 3 || !IsSeparator(path[0])) {
        return 0;
    }
    const bool isDevicePrefix = (IsSeparator(path[1]) && (path[2] == L'?' || path[2] == L'.')) ||
                                (path[1] == L'?' && path[2] == L'?');
    if (isDevicePrefix && path.size() >= 4 && IsSeparator(path[3]) &&
        (path.size() == 4 || !IsSeparator(path[4]))) {
        return 3;
    }
    if (IsSeparator(path[1]) && !IsSeparator(path[2])) {
        return SkipName(path, 2);
    }
    return 0;
}

size_t RootPathLength(std::wstring_view path) {
    return SkipSeparators(path, RootNameLength(path));
}

size_t VolumeRootLength(std::wstring_view fullPath) {
    if (!fullPath.starts_with(L"\\\\")) {
        return RootPathLength(fullPath);
    }
    const size_t share = SkipSeparators(fullPath, SkipName(fullPath, 2));
    return SkipName(fullPath, share);
}

std::wstring AsFolder(const std::wstring& folder) {
    std::wstring text = folder;
    if (!text.empty() && !IsSeparator(text.back())) {
        text += L'\\';
    }
    return text;
}

void AppendName(std::wstring& path, std::wstring_view name) {
    const bool isBareDrive = path.size() == 2 && StartsWithDrive(path);
    if (!path.empty() && !name.empty() && !isBareDrive && !IsSeparator(path.back())) {
        path += L'\\';
    }
    path += name;
}

std::wstring JoinPaths(std::wstring_view folder, std::wstring_view path) {
    const std::wstring_view folderRoot = folder.substr(0, RootNameLength(folder));
    const std::wstring_view pathRoot = path.substr(0, RootNameLength(path));
    const bool startsAtTheRoot = RootPathLength(path) > pathRoot.size();
    if (!pathRoot.empty() && (startsAtTheRoot || pathRoot != folderRoot)) {
        return std::wstring(path);
    }
    std::wstring joined(startsAtTheRoot ? folderRoot : folder);
    if (startsAtTheRoot) {
        joined += path;
    } else {
        AppendName(joined, path.substr(pathRoot.size()));
    }
    return joined;
}

std::wstring FileNamePart(std::wstring_view path) {
    const size_t separator = path.find_last_of(kSeparators);
    if (separator == std::wstring_view::npos || separator < RootNameLength(path)) {
        return std::wstring(path);
    }
    return std::wstring(path.substr(separator + 1));
}

std::wstring FileNameExtension(std::wstring_view path) {
    std::wstring name = FileNamePart(path);
    name.resize(std::min(name.find(L':'), name.size()));
    const size_t dot = name.rfind(L'.');
    if (dot == std::wstring::npos || dot == 0 || name == L"..") {
        return {};
    }
    return name.substr(dot);
}

std::wstring ParentFolder(std::wstring_view path) {
    const size_t root = RootPathLength(path);
    size_t end = path.size();
    while (end > root && !IsSeparator(path[end - 1])) {
        --end;
    }
    while (end > root && IsSeparator(path[end - 1])) {
        --end;
    }
    return std::wstring(path.substr(0, end));
}

std::wstring FullPath(const std::wstring& path) {
    if (path.empty()) {
        return {};
    }
    std::wstring full;
    DWORD needed = ::GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    // The current folder can change between the calls, hence the loop.
    while (needed > full.size()) {
        full.resize(needed);
        needed = ::GetFullPathNameW(path.c_str(), needed, full.data(), nullptr);
    }
    full.resize(needed);
    return WithoutVerbatimPrefix(std::move(full));
}

std::optional<std::wstring> WeaklyCanonical(const std::wstring& path) {
    return ResolveExistingPart(path, Naming::DosOnly);
}

std::optional<std::wstring> ComparableCanonical(const std::wstring& path) {
    return ResolveExistingPart(path, Naming::DosOrNt);
}

bool IsVolumeRoot(const std::wstring& canonicalPath) {
    // The result is a prefix of the given path, with a trailing separator.
    std::wstring root(canonicalPath.size() + kVerbatimUncPrefix.size() + 2, L'\0');
    if (!::GetVolumePathNameW(SystemPath(canonicalPath).Text(), root.data(),
                              static_cast<DWORD>(root.size()))) {
        return false;
    }
    root = WithoutVerbatimPrefix(root.c_str());
    const std::wstring path = AsFolder(canonicalPath);
    return IsSameIgnoringCase(root, path);
}

bool IsSameCanonicalPath(std::wstring_view left, std::wstring_view right) {
    size_t i = 0;
    size_t j = 0;
    while (i < left.size() && j < right.size()) {
        if (IsSeparator(left[i]) && IsSeparator(right[j])) {
            i = SkipSeparators(left, i);
            j = SkipSeparators(right, j);
        } else if (left[i] == right[j]) {
            ++i;
            ++j;
        } else {
            return false;
        }
    }
    return i == left.size() && j == right.size();
}

bool IsBelowCanonicalPath(std::wstring_view path, std::wstring_view folder) {
    while (!folder.empty() && folder.back() == L'\\') {
        folder.remove_suffix(1);
    }
    return !folder.empty() && path.size() > folder.size() + 1 && path.starts_with(folder) &&
           path[folder.size()] == L'\\';
}

bool IsAtOrBelowCanonicalPath(std::wstring_view path, std::wstring_view folder) {
    return IsSameCanonicalPath(path, folder) || IsBelowCanonicalPath(path, folder);
}

std::wstring RelativePath(std::wstring_view path, std::wstring_view base) {
    size_t i = RootPathLength(path);
    size_t j = RootPathLength(base);
    if (!IsSameCanonicalPath(path.substr(0, i), base.substr(0, j))) {
        return {};
    }
    while (i < path.size() && j < base.size()) {
        const size_t nameEnd = SkipName(path, i);
        const size_t baseNameEnd = SkipName(base, j);
        if (path.substr(i, nameEnd - i) != base.substr(j, baseNameEnd - j)) {
            break;
        }
        i = SkipSeparators(path, nameEnd);
        j = SkipSeparators(base, baseNameEnd);
    }
    std::wstring relative;
    for (; j < base.size(); j = SkipSeparators(base, SkipName(base, j))) {
        AppendName(relative, L"..");
    }
    AppendName(relative, path.substr(i));
    return relative.empty() ? L"." : relative;
}

SystemPath::SystemPath(const std::wstring& path)
    : extended_(ExtendedForm(path)), text_(extended_.empty() ? path.c_str() : extended_.c_str()) {}
