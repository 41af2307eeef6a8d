#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

#include "bench_parts/package_contents.h"

// One entry of a folder; a folder has no bytes.
struct EntryState {
    std::string bytes;
    uint64_t writeTime = 0;

    bool operator==(const EntryState&) const = default;
};

// By relative path as in bench::FolderListing; the folder itself under the empty path.
using FolderState = std::map<std::wstring, EntryState>;

FolderState StateOf(const std::filesystem::path& folder);

// Empty when both are the same, else the first difference.
std::string FirstDifference(const FolderState& expected, const FolderState& actual);

// The name of the tool in its client folder. The package has a file of that name too.
inline constexpr wchar_t kToolName[] = L"Karvoth Repair.exe";
inline constexpr wchar_t kUninstallerName[] = L"Uninstall.exe";

// An installed client with every kind of damage and the tool in it, in a folder that is removed
// with the object. Beside it is a folder for the tool's temporary files.
class BrokenClient {
public:
    // What the package holds, and the time of its files, 0 when it is not known: one damaged file
    // has the same. `parent` exists.
    BrokenClient(const std::filesystem::path& parent, const bench::Contents& package,
                 uint64_t packageTime = 0);
    ~BrokenClient();
    BrokenClient(const BrokenClient&) = delete;
    BrokenClient& operator=(const BrokenClient&) = delete;

    [[nodiscard]] std::filesystem::path Folder() const {
        return root_ / L"Karvoth Spiel \u00fc";
    }
    [[nodiscard]] std::filesystem::path Tool() const {
        return Folder() / kToolName;
    }
    [[nodiscard]] std::filesystem::path TempFolder() const {
        return root_ / L"temp";
    }

    // How it was at first.
    [[nodiscard]] const FolderState& Initial() const {
        return initial_;
    }
    // What of it is not the package's: the player's own files and folders.
    [[nodiscard]] const FolderState& Additional() const {
        return additional_;
    }

private:
    std::filesystem::path root_;
    FolderState initial_;
    FolderState additional_;
};
