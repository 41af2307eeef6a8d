#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

// Taking paths apart and comparing them, with Windows' own rules for roots: "C:", "\\server" and
// "\\?" are root names (the standard library of one compiler knows only the first).
// Slash and backslash are equal. Joining is std::filesystem::path's operator/.

// Length of the root name at the start of `path`: "C:" 2, "\\server" up to its end, "\\?" and
// "\\." 3, else 0.
[[nodiscard]] size_t RootNameLength(std::wstring_view path);

// Length of the root path: the root name and the run of separators behind it.
[[nodiscard]] size_t RootPathLength(std::wstring_view path);

// Length of the part of a full path that has no parent on its own volume: "C:\", "\\server\share"
// or "\\?\Volume{...}".
[[nodiscard]] size_t VolumeRootLength(std::wstring_view fullPath);

// The folder with a separator at its end, ready for a name to be joined: "C:" becomes "C:\", for
// "C:" and a name would mean the folder that is current on that drive. An empty path stays empty.
[[nodiscard]] std::filesystem::path AsFolder(const std::filesystem::path& folder);

// The text behind the last separator that lies behind the root name; the whole path when there is
// none. Empty for a path that ends in a separator.
[[nodiscard]] std::wstring FileNamePart(std::wstring_view path);

// The extension of the path's file name with its dot, in the same letter case: from the last dot,
// without a stream's name (":stream"). Empty for "." and ".." and for a name whose only dot comes
// first.
[[nodiscard]] std::wstring FileNameExtension(std::wstring_view path);

// The path up to its last separator, with any run of trailing separators removed, but never
// cutting into the root: "C:\a" gives "C:\", "C:\a\" gives "C:\a", "a" gives "".
[[nodiscard]] std::wstring ParentFolder(std::wstring_view path);

// The path made absolute, with backslashes only and without "\\?\" in front of a drive. Empty when
// the system cannot make it so. Does not touch the disk.
[[nodiscard]] std::wstring FullPath(const std::wstring& path);

// The path made absolute, its longest existing leading part resolved to the final path (links
// followed, short names and letter case as the file system has them), the rest appended as it
// stands. Without "\\?\" in front where a plain form exists, and without trailing separators.
// None for an empty path and when the existing part cannot be resolved. Touches the disk.
[[nodiscard]] std::optional<std::filesystem::path> WeaklyCanonical(
    const std::filesystem::path& path);

// WeaklyCanonical, except that a path on a volume without a DOS name (drives that the mount manager
// does not know, such as RAM disks) has the form "\\?\GLOBALROOT\Device\...". Such a form is only
// good for comparing with another one from here: a drive's root cannot be told from it.
[[nodiscard]] std::optional<std::filesystem::path> ComparableCanonical(
    const std::filesystem::path& path);

// Whether a weakly canonical path is the root of a volume that is mounted in a folder (or of one
// with a drive letter or of a share). False when the system does not tell. Touches the disk.
[[nodiscard]] bool IsVolumeRoot(const std::filesystem::path& canonicalPath);

// Whether two weakly canonical paths name the same place: equal element by element, letter case
// included, for canonical paths carry the file system's own.
[[nodiscard]] bool IsSameCanonicalPath(std::wstring_view left, std::wstring_view right);

// Whether a weakly canonical path names something inside the weakly canonical `folder`, at any
// depth; letter case counts here too. False for the folder itself.
[[nodiscard]] bool IsBelowCanonicalPath(std::wstring_view path, std::wstring_view folder);
// The same, but true for the folder itself.
[[nodiscard]] bool IsAtOrBelowCanonicalPath(std::wstring_view path, std::wstring_view folder);

// A path as the system's file functions take it. Without the system's switch for long paths, which
// is off by default, they refuse 260 characters (folders: 248) unless a path has the extended form
// "\\?\C:\..." or "\\?\UNC\server\...". That form is taken literally, so the path is made absolute
// and normalized first. Shorter paths stay as they are.
//
// Borrows the text of a shorter path: for the call that it is made for only.
class SystemPath {
public:
    explicit SystemPath(const std::filesystem::path& path);
    // The same for a text, which must not be a temporary either.
    explicit SystemPath(const std::wstring& path);
    SystemPath(const SystemPath&) = delete;
    SystemPath& operator=(const SystemPath&) = delete;

    [[nodiscard]] const wchar_t* Text() const {
        return text_;
    }

private:
    std::wstring extended_;  // Empty when the path needs no other form.
    const wchar_t* text_;
};
