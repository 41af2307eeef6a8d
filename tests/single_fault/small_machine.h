#pragma once

#include <filesystem>
#include <string>

#include "bench_parts/package_contents.h"
#include "bench_parts/scratch_folder.h"
#include "bench_parts/unpacker_machine.h"

// A machine as small as can be, for it is made anew some thousand times: a client with something of
// everything that can be wrong with it, its package, and things beside it that no job may touch.
// The program under test is told the place of the tool. The tool's file is open, as that of a
// running program is: it can be neither written nor deleted.
class SmallMachine {
public:
    SmallMachine();
    ~SmallMachine();
    SmallMachine(const SmallMachine&) = delete;
    SmallMachine& operator=(const SmallMachine&) = delete;

    // Makes the client anew, empties the temporary folder and resets the job's record.
    void Restore();
    // Makes the staging folder anew, with the package unpacked below `Staging() / top`.
    void Unpack(const std::filesystem::path& top);
    // The package unpacked in the staging folder, where it stays: for work that does not change it.
    void KeepUnpacked();

    [[nodiscard]] std::filesystem::path Client() const {
        return root_.Path() / L"games" / L"Client";
    }
    [[nodiscard]] std::filesystem::path Staging() const {
        return root_.Path() / L"staging";
    }
    [[nodiscard]] std::filesystem::path Archive() const {
        return root_.Path() / L"package.zip";
    }
    [[nodiscard]] std::filesystem::path TempFolder() const {
        return root_.Path() / L"temp";
    }

    // What the unpacking program would write.
    static void UnpackTo(const std::filesystem::path& folder);

    // The first file of the package that `folder` has not, or not byte for byte; empty when it has
    // all. The tool's own file does not count.
    [[nodiscard]] static std::string FirstMissing(const std::filesystem::path& folder);
    // What has changed beside the client folder, and in the tool's own file; empty for nothing.
    [[nodiscard]] std::string Damage() const;
    // Whether the client is as Restore left it.
    [[nodiscard]] bool IsClientUntouched() const;

private:
    void BreakClient() const;

    bench::ScratchFolder root_;
    bench::OpenElsewhere runningTool_;
    std::filesystem::path formerCurrentFolder_;
    bench::EnvironmentVariable temp_;
    bench::Contents initialClient_;
};
