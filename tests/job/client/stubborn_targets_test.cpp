#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "bench_parts/running_copy.h"
#include "common/handles.h"
#include "job/client/client_folders.h"
#include "job/client/client_repair.h"
#include "job/client/reinstall_cleanup.h"
#include "job/progress/job_progress.h"

// Must follow the platform header.
#include <sddl.h>

namespace fs = std::filesystem;

using testing::ElementsAre;

// Client files that the system protects: running, mapped, a hard link to the running tool, hidden
// or system files, files and folders without write access. What Windows refuses must be reported,
// and nothing else may be lost.

namespace {

constexpr wchar_t kChildProgram[] = L"child_program.exe";
constexpr wchar_t kLongSleep[] = L"sleep 60000";

class StubbornTargets : public bench::ClientTest {
protected:
    bool Repair() const {
        StartRecord();
        return ClientTest::Repair();
    }
    bool Reinstall() const {
        StartRecord();
        return ClientTest::Reinstall();
    }

    // Every file of the package is in the client, byte for byte; the client may hold more.
    void ExpectComplete() const {
        for (const std::wstring& path : bench::FolderListing(Package())) {
            if (!path.ends_with(L'/')) {
                EXPECT_TRUE(bench::ReadFile(InClient(path)) == bench::ReadFile(InPackage(path)))
                    << fs::path(path);
            }
        }
    }

    void ExpectCompleteOrReported(bool succeeded, const std::wstring& relativePath) const {
        if (succeeded) {
            ExpectComplete();
        } else {
            ExpectFailureOf(relativePath);
        }
    }

    void PutOldFile() const {
        bench::WriteFile(InPackage(L"a.dat"), "new");
        bench::WriteFile(InClient(L"a.dat"), "old and longer");
    }

    // The old file cannot be overwritten until the obstacle has been removed.
    void ExpectRepairOnlyAfter(const std::function<void()>& removeObstacle) const {
        EXPECT_FALSE(Repair());
        ExpectFailureOf(L"a.dat");
        EXPECT_EQ(bench::ReadFile(InClient(L"a.dat")), "old and longer");
        ExpectCompleteOrReported(Reinstall(), L"a.dat");
        removeObstacle();
        EXPECT_TRUE(Repair());
        ExpectComplete();
    }

    static std::string ChildProgramBytes() {
        return bench::ReadFile(bench::FolderOfThisProgram() / kChildProgram);
    }

private:
    static void StartRecord() {
        resetJobProgress();
        jobProgress.running = true;
    }
};

struct UnmapView {
    void operator()(void* view) const noexcept {
        ::UnmapViewOfFile(view);
    }
};

// Makes a file part of this process's memory, as a game maps its archives. No handle stays open.
std::unique_ptr<void, UnmapView> Map(const fs::path& path) {
    const auto file = AdoptHandle<KernelHandle>(::CreateFileW(
        path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
        OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    const KernelHandle section(
        ::CreateFileMappingW(file.get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
    return std::unique_ptr<void, UnmapView>(::MapViewOfFile(section.get(), FILE_MAP_READ, 0, 0, 0));
}

// Rights to a file or folder, as the security descriptor language names them.
constexpr wchar_t kAllRights[] = L"FA";
constexpr wchar_t kNoWriting[] = L"FRFXSDWD";  // But deletion and the change of these rights.

// Gives everyone these rights and no others.
bool Allow(const fs::path& path, const std::wstring& rights) {
    const std::wstring list = L"D:P(A;;" + rights + L";;;WD)";
    PSECURITY_DESCRIPTOR access = nullptr;
    const bool isAllowed =
        ::ConvertStringSecurityDescriptorToSecurityDescriptorW(list.c_str(), SDDL_REVISION_1,
                                                               &access, nullptr) &&
        ::SetFileSecurityW(path.c_str(),
                           DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION, access);
    ::LocalFree(access);
    return isAllowed;
}

TEST_F(StubbornTargets, ARunningProgramThatDiffersFailsBothJobs) {
    bench::WriteFile(InPackage(L"game.exe"), "new");
    bench::WriteFile(InClient(L"settings.ini"), "mine");
    const bench::RunningCopy game(kChildProgram, InClient(L"game.exe"), kLongSleep);
    ASSERT_TRUE(game.Process());
    EXPECT_FALSE(Repair());
    ExpectFailureOf(L"game.exe");
    EXPECT_EQ(bench::ReadFile(InClient(L"settings.ini")), "mine");
    EXPECT_FALSE(Reinstall());
    ExpectFailureOf(L"game.exe");
    EXPECT_THAT(Listing(), ElementsAre(L"RepairTool.exe", L"game.exe"));
    EXPECT_TRUE(bench::ReadFile(InClient(L"game.exe")) == ChildProgramBytes());
}

TEST_F(StubbornTargets, ARunningProgramThatMatchesThePackageIsClean) {
    bench::WriteFile(InPackage(L"game.exe"), ChildProgramBytes());
    const bench::RunningCopy game(kChildProgram, InClient(L"game.exe"), kLongSleep);
    ASSERT_TRUE(game.Process());
    EXPECT_TRUE(Repair());
    EXPECT_EQ(snapshot().detailLine, L"All files are already clean.");
}

TEST_F(StubbornTargets, AMappedFileThatDiffersFailsTheRepairUntilItIsUnmapped) {
    PutOldFile();
    auto mapped = Map(InClient(L"a.dat"));
    ASSERT_TRUE(mapped);
    ExpectRepairOnlyAfter([&] { mapped.reset(); });
}

TEST_F(StubbornTargets, AHardLinkToTheRunningToolIsReportedAndTheToolKeepsItsBytes) {
    const bench::RunningCopy tool(kChildProgram, Tool(), kLongSleep);
    ASSERT_TRUE(tool.Process());
    ASSERT_TRUE(::CreateHardLinkW(InClient(L"launcher.exe").c_str(), Tool().c_str(), nullptr));
    bench::WriteFile(InPackage(L"launcher.exe"), "the game's own launcher");
    EXPECT_FALSE(Repair());
    ExpectFailureOf(L"launcher.exe");
    EXPECT_TRUE(bench::ReadFile(Tool()) == ChildProgramBytes());

    ExpectCompleteOrReported(Reinstall(), L"launcher.exe");
    EXPECT_TRUE(bench::ReadFile(Tool()) == ChildProgramBytes());

    fs::remove(InPackage(L"launcher.exe"));
    bench::WriteFile(InPackage(L"a.dat"), "new");
    EXPECT_TRUE(Reinstall()) << "the link is not in the package";
    ExpectComplete();
    EXPECT_EQ(::WaitForSingleObject(tool.Process(), 0), static_cast<DWORD>(WAIT_TIMEOUT));
}

TEST_F(StubbornTargets, TheCleanOutOfAHardLinkToTheToolLeavesTheTool) {
    // The tool does not run here, so only the code protects its file.
    ASSERT_TRUE(::CreateHardLinkW(InClient(L"launcher.exe").c_str(), Tool().c_str(), nullptr));
    EXPECT_TRUE(PrepareCleanReinstall());
    EXPECT_THAT(Listing(), ElementsAre(L"RepairTool.exe"));
    EXPECT_EQ(bench::ReadFile(Tool()), bench::kToolBytes);
}

TEST_F(StubbornTargets, HiddenAndSystemFilesAreRepairedOrReportedAndReinstalled) {
    // Windows refuses to overwrite them.
    for (const DWORD attributes : {DWORD{FILE_ATTRIBUTE_SYSTEM}, DWORD{FILE_ATTRIBUTE_HIDDEN},
                                   DWORD{FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_HIDDEN}}) {
        bench::WriteFile(InPackage(L"a.dat"), "new");
        bench::WriteFile(InClient(L"a.dat"), "old");
        ASSERT_TRUE(::SetFileAttributesW(InClient(L"a.dat").c_str(), attributes));
        const bool repaired = Repair();
        ExpectCompleteOrReported(repaired, L"a.dat");
        EXPECT_EQ(bench::ReadFile(InClient(L"a.dat")), repaired ? "new" : "old");
        EXPECT_TRUE(Reinstall());
        ExpectComplete();
        fs::remove(InClient(L"a.dat"));
    }
}

TEST_F(StubbornTargets, AFileWithoutWriteAccessFailsTheRepairUntilThereIsAccess) {
    PutOldFile();
    ASSERT_TRUE(Allow(InClient(L"a.dat"), kNoWriting));
    ExpectRepairOnlyAfter([&] { EXPECT_TRUE(Allow(InClient(L"a.dat"), kAllRights)); });
}

TEST_F(StubbornTargets, AFolderWithoutWriteAccessFailsAtItsMissingFile) {
    WriteToBoth(L"data\\good.dat", "good");
    bench::WriteFile(InPackage(L"data\\missing.dat"), "new");
    bench::WriteFile(InClient(L"data\\save.dat"), "mine");
    ASSERT_TRUE(Allow(InClient(L"data"), kNoWriting));
    EXPECT_FALSE(Repair());
    ExpectFailureOf(L"data\\missing.dat");
    EXPECT_THAT(bench::FolderListing(InClient(L"data")), ElementsAre(L"good.dat", L"save.dat"));
    EXPECT_TRUE(Allow(InClient(L"data"), kAllRights));
    EXPECT_TRUE(Repair());
    ExpectComplete();
}

TEST_F(StubbornTargets, AReinstallOverAFolderWithoutWriteAccessIsCompleteOrReported) {
    bench::WriteFile(InPackage(L"data\\a.dat"), "new");
    bench::WriteFile(InClient(L"data\\a.dat"), "old");
    ASSERT_TRUE(Allow(InClient(L"data"), kNoWriting));
    ExpectCompleteOrReported(Reinstall(), L"data\\a.dat");
    EXPECT_TRUE(Allow(InClient(L"data"), kAllRights));
}

}  // namespace
