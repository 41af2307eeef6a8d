#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "kit/findings.h"
#include "kit/zip/package_paths.h"

// The rules on the names of a package's entries, for packages that exist and for those that are
// about to be made.

// The name of an entry by its number.
using NameOf = std::function<std::string_view(size_t entry)>;

// Judges one name by its bytes, in whatever encoding: package.bad-name. False when that finds
// something.
[[nodiscard]] bool CheckBytesOfName(std::string_view name, Findings& findings);

// The same for a name that is valid UTF-8. Adds it to `paths` if that finds nothing.
void CheckName(std::string_view name, size_t entry, PackagePaths& paths, Findings& findings);

// Judges all names together, after PackagePaths::Sort: package.case-clash, own-name,
// holds-unpacker.
void CheckNamesTogether(const PackagePaths& paths, const NameOf& nameOf, Findings& findings);

// package.empty. `packageName` is where it is found.
void CheckFileCount(uint64_t files, const std::string& packageName, Findings& findings);

// What players change themselves in a file of this name: "a log". Empty for other files.
[[nodiscard]] std::string_view PlayerFileKind(std::string_view name);
