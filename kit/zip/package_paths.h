#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kit/zip/text_storage.h"

// The entries of a package as the paths that they become on Windows, where letter case does not
// matter.
class PackagePaths {
public:
    // Adds an entry whose name is valid UTF-8 and has no NameFault. `entry` is the caller's number
    // for it.
    void Add(std::string_view name, size_t entry);
    // After the last Add and before everything below.
    void Sort();

    // Each pair of entries that cannot both exist on Windows: two files of one name, or a file and
    // a folder that is an entry or that other names imply. Of several files with one name, each is
    // reported with the one before.
    using Clash = std::function<void(size_t first, size_t second)>;
    void FindClashes(const Clash& report) const;

    // One entry of each name at the package's top level, the first in the order of the paths.
    void ForEachTopName(const std::function<void(size_t entry)>& visit) const;

    // Folders, those that only names of other entries imply included.
    [[nodiscard]] uint64_t FolderCount() const;

    // If everything is in one folder at the top: that folder as it is written in the first entry.
    // The tool takes it off.
    [[nodiscard]] std::optional<std::string_view> LoneTopFolder() const {
        return loneTopFolder_;
    }

    // The file at this path below the client's folder, whatever the letter case, with the lone top
    // folder taken off.
    [[nodiscard]] std::optional<size_t> FindFile(std::string_view path) const;

    // A file or folder right in the lone top folder that has the same name as that folder.
    [[nodiscard]] std::optional<size_t> FindOwnName() const;

private:
    struct Path {
        std::string_view key;  // Folded, with kSeparator between components and none at the end.
        size_t entry = 0;
        bool isFolder = false;
    };

    [[nodiscard]] std::string KeyInClient(std::string_view path) const;
    [[nodiscard]] std::vector<Path>::const_iterator FirstFrom(std::string_view key) const;
    void FindLoneTopFolder();

    TextStorage storage_;
    std::vector<Path> paths_;
    std::optional<std::string_view> loneTopFolder_;
    std::string loneTopKey_;  // Ends in kSeparator; empty if there is no such folder.
    std::string_view firstName_;
};
