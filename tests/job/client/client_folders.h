#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "bench_parts/scratch_folder.h"

namespace bench {

inline constexpr std::string_view kToolBytes = "this is the running tool";

// An unpacked package and a client folder with a tool in it, the place of which the program under
// test is told. The process-wide records are as at the program's start before and afterwards.
class ClientFolders {
public:
    ClientFolders();
    ~ClientFolders();
    ClientFolders(const ClientFolders&) = delete;
    ClientFolders& operator=(const ClientFolders&) = delete;

    // Both folders lie in it, at different depths.
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

// Where the program under test believes to be, as long as the object lives.
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

// The name of the same file or folder with a short (8.3) name as its last part; empty where the
// file system has none.
std::filesystem::path WithShortName(const std::filesystem::path& path);

}  // namespace bench
