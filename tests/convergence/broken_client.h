#pragma once

#include <cstdint>
#include <filesystem>

#include "bench_parts/package_contents.h"

// The name of the tool in its client folder. The package has a file of that name too.
inline constexpr wchar_t kToolName[] = L"Karvoth Repair.exe";
inline constexpr wchar_t kUninstallerName[] = L"Uninstall.exe";

// The folder's content, with each file's time after its bytes: bench::FirstDifference finds both.
// Without the time of the uninstaller, which each job writes anew.
bench::Contents StateOf(const std::filesystem::path& folder);

// An installed client with every kind of damage and the tool in it, in a folder that is removed
// with the object. Beside it is a folder for the tool's temporary files. All clients with the same
// package are alike.
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

    // How it was at first, as by StateOf.
    [[nodiscard]] const bench::Contents& Initial() const {
        return initial_;
    }

private:
    std::filesystem::path root_;
    bench::Contents initial_;
};
