#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace bench {

// A folder's content by relative path: "data/a.map" with its bytes, "data/" for a folder itself.
using Contents = std::map<std::wstring, std::string>;

// A package that make_archives.py wrote, such as L"rar5_plain.rar".
std::filesystem::path PackagePath(const std::wstring& fileName);

// What that package holds. Every folder is listed, also those that the package implies only.
Contents PackageContents(const std::wstring& fileName);

// What is in `folder`, links not entered.
Contents FolderContents(const std::filesystem::path& folder);

// The entries below the folder `name`, as if it were the top.
Contents Below(const std::wstring& name, const Contents& contents);

// Empty if both are equal in every byte, else the first difference. (Printing both would produce
// megabytes.)
std::string FirstDifference(const Contents& expected, const Contents& actual);

}  // namespace bench
