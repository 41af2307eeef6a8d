#include "kit/zip/package_paths.h"

#include <algorithm>
#include <span>

#include "kit/zip/entry_name.h"

namespace {

// The separator comes before all other characters, so that a folder's content follows right behind
// the folder. No name without a fault has this character.
constexpr char32_t kEnd = 0;
constexpr char32_t kSeparator = 1;

char32_t TakeCharacter(std::string_view& name) {
    if (name.empty()) {
        return kEnd;
    }
    const char32_t character = TakeFolded(name);
    return character == U'/' ? kSeparator : character;
}

struct Comparison {
    bool isBefore = false;  // The left path comes before the right one.
    bool isSame = false;
    bool isBelow = false;         // The right path is in the folder with the left one's name.
    size_t commonComponents = 0;  // How many of the first ones are the same.
};

// Two paths without a slash at the end.
Comparison Compare(std::string_view left, std::string_view right) {
    const auto endsComponent = [](char32_t character) {
        return character <= kSeparator;
    };
    Comparison comparison;
    for (;;) {
        const char32_t leftCharacter = TakeCharacter(left);
        const char32_t rightCharacter = TakeCharacter(right);
        const bool bothEnd = endsComponent(leftCharacter) && endsComponent(rightCharacter);
        comparison.commonComponents += bothEnd ? 1 : 0;
        if (leftCharacter != rightCharacter) {
            comparison.isBefore = leftCharacter < rightCharacter;
            comparison.isBelow = bothEnd && comparison.isBefore;
            return comparison;
        }
        if (leftCharacter == kEnd) {
            comparison.isSame = true;
            return comparison;
        }
    }
}

}  // namespace

void PackagePaths::Reserve(size_t entries) {
    paths_.reserve(entries);
}

void PackagePaths::Add(std::string_view name, size_t entry) {
    if (paths_.empty()) {
        firstName_ = name;
    }
    Path path;
    path.isFolder = name.ends_with('/');
    path.name = name.substr(0, name.size() - (path.isFolder ? 1 : 0));
    path.entry = entry;
    paths_.push_back(path);
}

void PackagePaths::Sort() {
    std::vector<Range> unsorted{{0, paths_.size()}};
    while (!unsorted.empty()) {
        const Range range = unsorted.back();
        unsorted.pop_back();
        SortRange(range, unsorted);
    }
    CompareNeighbors();
    FindLoneTopFolder();
}

// Sets the path's next sort key. False if a character needs more than `form.bits`.
bool PackagePaths::TakeKey(Path& path, const KeyForm& form) {
    std::string_view rest = path.name.substr(path.sortedBytes);
    path.key = 0;
    for (unsigned i = 0; i < form.characters; ++i) {
        const char32_t character = TakeCharacter(rest);
        if (character >> form.bits != 0) {
            return false;
        }
        path.key = path.key << form.bits | character;
    }
    path.keyEnd = static_cast<uint32_t>(path.name.size() - rest.size());
    return true;
}

// False at the first path for which TakeKey is.
bool PackagePaths::TakeKeys(std::span<Path> paths, const KeyForm& form) {
    for (Path& path : paths) {
        if (!TakeKey(path, form)) {
            return false;
        }
    }
    return true;
}

// Sorts paths that begin alike by their next few characters. Adds the ranges that are still alike
// then. A comparison of whole names would look at the common beginnings of names again and again.
void PackagePaths::SortRange(Range range, std::vector<Range>& unsorted) {
    const std::span<Path> paths = std::span(paths_).subspan(range.begin, range.end - range.begin);
    constexpr KeyForm kAnyCharacters{3, 21};
    constexpr KeyForm kSmallCharacters{8, 8};
    KeyForm form = kSmallCharacters;
    if (!TakeKeys(paths, form)) {
        form = kAnyCharacters;
        static_cast<void>(TakeKeys(paths, form));  // Every character has at most 21 bits.
    }
    for (Path& path : paths) {
        path.sortedBytes = path.keyEnd;
    }
    const auto isBefore = [](const Path& left, const Path& right) {
        return left.key < right.key;
    };
    // Often all are the same, such as the name of a folder that everything is in.
    if (!std::is_sorted(paths.begin(), paths.end(), isBefore)) {
        std::sort(paths.begin(), paths.end(), isBefore);
    }
    const uint64_t lastCharacter = (uint64_t{1} << form.bits) - 1;
    for (size_t begin = 0, end = 0; begin < paths.size(); begin = end) {
        const uint64_t key = paths[begin].key;
        while (end < paths.size() && paths[end].key == key) {
            ++end;
        }
        if (end - begin < 2) {
            continue;
        }
        if ((key & lastCharacter) != kEnd) {
            unsorted.push_back({range.begin + begin, range.begin + end});
            continue;
        }
        // The same name: files before folders. Entries keep their order otherwise.
        const std::span<Path> same = paths.subspan(begin, end - begin);
        std::sort(same.begin(), same.end(), [](const Path& left, const Path& right) {
            return left.isFolder != right.isFolder ? right.isFolder : left.entry < right.entry;
        });
    }
}

void PackagePaths::CompareNeighbors() {
    for (size_t i = 0; i < paths_.size(); ++i) {
        Path& path = paths_[i];
        Comparison comparison;
        if (i > 0) {
            comparison = Compare(paths_[i - 1].name, path.name);
            // Everything of the same name and everything below a file's name follows right behind
            // it.
            path.clashesWithPathBefore =
                !paths_[i - 1].isFolder && (comparison.isSame || comparison.isBelow);
        }
        path.hasNewTopName = comparison.commonComponents == 0;
        const auto parents =
            static_cast<size_t>(std::count(path.name.begin(), path.name.end(), '/'));
        const size_t folders = parents + (path.isFolder ? 1 : 0);
        folderCount_ += folders - std::min(folders, comparison.commonComponents);
    }
}

void PackagePaths::FindClashes(const Clash& report) const {
    for (size_t i = 1; i < paths_.size(); ++i) {
        if (paths_[i].clashesWithPathBefore) {
            report(paths_[i - 1].entry, paths_[i].entry);
        }
    }
}

void PackagePaths::ForEachTopName(const std::function<void(size_t)>& visit) const {
    for (const Path& path : paths_) {
        if (path.hasNewTopName) {
            visit(path.entry);
        }
    }
}

std::optional<size_t> PackagePaths::FindFile(std::string_view path) const {
    const std::string wanted = PathInPackage(path);
    const Path* const found = FirstAt(wanted);
    if (found == nullptr || found->isFolder || !Compare(wanted, found->name).isSame) {
        return std::nullopt;
    }
    return found->entry;
}

std::optional<size_t> PackagePaths::FindOwnName() const {
    if (!loneTopFolder_) {
        return std::nullopt;
    }
    const Path* const found = FirstAt(PathInPackage(*loneTopFolder_));
    return found == nullptr ? std::nullopt : std::optional(found->entry);
}

void PackagePaths::FindLoneTopFolder() {
    if (paths_.empty()) {
        return;
    }
    // A file at the top would be the first path of its name.
    const Path& first = paths_.front();
    const bool isInFolder = first.isFolder || first.name.find('/') != std::string_view::npos;
    if (isInFolder && std::none_of(paths_.begin() + 1, paths_.end(),
                                   [](const Path& path) { return path.hasNewTopName; })) {
        loneTopFolder_ = FirstComponent(firstName_);
    }
}

std::string PackagePaths::PathInPackage(std::string_view pathInClient) const {
    return (loneTopFolder_ ? std::string(*loneTopFolder_) + "/" : "") + std::string(pathInClient);
}

const PackagePaths::Path* PackagePaths::FirstAt(std::string_view path) const {
    const auto found = std::partition_point(paths_.begin(), paths_.end(), [&](const Path& each) {
        return Compare(each.name, path).isBefore;
    });
    if (found == paths_.end()) {
        return nullptr;
    }
    const Comparison comparison = Compare(path, found->name);
    return comparison.isSame || comparison.isBelow ? &*found : nullptr;
}
