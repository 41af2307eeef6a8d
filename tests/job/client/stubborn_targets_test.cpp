#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

#include "bench_parts/running_copy.h"
#include "common/handles.h"
#include "job/client/client_folders.h"
#include "job/client/client_repair.h"
#include "job/client/reinstall_cleanup.h"
#include "job/progress/job_progress.h"

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

    static std::string ChildProgramBytes() {
        return bench::ReadFile(bench::FolderOfThisProgram() / kChildProgram);
    }

private:
    static void StartRecord() {
        resetJobProgress();
        jobProgress.running = true;
    }
};

// A file that is part of a process's memory, as a game maps its archives. No handle stays open.
class MappedFile {
public:
    explicit MappedFile(const fs::path& path) {
        const auto file = AdoptHandle<KernelHandle>(::CreateFileW(
            path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
            nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
        const KernelHandle section(
            ::CreateFileMappingW(file.get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
        view_ = ::MapViewOfFile(section.get(), FILE_MAP_READ, 0, 0, 0);
    }
    ~MappedFile() {
        Unmap();
    }
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    [[nodiscard]] bool Mapped() const {
        return view_ != nullptr;
    }
    void Unmap() {
        if (view_ != nullptr) {
            ::UnmapViewOfFile(view_);
            view_ = nullptr;
        }
    }

private:
    void* view_ = nullptr;
};

// Allows everyone to read and delete a file or folder, but not to write to it, while the object
// lives.
class WriteProtected {
public:
    explicit WriteProtected(fs::path path) : path_(std::move(path)) {
        DWORD size = 0;
        ::GetFileSecurityW(path_.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
        formerAccess_.resize(size);
        ::GetFileSecurityW(path_.c_str(), DACL_SECURITY_INFORMATION, formerAccess_.data(), size,
                           &size);
        std::vector<std::byte> everyone(SECURITY_MAX_SID_SIZE);
        std::vector<std::byte> list(256);
        auto* const acl = reinterpret_cast<PACL>(list.data());
        size = static_cast<DWORD>(everyone.size());
        ::CreateWellKnownSid(WinWorldSid, nullptr, everyone.data(), &size);
        ::InitializeAcl(acl, static_cast<DWORD>(list.size()), ACL_REVISION);
        ::AddAccessAllowedAce(acl, ACL_REVISION,
                              FILE_GENERIC_READ | FILE_GENERIC_EXECUTE | DELETE | WRITE_DAC,
                              everyone.data());
        SECURITY_DESCRIPTOR access{};
        ::InitializeSecurityDescriptor(&access, SECURITY_DESCRIPTOR_REVISION);
        ::SetSecurityDescriptorDacl(&access, TRUE, acl, FALSE);
        made_ = ::SetFileSecurityW(path_.c_str(),
                                   DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION,
                                   &access) != FALSE;
    }
    ~WriteProtected() {
        Lift();
    }
    WriteProtected(const WriteProtected&) = delete;
    WriteProtected& operator=(const WriteProtected&) = delete;

    [[nodiscard]] bool Made() const {
        return made_;
    }
    void Lift() {
        if (made_) {
            ::SetFileSecurityW(path_.c_str(), DACL_SECURITY_INFORMATION, formerAccess_.data());
            made_ = false;
        }
    }

private:
    fs::path path_;
    std::vector<std::byte> formerAccess_;
    bool made_ = false;
};

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
    bench::WriteFile(InPackage(L"a.pak"), "new");
    bench::WriteFile(InClient(L"a.pak"), "old and longer");
    MappedFile mapped(InClient(L"a.pak"));
    ASSERT_TRUE(mapped.Mapped());
    EXPECT_FALSE(Repair());
    ExpectFailureOf(L"a.pak");
    EXPECT_EQ(bench::ReadFile(InClient(L"a.pak")), "old and longer");
    ExpectCompleteOrReported(Reinstall(), L"a.pak");
    mapped.Unmap();
    EXPECT_TRUE(Repair());
    ExpectComplete();
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
    bench::WriteFile(InPackage(L"a.dat"), "new");
    bench::WriteFile(InClient(L"a.dat"), "old");
    WriteProtected protection(InClient(L"a.dat"));
    ASSERT_TRUE(protection.Made());
    EXPECT_FALSE(Repair());
    ExpectFailureOf(L"a.dat");
    EXPECT_EQ(bench::ReadFile(InClient(L"a.dat")), "old");
    ExpectCompleteOrReported(Reinstall(), L"a.dat");
    protection.Lift();
    EXPECT_TRUE(Repair());
    ExpectComplete();
}

TEST_F(StubbornTargets, AFolderWithoutWriteAccessFailsAtItsMissingFile) {
    WriteToBoth(L"data\\good.dat", "good");
    bench::WriteFile(InPackage(L"data\\missing.dat"), "new");
    bench::WriteFile(InClient(L"data\\save.dat"), "mine");
    WriteProtected protection(InClient(L"data"));
    ASSERT_TRUE(protection.Made());
    EXPECT_FALSE(Repair());
    ExpectFailureOf(L"data\\missing.dat");
    EXPECT_THAT(bench::FolderListing(InClient(L"data")), ElementsAre(L"good.dat", L"save.dat"));
    protection.Lift();
    EXPECT_TRUE(Repair());
    ExpectComplete();
}

TEST_F(StubbornTargets, AReinstallOverAFolderWithoutWriteAccessIsCompleteOrReported) {
    bench::WriteFile(InPackage(L"data\\a.dat"), "new");
    bench::WriteFile(InClient(L"data\\a.dat"), "old");
    const WriteProtected protection(InClient(L"data"));
    ASSERT_TRUE(protection.Made());
    ExpectCompleteOrReported(Reinstall(), L"data\\a.dat");
}

}  // namespace
