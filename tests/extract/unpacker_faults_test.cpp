// Unpacking programs that do not do their work, and packages that they cannot do it for.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <optional>
#include <string>

#include "bench_parts/package_contents.h"
#include "bench_parts/unpacker_machine.h"
#include "bench_parts/waiting.h"
#include "extract/archive_extraction.h"
#include "job/progress/job_progress.h"

namespace {

using bench::UnpackerMachine;

constexpr wchar_t kZipFailed[] =
    L"ZIP extraction failed.\nCheck that the downloaded package is a complete .zip archive and "
    L"that you have permission to write to the install folder.";

// A copy of the package beside the staging folder.
std::filesystem::path PutPackage(const UnpackerMachine& machine, const std::wstring& package,
                                 const std::wstring& fileName) {
    std::filesystem::path copy = machine.Root() / fileName;
    bench::WriteFile(copy, bench::ReadFile(bench::PackagePath(package)));
    return copy;
}

void ExpectUnpacked(const UnpackerMachine& machine, const std::wstring& package) {
    EXPECT_EQ(bench::FirstDifference(bench::PackageContents(package),
                                     bench::FolderContents(machine.StagingFolder())),
              "");
}

TEST(UnpackerFaults, ProgramBelowTheCurrentFolderUnpacks) {
    const UnpackerMachine machine;
    const bench::EnvironmentVariable programs64(L"ProgramFiles", std::nullopt);
    const bench::EnvironmentVariable programs32(L"ProgramFiles(x86)", std::nullopt);
    machine.PutRecorder(machine.CurrentFolder() / L"WinRAR" / L"UnRAR.exe", "exit 1");
    machine.PutSevenZip(machine.CurrentFolder() / L"7-Zip" / L"7z.exe");
    const auto package = PutPackage(machine, L"rar5_plain.rar", L"package.rar");
    EXPECT_TRUE(ExtractPackage(package, machine.StagingFolder())) << snapshot().errorMessage;
    ExpectUnpacked(machine, L"rar5_plain.rar");
    EXPECT_THAT(machine.AwaitRuns(1).front().commandLine,
                testing::StartsWith(L"\"WinRAR\\UnRAR.exe\" x -o+ "));
}

// The program asks for the password on an invisible console.
TEST(UnpackerFaults, PasswordIsWaitedForUntilTheToolIsClosed) {
    const UnpackerMachine machine;
    machine.PutTar();
    machine.PutPowerShell();
    const auto package = PutPackage(machine, L"zip_password.zip", L"package.zip");
    auto extraction = std::async(std::launch::async,
                                 [&] { return ExtractPackage(package, machine.StagingFolder()); });
    // The file is created before its password is asked for.
    EXPECT_TRUE(bench::Await(
        [&] { return std::filesystem::exists(machine.StagingFolder() / L"secret.dat"); }));
    requestCancel();
    EXPECT_FALSE(extraction.get());
    EXPECT_EQ(snapshot().errorMessage, kZipFailed);
    // The program has ended with its parent, and so holds nothing any more.
    EXPECT_TRUE(bench::Await(
        [&] { return ::DeleteFileW((machine.StagingFolder() / L"secret.dat").c_str()) != FALSE; }));
}

// PowerShell takes no file of that name, so a ZIP in it has tar.exe alone.
TEST(UnpackerFaults, ZipNamedRarFailsAloudWhenTarFails) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "exit 1");
    machine.PutPowerShell();
    machine.PutSevenZip(machine.ToolFolder() / L"7z.exe");
    const auto package = PutPackage(machine, L"zip_deflated.zip", L"package.rar");
    EXPECT_FALSE(ExtractPackage(package, machine.StagingFolder()));
    EXPECT_EQ(snapshot().errorMessage, kZipFailed);
    EXPECT_THAT(bench::FolderListing(machine.StagingFolder()), testing::IsEmpty());
}

TEST(UnpackerFaults, NextRarProgramReplacesWhatAFailedOneLeft) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.ToolFolder() / L"unrar.exe",
                        "leave readme.txt leave data/maps/b.map exit 3");
    machine.PutSevenZip(machine.ToolFolder() / L"7z.exe");
    const auto package = PutPackage(machine, L"rar5_plain.rar", L"package.rar");
    EXPECT_TRUE(ExtractPackage(package, machine.StagingFolder()));
    EXPECT_EQ(machine.Runs().size(), 1U);
    ExpectUnpacked(machine, L"rar5_plain.rar");
}

TEST(UnpackerFaults, PowerShellReplacesWhatTarLeft) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.CurrentFolder() / L"tar.exe",
                        "leave readme.txt leave data/maps/b.map exit 1");
    machine.PutPowerShell();
    const auto package = PutPackage(machine, L"zip_deflated.zip", L"package.zip");
    EXPECT_TRUE(ExtractPackage(package, machine.StagingFolder()));
    EXPECT_EQ(machine.Runs().size(), 1U);
    ExpectUnpacked(machine, L"zip_deflated.zip");
}

}  // namespace
