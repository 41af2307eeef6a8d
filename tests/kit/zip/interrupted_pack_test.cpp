// Ends the kit at random moments while it packs, as a power failure or an impatient operator would.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "bench_parts/scratch_folder.h"
#include "kit_process.h"

namespace {

namespace fs = std::filesystem;

constexpr uint32_t kSeed = 20261121;

int Kills() {
    const char* const kills = std::getenv("KIT_KILLS");
    return kills == nullptr ? 6 : std::atoi(kills);
}

class InterruptedPack : public testing::Test {
protected:
    InterruptedPack() {
        std::mt19937 random(kSeed);
        std::string noise(1'000'000, '\0');
        for (char& each : noise) {
            each = static_cast<char>('a' + random() % 16);
        }
        for (int i = 0; i < 8; ++i) {
            bench::WriteFile(client_ / (std::to_wstring(i) + L".bin"), noise + noise);
        }
        bench::WriteFile(package_, kOldPackage);
        bench::WriteFile(brand_ / L"config.txt", kOldConfig);
    }

    [[nodiscard]] KernelHandle StartPack() const {
        return kit_test::StartProgram(
            L"repair_kit.exe", L"pack \"" + client_.native() + L"\" -o \"" + package_.native() +
                                   L"\" --brand \"" + brand_.native() + L"\" --quiet");
    }

    [[nodiscard]] DWORD Pack() const {
        const KernelHandle process = StartPack();
        ::WaitForSingleObject(process.get(), INFINITE);
        DWORD code = ~0U;
        ::GetExitCodeProcess(process.get(), &code);
        return code;
    }

    static constexpr char kOldPackage[] = "the old package";
    static constexpr char kOldConfig[] = "archiveSha256=old\n";

    bench::ScratchFolder scratch_;
    fs::path client_ = scratch_.Path() / L"client";
    fs::path package_ = scratch_.Path() / L"out" / L"package.zip";
    fs::path brand_ = scratch_.Path() / L"brand";
};

TEST_F(InterruptedPack, LeavesTheOldPackageOrTheNewOne) {
    const ULONGLONG start = ::GetTickCount64();
    ASSERT_EQ(Pack(), 0U);
    const auto durationMs = static_cast<unsigned>(::GetTickCount64() - start);
    const std::string newPackage = bench::ReadFile(package_);
    const std::string newConfig = bench::ReadFile(brand_ / L"config.txt");
    std::mt19937 random(kSeed);
    for (int i = 0; i < Kills(); ++i) {
        bench::WriteFile(package_, kOldPackage);
        bench::WriteFile(brand_ / L"config.txt", kOldConfig);
        const KernelHandle process = StartPack();
        // Not synchronization: any moment is right.
        static_cast<void>(::WaitForSingleObject(process.get(), random() % (durationMs + 1)));
        ::TerminateProcess(process.get(), 9);
        ::WaitForSingleObject(process.get(), INFINITE);
        const std::string package = bench::ReadFile(package_);
        const std::string config = bench::ReadFile(brand_ / L"config.txt");
        ASSERT_TRUE(package == kOldPackage || package == newPackage) << package.size();
        ASSERT_TRUE(config == kOldConfig || (config == newConfig && package == newPackage))
            << config;
    }
    // A temporary file may stay after a kill; the next run removes it.
    EXPECT_EQ(Pack(), 0U);
    EXPECT_THAT(bench::FolderListing(package_.parent_path()), testing::ElementsAre(L"package.zip"));
    EXPECT_THAT(bench::FolderListing(brand_), testing::ElementsAre(L"config.txt"));
    EXPECT_EQ(bench::ReadFile(package_), newPackage);
}

}  // namespace
