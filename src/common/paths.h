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
size_t RootNameLength(std::wstring_view path);

// Length of the root path: the root name and the run of separators behind it.
size_t RootPathLength(std::wstring_view path);

// Length of the part of a full path that has no parent on its own volume: "C:\", "\\server\share"
// or "\\?\Volume{...}".
size_t VolumeRootLength(std::wstring_view fullPath);

// The folder with a separator at its end, ready for a name to be joined: "C:" becomes "C:\", for
// "C:" and a name would mean the folder that is current on that drive. An empty path stays empty.
std::filesystem::path AsFolder(const std::filesystem::path& folder);

// The text behind the last separator that lies behind the root name; the whole path when there is
// none. Empty for a path that ends in a separator.
std::wstring FileNamePart(std::wstring_view path);

// The path up to its last separator, with any run of trailing separators removed, but never
// cutting into the root: "C:\a" gives "C:\", "C:\a\" gives "C:\a", "a" gives "".
std::wstring ParentFolder(std::wstring_view path);

// The path made absolute, its longest existing leading part resolved to the final path (links
// followed, short names and letter case as the file system has them), the rest appended as it
// stands. Without "\\?\" in front where a plain form exists, and without trailing separators.
// None for an empty path and when the existing part cannot be resolved. Touches the disk.
std::optional<std::filesystem::path> WeaklyCanonical(const std::filesystem::path& path);

// Whether two weakly canonical paths name the same place: equal element by element, letter case
// included, for canonical paths carry the file system's own.
bool IsSameCanonicalPath(std::wstring_view left, std::wstring_view right);
