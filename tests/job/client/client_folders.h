#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "bench_parts/failed_job.h"
#include "bench_parts/file_hooks.h"
#include "bench_parts/scratch_folder.h"
#include "common/windows_api.h"

namespace bench {

inline constexpr std::string_view kToolBytes = "this is the running tool";

// An unpacked package and a client folder with the tool in it, whose location the program under
// test is told. The process-wide records are in their initial state before and afterwards.
class ClientFolders {
public:
    ClientFolders();
    ~ClientFolders();
    ClientFolders(const ClientFolders&) = delete;
    ClientFolders& operator=(const ClientFolders&) = delete;

    // The parent of both folders, which are at different depths.
    [[nodiscard]] const std::filesystem::path& Scratch() const {
        return scratch_.Path();
    }
    [[nodiscard]] std::filesystem::path Package() const {
        return Scratch() / L"package";
    }
    [[nodiscard]] std::filesystem::path Client() const {
        return Scratch() / L"games" / L"Client";
    }
    [[nodiscard]] std::filesystem::path Tool() const {
        return Client() / L"RepairTool.exe";
    }

    [[nodiscard]] std::filesystem::path InPackage(const std::wstring& relativePath) const {
        return Package() / relativePath;
    }
    [[nodiscard]] std::filesystem::path InClient(const std::wstring& relativePath) const {
        return Client() / relativePath;
    }

    // The same file in both folders, with the same time stamp.
    void WriteToBoth(const std::wstring& relativePath, std::string_view bytes) const;

private:
    ScratchFolder scratch_;
};

// The location that the program under test takes for its own, as long as the object lives.
class ToolLocation {
public:
    ToolLocation(const std::filesystem::path& folder, const std::filesystem::path& exePath);
    ~ToolLocation();
    ToolLocation(const ToolLocation&) = delete;
    ToolLocation& operator=(const ToolLocation&) = delete;

private:
    std::filesystem::path formerFolder_;
    std::filesystem::path formerExePath_;
};

// The fixture for tests that work on such folders: a running job.
class ClientTest : public testing::Test, protected ClientFolders, protected FailedJob {
protected:
    ClientTest();

    bool Repair() const;
    bool Reinstall() const;

    // What is in the client, the tool included.
    [[nodiscard]] std::vector<std::wstring> Listing() const;

    static void ExpectCounters(uint64_t total, uint64_t done, uint64_t repaired);
    // The job has failed at that file.
    static void ExpectFailureOf(const std::wstring& relativePath);
    // The job has stopped without a report.
    static void ExpectNoReport();
};

inline constexpr wchar_t kUnsafeReinstall[] =
    L"Safety check failed. Reinstall can only run from inside the game client folder.";

// Makes opening that very path fail.
[[nodiscard]] inline auto RefuseToOpen(const std::wstring& refused) {
    return HookOpen([=](const std::wstring& path) -> DWORD {
        return path == refused ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
    });
}

// The path of the same file or folder with a short (8.3) name as its last part; empty if the file
// system has no short names.
std::filesystem::path WithShortName(const std::filesystem::path& path);

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
