#include "kit/zip/package_paths.h"

#include <algorithm>

#include "kit/zip/entry_name.h"

namespace {

// Replaces the slash, so that a folder's content comes right behind the folder in the order of
// bytes. No name without a fault has it.
constexpr char kSeparator = '\x01';

std::string KeyOf(std::string_view name) {
    std::string key = FoldCase(name);
    if (key.ends_with('/')) {
        key.pop_back();
    }
    std::replace(key.begin(), key.end(), '/', kSeparator);
    return key;
}

bool IsBelow(std::string_view key, std::string_view folderKey) {
    return key.size() > folderKey.size() && key.starts_with(folderKey) &&
           key[folderKey.size()] == kSeparator;
}

size_t SeparatorsIn(std::string_view key) {
    return static_cast<size_t>(std::count(key.begin(), key.end(), kSeparator));
}

// How many of the first components of both are the same.
size_t CommonComponents(std::string_view left, std::string_view right) {
    const auto difference = std::mismatch(left.begin(), left.end(), right.begin(), right.end());
    const auto length = static_cast<size_t>(difference.first - left.begin());
    const auto endsThere = [&](std::string_view key) {
        return length == key.size() || key[length] == kSeparator;
    };
    const size_t separators = SeparatorsIn(left.substr(0, length));
    return length > 0 && endsThere(left) && endsThere(right) ? separators + 1 : separators;
}

}  // namespace

void PackagePaths::Add(std::string_view name, size_t entry) {
    if (paths_.empty()) {
        firstName_ = name;
    }
    paths_.push_back({storage_.Keep(KeyOf(name)), entry, name.ends_with('/')});
}

void PackagePaths::Sort() {
    // Files before folders of the same name. Entries keep the order of their names otherwise.
    std::sort(paths_.begin(), paths_.end(), [](const Path& left, const Path& right) {
        const int order = left.key.compare(right.key);
        if (order != 0) {
            return order < 0;
        }
        return left.isFolder != right.isFolder ? right.isFolder : left.entry < right.entry;
    });
    FindLoneTopFolder();
}

void PackagePaths::FindClashes(const Clash& report) const {
    for (size_t i = 0; i + 1 < paths_.size(); ++i) {
        const Path& path = paths_[i];
        const Path& next = paths_[i + 1];
        // Everything of the same name and everything below a file's name follows right behind it.
        if (!path.isFolder && (next.key == path.key || IsBelow(next.key, path.key))) {
            report(path.entry, next.entry);
        }
    }
}

void PackagePaths::ForEachTopName(const std::function<void(size_t)>& visit) const {
    std::optional<std::string_view> before;
    for (const Path& path : paths_) {
        const std::string_view top = path.key.substr(0, path.key.find(kSeparator));
        if (top != before) {
            visit(path.entry);
        }
        before = top;
    }
}

uint64_t PackagePaths::FolderCount() const {
    uint64_t count = 0;
    std::string_view before;
    for (const Path& path : paths_) {
        const size_t folders = SeparatorsIn(path.key) + (path.isFolder ? 1 : 0);
        const size_t known = CommonComponents(before, path.key);
        count += folders > known ? folders - known : 0;
        before = path.key;
    }
    return count;
}

std::optional<size_t> PackagePaths::FindFile(std::string_view path) const {
    const std::string key = KeyInClient(path);
    const auto found = FirstFrom(key);
    if (found == paths_.end() || found->key != key || found->isFolder) {
        return std::nullopt;
    }
    return found->entry;
}

std::optional<size_t> PackagePaths::FindOwnName() const {
    if (!loneTopFolder_) {
        return std::nullopt;
    }
    const std::string key = KeyInClient(*loneTopFolder_);
    const auto found = FirstFrom(key);
    if (found == paths_.end() || (found->key != key && !IsBelow(found->key, key))) {
        return std::nullopt;
    }
    return found->entry;
}

std::string PackagePaths::KeyInClient(std::string_view path) const {
    return loneTopKey_ + KeyOf(path);
}

std::vector<PackagePaths::Path>::const_iterator PackagePaths::FirstFrom(
    std::string_view key) const {
    return std::lower_bound(
        paths_.begin(), paths_.end(), key,
        [](const Path& path, std::string_view wanted) { return path.key < wanted; });
}

void PackagePaths::FindLoneTopFolder() {
    if (paths_.empty()) {
        return;
    }
    const std::string_view first = paths_.front().key;
    const std::string_view top = first.substr(0, first.find(kSeparator));
    // Sorted: if the first and the last path are in the folder, all are. A file of its name would
    // be the first.
    const bool isFolder = top.size() < first.size() || paths_.front().isFolder;
    if (isFolder && (paths_.back().key == top || IsBelow(paths_.back().key, top))) {
        loneTopFolder_ = FirstComponent(firstName_);
        loneTopKey_ = std::string(top) + kSeparator;
    }
}
