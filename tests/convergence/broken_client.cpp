#include "convergence/broken_client.h"

#include <gtest/gtest.h>

#include <system_error>

#include "bench_parts/scratch_folder.h"
#include "bench_parts/utf8.h"
#include "common/windows_api.h"
#include "convergence/job_process.h"

namespace fs = std::filesystem;

namespace {

constexpr DWORD kPatienceMs = 10'000;
constexpr uint64_t kYear2010 = 129'067'776'000'000'000;  // In 100 ns steps since 1601.

void FlipBits(std::string& bytes, size_t position) {
    bytes[position] = static_cast<char>(bytes[position] ^ 0x10);
}

void Install(const fs::path& folder, const bench::Contents& package) {
    for (const auto& [name, bytes] : package) {
        if (name.ends_with(L'/')) {
            fs::create_directories(folder / name);
        } else {
            bench::WriteFile(folder / name, bytes);
            bench::SetWriteTime(folder / name, kYear2010);
        }
    }
}

// Of each kind of damage at least one. Of equal size: the first, the last and a middle byte.
void Break(const fs::path& folder, const bench::Contents& package, uint64_t packageTime) {
    std::string bytes = package.at(L"data/maps/b.map");
    FlipBits(bytes, bytes.size() - 1);
    bench::WriteFile(folder / L"data/maps/b.map", bytes);
    bytes = package.at(L"client.exe");
    FlipBits(bytes, 0);
    bench::WriteFile(folder / L"client.exe", bytes);
    bench::SetWriteTime(folder / L"client.exe", packageTime);
    bytes = package.at(L"data/every byte.bin");
    FlipBits(bytes, bytes.size() / 2);
    bench::WriteFile(folder / L"data/every byte.bin", bytes);
    bench::WriteFile(folder / L"readme.txt", package.at(L"readme.txt") + "and one line more");
    // An older version: shorter, from another time.
    bench::WriteFile(folder / L"data/maps/a.map", "hill hill hill");
    bench::SetWriteTime(folder / L"data/maps/a.map", kYear2010);
    fs::remove(folder / L"smile \U0001f600.bin");
    fs::remove_all(folder / L"\u65e5\u672c\u8a9e");
    fs::remove(folder / L"leer");
    // All others are right but for their time.
}

void AddPlayersOwn(const fs::path& folder) {
    bench::WriteFile(folder / L"settings.ini", "volume=11\r\n");
    bench::WriteFile(folder / L"data/maps/my own.map", "molehill");
    bench::WriteFile(folder / L"screenshots/\u00fcber allem.png", "the view from the top");
    fs::create_directory(folder / L"screenshots/empty");
    bench::SetWriteTime(folder / L"settings.ini", kYear2010);
}

// A process that has just ended can hold on to its exe for a moment.
void RemoveWhenReleased(const fs::path& folder) {
    const ULONGLONG deadline = ::GetTickCount64() + kPatienceMs;
    std::error_code error;
    do {
        fs::remove_all(folder, error);
    } while (error && ::GetTickCount64() < deadline && (::Sleep(1), true));
    EXPECT_FALSE(error) << error.message();
}

}  // namespace

FolderState StateOf(const fs::path& folder) {
    FolderState state;
    state[L""].writeTime = bench::GetWriteTime(folder);
    for (const auto& [path, bytes] : bench::FolderContents(folder)) {
        state[path] = {bytes, bench::GetWriteTime(folder / path)};
    }
    return state;
}

std::string FirstDifference(const FolderState& expected, const FolderState& actual) {
    for (const auto& [path, entry] : expected) {
        const auto found = actual.find(path);
        if (found == actual.end()) {
            return "missing: " + bench::ToUtf8(path);
        }
        if (found->second.bytes != entry.bytes) {
            return "different: " + bench::ToUtf8(path);
        }
        if (found->second.writeTime != entry.writeTime) {
            return "of another time: " + bench::ToUtf8(path);
        }
    }
    for (const auto& [path, entry] : actual) {
        if (!expected.contains(path)) {
            return "not expected: " + bench::ToUtf8(path);
        }
    }
    return {};
}

BrokenClient::BrokenClient(const fs::path& parent, const bench::Contents& package,
                           uint64_t packageTime)
    : root_(parent / L"machine") {
    fs::create_directories(Folder());
    fs::create_directories(TempFolder());
    Install(Folder(), package);
    Break(Folder(), package, packageTime);
    AddPlayersOwn(Folder());
    PutJobRunner(Tool());
    bench::SetWriteTime(Tool(), kYear2010);
    initial_ = StateOf(Folder());
    for (const auto& [path, entry] : initial_) {
        if (!path.empty() && !package.contains(path)) {
            additional_[path] = entry;
        }
    }
}

BrokenClient::~BrokenClient() {
    RemoveWhenReleased(root_);
}
