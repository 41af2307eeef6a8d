#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// The entries of a package as the paths that they become on Windows, where letter case does not
// matter.
class PackagePaths {
public:
    // Room for so many entries, so that adding them moves nothing.
    void Reserve(size_t entries);
    // Adds an entry whose name is valid UTF-8, has no NameFault and outlives this object. `entry`
    // is the caller's number for it.
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
    [[nodiscard]] uint64_t FolderCount() const {
        return folderCount_;
    }

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
        std::string_view name;  // Without the slash at a folder's end.
        size_t entry = 0;
        uint64_t key = 0;          // The next characters to sort by, folded.
        uint32_t keyEnd = 0;       // Where these end in the name.
        uint32_t sortedBytes = 0;  // Of the name; all paths of a range are alike up to there.
        bool isFolder = false;
        bool clashesWithPathBefore = false;
        bool hasNewTopName = false;
    };
    struct Range {
        size_t begin = 0;
        size_t end = 0;
    };

    // How many characters a key holds, and the bits of each.
    struct KeyForm {
        unsigned characters = 0;
        unsigned bits = 0;
    };

    [[nodiscard]] static bool TakeKey(Path& path, const KeyForm& form);
    [[nodiscard]] static bool TakeKeys(std::span<Path> paths, const KeyForm& form);
    void SortRange(Range range, std::vector<Range>& unsorted);
    void CompareNeighbors();
    void FindLoneTopFolder();
    [[nodiscard]] std::string PathInPackage(std::string_view pathInClient) const;
    // The first path that is this one or below it; null if there is none.
    [[nodiscard]] const Path* FirstAt(std::string_view path) const;

    std::vector<Path> paths_;
    uint64_t folderCount_ = 0;
    std::optional<std::string_view> loneTopFolder_;
    std::string_view firstName_;
};
