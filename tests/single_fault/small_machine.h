#pragma once

#include <filesystem>
#include <string>

#include "bench_parts/package_contents.h"
#include "bench_parts/scratch_folder.h"
#include "bench_parts/unpacker_machine.h"

// A minimal machine, because it is set up some thousand times: a client with one file for each kind
// of damage, its package, and files outside that no job may touch. The program under test is told
// the location of the tool. The tool's file is open like that of a running program: it can be
// neither written nor deleted.
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
    // What has changed outside of the client folder or in the tool's own file; empty if unchanged.
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
