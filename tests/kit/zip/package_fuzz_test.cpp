// Feeds the package check real packages with random damage. Its readers are built with
// undefined-behavior traps and library assertions: an error in them ends this program at once.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "bench_parts/scratch_folder.h"
#include "kit/json.h"
#include "kit/pe/byte_access.h"
#include "kit/zip/package_check.h"

namespace {

constexpr uint32_t kSeed = 20261121;
constexpr wchar_t kFolder[] = BENCH_PACKAGES_FOLDER;
constexpr size_t kLargestPackage = 60'000;

int Rounds() {
    const char* const rounds = std::getenv("KIT_FUZZ_ROUNDS");
    return rounds == nullptr ? 2'000 : std::atoi(rounds);
}

// The packages of the corpus that are quick to write.
std::vector<std::string> RealPackages() {
    std::vector<std::string> packages;
    const Json rows = Json::parse(bench::ReadFile(std::wstring(kFolder) + L"/expected.json"));
    for (const Json& row : rows) {
        const std::string file = row["file"];
        std::string bytes =
            bench::ReadFile(std::wstring(kFolder) + L"/" + std::wstring(file.begin(), file.end()));
        if (bytes.size() > 100 && bytes.size() < kLargestPackage) {
            packages.push_back(std::move(bytes));
        }
    }
    return packages;
}

class Damage {
public:
    explicit Damage(std::vector<std::string> packages)
        : packages_(std::move(packages)), random_(kSeed) {}

    std::string Next() {
        std::string bytes = packages_[Below(packages_.size())];
        const size_t places = 1 + Below(5);
        for (size_t i = 0; i < places; ++i) {
            DamageOnePlace(bytes);
        }
        return bytes;
    }

private:
    size_t Below(size_t limit) {
        return std::uniform_int_distribution<size_t>(0, limit - 1)(random_);
    }

    // Most damage is to records: all begin with "PK".
    size_t Place(const std::string& bytes) {
        const size_t any = Below(bytes.size());
        const size_t record = bytes.find("PK", any);
        return Below(4) == 0 || record == std::string::npos
                   ? any
                   : std::min(record + Below(60), bytes.size() - 1);
    }

    void DamageOnePlace(std::string& bytes) {
        const size_t place = Place(bytes);
        switch (Below(12)) {
            case 0:
                bytes.resize(std::max<size_t>(place, 1));
                break;
            case 1:
                bytes.erase(place, std::min<size_t>(Below(100), bytes.size() - 1));
                break;
            case 2:
                bytes.insert(place, bytes.substr(Below(bytes.size()), Below(200)));
                break;
            default: {
                const size_t width = std::min(size_t{1} << Below(4), bytes.size() - place);
                PutNumber(std::as_writable_bytes(std::span(bytes)).subspan(place, width),
                          Number(bytes.size()));
            }
        }
    }

    // Random bits, one of the numbers that readers stumble over, or one that fits the file.
    uint64_t Number(size_t size) {
        constexpr std::array<uint64_t, 12> kNumbers{0,
                                                    1,
                                                    0x7FFF,
                                                    0x8000,
                                                    0xFFFE,
                                                    0xFFFF,
                                                    0xFFFF'FFFE,
                                                    0xFFFF'FFFF,
                                                    0x7FFF'FFFF'FFFF'FFFF,
                                                    0x8000'0000'0000'0000,
                                                    0xFFFF'FFFF'FFFF'FFF0,
                                                    0xFFFF'FFFF'FFFF'FFFF};
        switch (Below(3)) {
            case 0:
                return random_() | uint64_t{random_()} << 32;
            case 1:
                return kNumbers[Below(kNumbers.size())];
            default:
                return Below(size + 1);
        }
    }

    std::vector<std::string> packages_;
    std::mt19937 random_;
};

TEST(PackageFuzz, EndsWithFindingsForAnyBytes) {
    const bench::ScratchFolder scratch;
    const std::filesystem::path file = scratch.Path() / L"package.zip";
    Damage damage(RealPackages());
    Console console;
    console.SetMode({true, false});
    ToolConfig config;
    config.startupExe = L"game.exe";
    uint64_t damaged = 0;
    uint64_t clean = 0;
    for (int i = 0; i < Rounds(); ++i) {
        bench::WriteFile(file, damage.Next());
        Findings findings;
        PackageFacts facts;
        CheckPackage(file, config, findings, facts, console);
        damaged += findings.Count("package.damaged") > 0 ? 1 : 0;
        clean += findings.List().empty() ? 1 : 0;
    }
    // Most damage is found; some hits what means nothing, such as times.
    EXPECT_GT(damaged, static_cast<uint64_t>(Rounds()) / 2);
    EXPECT_LT(clean, static_cast<uint64_t>(Rounds()) / 4);
}

}  // namespace
