// Ends the kit at random moments while it builds, as a power failure or an impatient operator
// would.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "bench_parts/running_copy.h"
#include "bench_parts/scratch_folder.h"
#include "bench_parts/waiting.h"

namespace fs = std::filesystem;

namespace {

constexpr uint32_t kSeed = 20261121;
constexpr wchar_t kToolName[] = L"KrvBrennickInstaller.exe";

int Kills() {
    const char* const kills = std::getenv("KIT_KILLS");
    return kills == nullptr ? 12 : std::atoi(kills);
}

class InterruptedBuild : public testing::Test {
protected:
    // Starts `repair_kit build` of the default brand.
    [[nodiscard]] KernelHandle StartBuild(const std::wstring& options = L"") const {
        std::wstring command = L"\"" +
                               std::wstring(bench::FolderOfThisProgram() / L"repair_kit.exe") +
                               L"\" build \"" + BRAND_FOLDER + L"\" --force --quiet -o \"" +
                               release_.native() + L"\" " + options;
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION started{};
        if (!::CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW,
                              nullptr, nullptr, &startup, &started)) {
            ADD_FAILURE() << ::GetLastError();
            return nullptr;
        }
        ::CloseHandle(started.hThread);
        return KernelHandle(started.hProcess);
    }

    // The exit code of a whole build.
    [[nodiscard]] DWORD Build() const {
        const KernelHandle process = StartBuild();
        ::WaitForSingleObject(process.get(), INFINITE);
        DWORD code = ~0U;
        ::GetExitCodeProcess(process.get(), &code);
        return code;
    }

    [[nodiscard]] fs::path Tool() const {
        return release_ / kToolName;
    }

    bench::ScratchFolder scratch_;
    fs::path release_ = scratch_.Path() / L"release";
};

TEST_F(InterruptedBuild, LeavesTheOldToolOrTheNewOne) {
    const ULONGLONG start = ::GetTickCount64();
    ASSERT_EQ(Build(), 0U);
    // A kill comes at most this late; sooner after each that came too late, because the first
    // build can be much slower than the others.
    auto limitMs = static_cast<DWORD>(::GetTickCount64() - start);
    const std::string complete = bench::ReadFile(Tool());
    std::mt19937 random(kSeed);
    int replaced = 0;
    for (int kill = 0; kill < Kills(); ++kill) {
        SCOPED_TRACE(kill);
        bench::WriteFile(Tool(), "an older tool");
        const KernelHandle process = StartBuild();
        ::WaitForSingleObject(process.get(), random() % (limitMs + 1));
        ::TerminateProcess(process.get(), 1);
        ::WaitForSingleObject(process.get(), INFINITE);
        const std::string tool = bench::ReadFile(Tool());
        ASSERT_TRUE(tool == complete || tool == "an older tool") << tool.size();
        if (tool == complete) {
            ++replaced;
            limitMs -= limitMs / 4;
        }
        for (const std::wstring& name : bench::FolderListing(release_)) {
            ASSERT_TRUE(name == kToolName || name.find(L".tmp.") != std::wstring::npos);
        }
    }
    // Otherwise no kill came between the beginning and the end of the work.
    EXPECT_LT(replaced, Kills());
}

TEST_F(InterruptedBuild, IsTidiedUpByTheNextOne) {
    const std::wstring signing = bench::FolderOfThisProgram() / L"child_program.exe";
    const fs::path mark = scratch_.Path() / L"mark";
    const KernelHandle process =
        StartBuild(L"--sign \"" + signing + L" hang " + mark.native() + L" {file}\"");
    ASSERT_TRUE(bench::Await([&] { return fs::exists(mark); }));
    ::TerminateProcess(process.get(), 1);
    ::WaitForSingleObject(process.get(), INFINITE);
    // Both programs were partly written.
    EXPECT_EQ(bench::FolderListing(release_).size(), 2U);

    EXPECT_EQ(Build(), 0U);
    EXPECT_THAT(bench::FolderListing(release_), testing::ElementsAre(kToolName));
}

TEST_F(InterruptedBuild, KeepsAToolThatIsInUse) {
    ASSERT_EQ(Build(), 0U);
    bench::WriteFile(Tool(), "an older tool");
    {
        const bench::OpenElsewhere inUse(Tool(), FILE_SHARE_READ);
        EXPECT_EQ(Build(), 4U);
    }
    EXPECT_EQ(bench::ReadFile(Tool()), "an older tool");
    EXPECT_THAT(bench::FolderListing(release_), testing::ElementsAre(kToolName));
}

}  // namespace
