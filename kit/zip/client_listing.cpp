#include "kit/zip/client_listing.h"

#include <algorithm>

#include "common/files.h"
#include "common/folder_walk.h"
#include "common/text.h"
#include "kit/errors.h"
#include "kit/utf8.h"
#include "kit/zip/entry_name.h"
#include "kit/zip/name_pattern.h"

namespace {

constexpr size_t kLongestName = 0xFFFF;  // Of a ZIP entry, in bytes.

class Listing {
public:
    Listing(const LeaveOut& leaveOut, Findings& findings)
        : toolName_(FoldCase(WideToUtf8(leaveOut.toolName))), findings_(findings) {
        for (const std::wstring& pattern : leaveOut.patterns) {
            patterns_.emplace_back(WideToUtf8(pattern));
        }
    }

    // Adds all that is below the folder. Without recursion: folders can be nested 16,000 deep.
    void AddTree(const std::wstring& folder) {
        AddContent(folder, "");  // An empty client is another finding.
        while (!pending_.empty()) {
            const SubFolder sub = std::move(pending_.back());
            pending_.pop_back();
            if (!AddContent(sub.path, sub.name + "/")) {
                const EntryFacts facts = FactsOf(sub.path);
                listing_.entries.push_back({sub.name + "/", 0, facts.lastWriteTime});
            }
        }
    }

    ClientListing Take() {
        std::sort(listing_.entries.begin(), listing_.entries.end(),
                  [](const ClientEntry& left, const ClientEntry& right) {
                      return left.name < right.name;
                  });
        std::sort(listing_.leftOut.begin(), listing_.leftOut.end());
        return std::move(listing_);
    }

private:
    struct SubFolder {
        std::wstring path;
        std::string name;
    };

    // Adds what is directly in the folder; its folders become pending. `prefix` is its name in the
    // package with a slash, empty for the client itself. Returns whether anything in it is packed.
    bool AddContent(const std::wstring& folder, const std::string& prefix) {
        bool isAnyPacked = false;
        const ListingResult result = ListFolder(folder, [&](const FolderEntry& entry) {
            const std::string name = prefix + WideToUtf8(entry.relativePath);
            if (IsLeftOut(name, entry.IsFolder())) {
                listing_.leftOut.push_back(name + (entry.IsFolder() ? "/" : ""));
            } else if (entry.isLink) {
                isAnyPacked = true;
                findings_.Add("package.link", PackageEntry(name),
                              "This is a link, which a package cannot hold.",
                              "Replace it by the file or folder that it leads to, or leave it out "
                              "with --exclude.");
            } else {
                isAnyPacked = true;
                if (!HasUsableName(name, entry)) {
                    return true;
                }
                if (entry.IsFolder()) {
                    pending_.push_back({entry.path, name});
                } else {
                    AddFile(entry.path, name);
                }
            }
            return true;
        });
        if (result.Error() != ERROR_SUCCESS) {
            throw OutsideFailure("cannot list the folder", folder, result.Error());
        }
        return isAnyPacked;
    }

    [[nodiscard]] bool IsLeftOut(const std::string& name, bool isFolder) {
        const std::string folded = FoldCase(name);
        if (!isFolder && (folded == toolName_ || folded == "UNINSTALL.EXE")) {
            return true;
        }
        return std::any_of(patterns_.begin(), patterns_.end(),
                           [&](NamePattern& pattern) { return pattern.Fits(folded); });
    }

    // Names that are no UTF-16 cannot be written as UTF-8.
    [[nodiscard]] bool HasUsableName(const std::string& name, const FolderEntry& entry) {
        const bool isText = IsAscii(name) || Utf8ToWide(LastComponent(name)) == entry.relativePath;
        if (isText && name.size() < kLongestName) {
            return true;
        }
        findings_.Add("package.bad-name", PackageEntry(name),
                      isText ? "The name is too long for a package."
                             : "The name is not valid text: it has half a character in it.",
                      "Rename it, or leave it out with --exclude.");
        return false;
    }

    void AddFile(const std::wstring& path, const std::string& name) {
        const EntryFacts facts = FactsOf(path);
        if (facts.kind != EntryKind::RegularFile) {
            throw OutsideFailure("cannot read " + WideToUtf8(path) +
                                 ": it was changed while the folder was read, or is no file");
        }
        listing_.entries.push_back({name, facts.size, facts.lastWriteTime});
    }

    std::string toolName_;
    std::vector<NamePattern> patterns_;
    Findings& findings_;
    std::vector<SubFolder> pending_;
    ClientListing listing_;
};

}  // namespace

ClientListing ListClient(const std::wstring& folder, const LeaveOut& leaveOut, Findings& findings) {
    Listing listing(leaveOut, findings);
    listing.AddTree(folder);
    return listing.Take();
}
