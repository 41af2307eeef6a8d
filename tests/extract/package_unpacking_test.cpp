// Real packages, unpacked by a real program into real folders.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bench_parts/package_contents.h"
#include "bench_parts/unpacker_machine.h"
#include "bench_parts/waiting.h"
#include "extract/archive_extraction.h"
#include "extract/extraction_samples.h"
#include "job/progress/job_progress.h"

namespace {

using bench::Contents;
using bench::UnpackerMachine;

enum class Unpacker { Tar, PowerShell, SevenZip };

// A copy of the package in a folder with blanks and quotes.
std::filesystem::path PutPackage(const UnpackerMachine& machine, const std::wstring& fileName) {
    const std::filesystem::path folder = machine.Root() / L"O'Brien's T\u00e9mp";
    std::filesystem::create_directories(folder);
    std::filesystem::path package = folder / fileName;
    bench::WriteFile(package, bench::ReadFile(bench::PackagePath(fileName)));
    return package;
}

void PutUnpacker(const UnpackerMachine& machine, Unpacker unpacker) {
    switch (unpacker) {
        case Unpacker::Tar:
            machine.PutTar();
            machine.PutRecorder(machine.CurrentFolder() / L"powershell.exe", "exit 1");
            return;
        case Unpacker::PowerShell:
            machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "exit 1");
            machine.PutPowerShell();
            return;
        case Unpacker::SevenZip:
            machine.PutSevenZip(machine.ProgramFolder64() / L"7-Zip" / L"7z.exe");
            return;
    }
}

void ExpectUnpacked(const std::wstring& package, const std::filesystem::path& folder) {
    EXPECT_EQ(
        bench::FirstDifference(bench::PackageContents(package), bench::FolderContents(folder)), "");
}

// Unpacks the packages into a folder with quotes, blanks and letters of several alphabets.
void ExpectEachUnpackedBy(Unpacker unpacker, const std::vector<std::wstring>& packages) {
    for (const std::wstring& package : packages) {
        SCOPED_TRACE(testing::PrintToString(package));
        const UnpackerMachine machine;
        PutUnpacker(machine, unpacker);
        const std::filesystem::path staging =
            machine.Root() / L"O'Brien''s Spiele" / L"\u00fcb\u8aad & (1) %TEMP% $x";

        EXPECT_TRUE(ExtractPackage(PutPackage(machine, package), staging))
            << snapshot().errorMessage;

        const bool hasLoneFolder = package.find(L"lone_folder") != std::wstring::npos;
        const Contents all = bench::PackageContents(package);
        EXPECT_EQ(bench::FirstDifference(hasLoneFolder ? bench::Below(L"Client", all) : all,
                                         bench::FolderContents(staging)),
                  "");
    }
}

TEST(RealPackages, AreUnpackedByTar) {
    ExpectEachUnpackedBy(Unpacker::Tar,
                         {L"zip_unicode.zip", L"zip_lone_folder.zip", L"zip_many.zip"});
}

TEST(RealPackages, AreUnpackedByPowerShell) {
    ExpectEachUnpackedBy(Unpacker::PowerShell, {L"zip_unicode.zip", L"zip_lone_folder.zip"});
}

TEST(RealPackages, AreUnpackedByARarProgram) {
    ExpectEachUnpackedBy(Unpacker::SevenZip, {L"rar5_unicode.rar", L"rar5_lone_folder.rar"});
}

TEST(RealPackages, AreUnpackedOverWhatAFailedProgramLeft) {
    constexpr char kLeave[] = "leave readme.txt leave data/maps/b.map exit 1";
    {
        const UnpackerMachine machine;
        machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", kLeave);
        machine.PutPowerShell();
        EXPECT_TRUE(
            ExtractPackage(PutPackage(machine, L"zip_deflated.zip"), machine.StagingFolder()));
        EXPECT_EQ(machine.Runs().size(), 1U);
        ExpectUnpacked(L"zip_deflated.zip", machine.StagingFolder());
    }
    const UnpackerMachine machine;
    machine.PutRecorder(machine.ToolFolder() / L"unrar.exe", kLeave);
    machine.PutSevenZip(machine.ToolFolder() / L"7z.exe");
    EXPECT_TRUE(ExtractPackage(PutPackage(machine, L"rar5_plain.rar"), machine.StagingFolder()));
    EXPECT_EQ(machine.Runs().size(), 1U);
    ExpectUnpacked(L"rar5_plain.rar", machine.StagingFolder());
}

// The program asks for the password on an invisible console.
TEST(RealPackages, WithAPasswordWaitUntilTheToolIsClosed) {
    const UnpackerMachine machine;
    machine.PutTar();
    machine.PutPowerShell();
    const std::filesystem::path package = PutPackage(machine, L"zip_password.zip");
    const std::filesystem::path secret = machine.StagingFolder() / L"secret.dat";
    auto extraction = std::async(std::launch::async,
                                 [&] { return ExtractPackage(package, machine.StagingFolder()); });
    // The file is created before its password is asked for.
    EXPECT_TRUE(bench::Await([&] { return std::filesystem::exists(secret); }));
    requestCancel();
    EXPECT_FALSE(extraction.get());
    EXPECT_EQ(snapshot().errorMessage, bench::kZipFailed);
    // The program has ended with its parent and no longer holds the file.
    EXPECT_TRUE(bench::Await([&] { return ::DeleteFileW(secret.c_str()) != FALSE; }));
}

TEST(RealPackages, FailWithoutAStagingFolder) {
    const UnpackerMachine machine;
    machine.PutTar();
    machine.PutPowerShell();
    // No folder can be created in place of a file.
    bench::WriteFile(machine.StagingFolder(), "in the way");
    EXPECT_FALSE(ExtractPackage(PutPackage(machine, L"zip_deflated.zip"), machine.StagingFolder()));
    EXPECT_EQ(snapshot().errorMessage, bench::kZipFailed);
    EXPECT_EQ(bench::ReadFile(machine.StagingFolder()), "in the way");
}

}  // namespace
