#include "convergence/broken_client.h"

#include <gtest/gtest.h>

#include <string>
#include <system_error>
#include <utility>

#include "bench_parts/running_copy.h"
#include "bench_parts/waiting.h"

namespace fs = std::filesystem;

namespace {

constexpr uint64_t kYear2010 = 129'067'776'000'000'000;  // In 100 ns steps since 1601.

void Put(const fs::path& file, std::string_view bytes, uint64_t time = kYear2010) {
    bench::WriteFile(file, bytes);
    bench::SetWriteTime(file, time);
}

void Install(const fs::path& folder, const bench::Contents& package) {
    for (const auto& [name, bytes] : package) {
        if (name.ends_with(L'/')) {
            fs::create_directories(folder / name);
        } else {
            Put(folder / name, bytes);
        }
    }
}

std::string WithFlippedBit(std::string bytes, size_t position) {
    bytes[position] = static_cast<char>(bytes[position] ^ 0x10);
    return bytes;
}

// Of each kind of damage at least one. Of equal size: the first, the last and a middle byte.
void Break(const fs::path& folder, const bench::Contents& package, uint64_t packageTime) {
    const auto put = [&](const wchar_t* name, size_t position, uint64_t time) {
        Put(folder / name, WithFlippedBit(package.at(name), position), time);
    };
    put(L"data/maps/b.map", package.at(L"data/maps/b.map").size() - 1, kYear2010);
    put(L"client.exe", 0, packageTime);
    put(L"data/every byte.bin", package.at(L"data/every byte.bin").size() / 2, kYear2010);
    Put(folder / L"readme.txt", package.at(L"readme.txt") + "and one line more");
    Put(folder / L"data/maps/a.map", "hill hill hill");  // An older version: shorter.
    fs::remove(folder / L"smile \U0001f600.bin");
    fs::remove_all(folder / L"\u65e5\u672c\u8a9e");
    fs::remove(folder / L"leer");
    // All others are right but for their time.
}

void AddPlayersOwn(const fs::path& folder) {
    Put(folder / L"settings.ini", "volume=11\r\n");
    Put(folder / L"data/maps/my own.map", "molehill");
    Put(folder / L"screenshots/\u00fcber allem.png", "the view from the top");
    fs::create_directory(folder / L"screenshots/empty");
}

}  // namespace

bench::Contents StateOf(const fs::path& folder) {
    bench::Contents state = bench::FolderContents(folder);
    for (auto& [path, bytes] : state) {
        if (!path.ends_with(L'/') && path != kUninstallerName) {
            bytes += " of " + std::to_string(bench::GetWriteTime(folder / path));
        }
    }
    return state;
}

BrokenClient::BrokenClient(const fs::path& parent, const bench::Contents& package,
                           uint64_t packageTime)
    : root_(parent / L"machine") {
    fs::create_directories(TempFolder());
    Install(Folder(), package);
    Break(Folder(), package, packageTime);
    AddPlayersOwn(Folder());
    Put(Tool(), bench::ReadFile(bench::FolderOfThisProgram() / L"job_runner.exe"));
    initial_ = StateOf(Folder());
}

// A process that has just ended can hold on to its exe for a moment.
BrokenClient::~BrokenClient() {
    std::error_code error;
    EXPECT_TRUE(bench::Await([&] {
        fs::remove_all(root_, error);
        return !error;
    })) << error.message();
}
