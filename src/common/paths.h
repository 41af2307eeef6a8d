#pragma once

#include <optional>
#include <string>
#include <string_view>

// Joins, splits and compares paths by Windows' rules. Slash and backslash are equivalent; "C:",
// "\\server" and "\\?" are root names.
//
// A path is a std::wstring. The compilers' std::filesystem::path disagree on what a root is, and it
// adds a megabyte of locales and streams to the exe.

// Length of the root name at the start of `path`: "C:" 2, "\\server" up to its end, "\\?" and
// "\\." 3, else 0.
[[nodiscard]] size_t RootNameLength(std::wstring_view path);

// Length of the root path: the root name and all separators after it.
[[nodiscard]] size_t RootPathLength(std::wstring_view path);

// Length of the part of a full path that names the volume's root: "C:\", "\\server\share" or
// "\\?\Volume{...}".
[[nodiscard]] size_t VolumeRootLength(std::wstring_view fullPath);

// The folder with a trailing separator, so that a name can be joined: "C:" becomes "C:\", because
// "C:name" is relative to the drive's current folder. An empty path stays empty.
[[nodiscard]] std::wstring AsFolder(const std::wstring& folder);

// Appends an entry's name, or several with separators, as text: nothing in it counts as a root. A
// backslash comes between the two, except after an empty path, a separator and a bare drive: "C:"
// and "a" give "C:a", which is relative to the drive's current folder. An empty name changes
// nothing.
void AppendName(std::wstring& path, std::wstring_view name);

// What `path` means when it is relative to `folder`: "a\b" is in the folder, "\a" is on the
// folder's drive or server, "C:a" is in the folder if that is on C:. Any other path with a root
// is returned unchanged.
[[nodiscard]] std::wstring JoinPaths(std::wstring_view folder, std::wstring_view path);

// The part after the last separator outside the root name; the whole path if there is none. Empty
// for a path that ends in a separator.
[[nodiscard]] std::wstring FileNamePart(std::wstring_view path);

// The extension of the path's file name with its dot, in the same letter case: from the last dot,
// without a stream's name (":stream"). Empty for "." and ".." and for a name whose only dot comes
// first.
[[nodiscard]] std::wstring FileNameExtension(std::wstring_view path);

// The path up to its last separator, without trailing separators except those of the root: "C:\a"
// gives "C:\", "C:\a\" gives "C:\a", "a" gives "".
[[nodiscard]] std::wstring ParentFolder(std::wstring_view path);

// The path made absolute, with backslashes only and without "\\?\" before a drive letter. Empty on
// failure. Does not access the disk.
[[nodiscard]] std::wstring FullPath(const std::wstring& path);

// The path made absolute. Its longest existing leading part is resolved to the final path (links
// followed, long names, the file system's letter case), the rest is appended unchanged. No "\\?\"
// prefix where a plain form exists, no trailing separators. None for an empty path and when the
// existing part cannot be resolved. Accesses the disk.
[[nodiscard]] std::optional<std::wstring> WeaklyCanonical(const std::wstring& path);

// Like WeaklyCanonical, but a path on a volume without a DOS name (a drive unknown to the mount
// manager, such as a RAM disk) becomes "\\?\GLOBALROOT\Device\...". Use such a path only to compare
// it with another result of this function: it does not show what the volume's root is.
[[nodiscard]] std::optional<std::wstring> ComparableCanonical(const std::wstring& path);

// Whether a weakly canonical path is the root of a volume, be it mounted in a folder, a drive or a
// share. False when the query fails. Accesses the disk.
[[nodiscard]] bool IsVolumeRoot(const std::wstring& canonicalPath);

// Whether two weakly canonical paths are equal, element by element. Case-sensitive, because
// canonical paths have the file system's letter case.
[[nodiscard]] bool IsSameCanonicalPath(std::wstring_view left, std::wstring_view right);

// Whether a weakly canonical path is inside the weakly canonical `folder`, at any depth.
// Case-sensitive. False for the folder itself.
[[nodiscard]] bool IsBelowCanonicalPath(std::wstring_view path, std::wstring_view folder);
// The same, but true for the folder itself.
[[nodiscard]] bool IsAtOrBelowCanonicalPath(std::wstring_view path, std::wstring_view folder);

// The way from the canonical folder `base` to the canonical `path`, with ".." for each folder on
// the way up: from "C:\a\b" to "C:\a\c" it is "..\c". "." when both are equal, empty when their
// roots differ. Case-sensitive.
[[nodiscard]] std::wstring RelativePath(std::wstring_view path, std::wstring_view base);

// A path in the form that the system's file functions accept. Unless long paths are enabled, which
// is off by default, they refuse paths of 260 characters (new folders: 248) or more that do not
// have the extended form "\\?\C:\..." or "\\?\UNC\server\...". That form is taken literally, so the
// path is made absolute and normalized first. Shorter paths are unchanged.
//
// Refers to the text of a short path, so the path must outlive this object.
class SystemPath {
public:
    explicit SystemPath(const std::wstring& path);
    SystemPath(const SystemPath&) = delete;
    SystemPath& operator=(const SystemPath&) = delete;

    [[nodiscard]] const wchar_t* Text() const {
        return text_;
    }

private:
    std::wstring extended_;  // Empty when the path is used unchanged.
    const wchar_t* text_;
};
