#pragma once

#include <filesystem>

#include "common/windows_api.h"

namespace bench {

// A drive letter substituted for a folder (as by `subst`) while the object lives.
class SubstitutedDrive {
public:
    // `drive` with its colon. Under Wine no file on such a drive can be opened.
    SubstitutedDrive(const wchar_t* drive, const std::filesystem::path& folder) : drive_(drive) {
        made_ = ::DefineDosDeviceW(0, drive, folder.c_str()) != FALSE;
    }
    ~SubstitutedDrive() {
        if (made_) {
            ::DefineDosDeviceW(DDD_REMOVE_DEFINITION, drive_, nullptr);
        }
    }
    SubstitutedDrive(const SubstitutedDrive&) = delete;
    SubstitutedDrive& operator=(const SubstitutedDrive&) = delete;

    [[nodiscard]] bool Made() const {
        return made_;
    }

private:
    const wchar_t* drive_;
    bool made_ = false;
};

// The same folder by a path on another drive: a substituted one's root, under Wine a path on Z:,
// which is the root of the machine below it.
class FolderOnAnotherDrive {
public:
    explicit FolderOnAnotherDrive(const std::filesystem::path& folder);

    [[nodiscard]] const std::filesystem::path& Path() const {
        return path_;
    }

private:
    SubstitutedDrive drive_;
    std::filesystem::path path_;
};

}  // namespace bench
