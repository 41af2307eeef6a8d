// Real packages, unpacked by a real program into real folders.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "bench_parts/package_contents.h"
#include "bench_parts/unpacker_machine.h"
#include "extract/archive_extraction.h"
#include "job/progress/job_progress.h"

namespace {

using bench::Contents;
using bench::UnpackerMachine;

enum class Unpacker { Tar, PowerShell, SevenZip };

// A copy of the package, under a name as the download gives it, with blanks and quotes in its path.
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

struct Case {
    const wchar_t* package;
    Unpacker unpacker;
    const wchar_t* loneFolder = L"";  // The one folder that the package holds.
};

// What Google Test prints of it.
void PrintTo(Unpacker unpacker, std::ostream* out) {
    const char* const names[] = {"tar", "powershell", "seven_zip"};
    *out << names[static_cast<size_t>(unpacker)];
}

void PrintTo(const Case& value, std::ostream* out) {
    *out << std::filesystem::path(value.package).string() << " by ";
    PrintTo(value.unpacker, out);
}

class RealPackage : public testing::TestWithParam<Case> {};

TEST_P(RealPackage, IsUnpackedInEveryByte) {
    const UnpackerMachine machine;
    PutUnpacker(machine, GetParam().unpacker);
    const std::filesystem::path package = PutPackage(machine, GetParam().package);

    ASSERT_TRUE(ExtractPackage(package, machine.StagingFolder())) << snapshot().errorMessage;

    const std::wstring loneFolder = GetParam().loneFolder;
    const Contents all = bench::PackageContents(GetParam().package);
    EXPECT_EQ(bench::FirstDifference(loneFolder.empty() ? all : bench::Below(loneFolder, all),
                                     bench::FolderContents(machine.StagingFolder())),
              "");
}

std::string UnpackerName(const testing::TestParamInfo<Unpacker>& unpacker) {
    return testing::PrintToString(unpacker.param);
}

// A file name without its extension, as a part of a test's name.
std::string BaseName(const testing::TestParamInfo<const wchar_t*>& fileName) {
    return std::filesystem::path(fileName.param).stem().string();
}

std::string CaseName(const testing::TestParamInfo<Case>& value) {
    return BaseName({value.param.package, value.index}) + "_by_" +
           UnpackerName({value.param.unpacker, value.index});
}

INSTANTIATE_TEST_SUITE_P(
    Each, RealPackage,
    testing::Values(Case{L"zip_stored.zip", Unpacker::Tar},
                    Case{L"zip_deflated.zip", Unpacker::Tar}, Case{L"zip_64.zip", Unpacker::Tar},
                    Case{L"zip_unicode.zip", Unpacker::Tar}, Case{L"zip_many.zip", Unpacker::Tar},
                    Case{L"zip_lone_folder.zip", Unpacker::Tar, L"Client"},
                    Case{L"zip_deflated.zip", Unpacker::PowerShell},
                    Case{L"zip_unicode.zip", Unpacker::PowerShell},
                    Case{L"zip_lone_folder.zip", Unpacker::PowerShell, L"Client"},
                    Case{L"rar4_plain.rar", Unpacker::SevenZip},
                    Case{L"rar4_unicode.rar", Unpacker::SevenZip},
                    Case{L"rar4_lone_folder.rar", Unpacker::SevenZip, L"Client"},
                    Case{L"rar5_plain.rar", Unpacker::SevenZip},
                    Case{L"rar5_unicode.rar", Unpacker::SevenZip},
                    Case{L"rar5_lone_folder.rar", Unpacker::SevenZip, L"Client"}),
    CaseName);

// Quotes, blanks and letters of many alphabets in the folder to unpack into.
class OddStagingFolder : public testing::TestWithParam<Unpacker> {};

TEST_P(OddStagingFolder, TakesThePackage) {
    const UnpackerMachine machine;
    PutUnpacker(machine, GetParam());
    const std::wstring fileName =
        GetParam() == Unpacker::SevenZip ? L"rar5_plain.rar" : L"zip_deflated.zip";
    const std::filesystem::path staging =
        machine.Root() / L"O'Brien''s Spiele" / L"\u00fcb\u8aad & (1) %TEMP% $x";

    ASSERT_TRUE(ExtractPackage(PutPackage(machine, fileName), staging)) << snapshot().errorMessage;

    EXPECT_EQ(
        bench::FirstDifference(bench::PackageContents(fileName), bench::FolderContents(staging)),
        "");
}

INSTANTIATE_TEST_SUITE_P(Each, OddStagingFolder,
                         testing::Values(Unpacker::Tar, Unpacker::PowerShell, Unpacker::SevenZip),
                         UnpackerName);

TEST(UnpackingRealPackages, ReplacesWhatAFormerAttemptLeft) {
    const UnpackerMachine machine;
    machine.PutTar();
    bench::WriteFile(machine.StagingFolder() / L"readme.txt", "half of an earl");

    ASSERT_TRUE(ExtractPackage(PutPackage(machine, L"zip_deflated.zip"), machine.StagingFolder()));

    EXPECT_EQ(bench::FirstDifference(bench::PackageContents(L"zip_deflated.zip"),
                                     bench::FolderContents(machine.StagingFolder())),
              "");
}

TEST(UnpackingRealPackages, GoesOnWithTheNextProgramWhenOneFails) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.ToolFolder() / L"unrar.exe", "exit 3");
    machine.PutSevenZip(machine.ToolFolder() / L"7z.exe");
    ASSERT_TRUE(ExtractPackage(PutPackage(machine, L"rar5_plain.rar"), machine.StagingFolder()));
    EXPECT_EQ(bench::FirstDifference(bench::PackageContents(L"rar5_plain.rar"),
                                     bench::FolderContents(machine.StagingFolder())),
              "");
}

TEST(UnpackingRealPackages, FailsForALoneFolderWithAnEntryOfItsName) {
    const UnpackerMachine machine;
    machine.PutTar();
    EXPECT_FALSE(ExtractPackage(PutPackage(machine, L"zip_own_name.zip"), machine.StagingFolder()));
    EXPECT_EQ(snapshot().errorMessage, L"Could not move extracted client files into place.");
}

TEST(UnpackingRealPackages, FailsWithoutAStagingFolder) {
    const UnpackerMachine machine;
    machine.PutTar();
    machine.PutPowerShell();
    // Where a file is, no folder can be created.
    bench::WriteFile(machine.StagingFolder(), "in the way");
    EXPECT_FALSE(ExtractPackage(PutPackage(machine, L"zip_deflated.zip"), machine.StagingFolder()));
    EXPECT_THAT(snapshot().errorMessage, testing::StartsWith(L"ZIP extraction failed."));
    EXPECT_EQ(bench::ReadFile(machine.StagingFolder()), "in the way");
}

TEST(UnpackingRealPackages, FailsWhenPowerShellFailsToo) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "exit 1");
    machine.PutPowerShell();
    const bench::EnvironmentVariable failure(L"BENCH_POWERSHELL_EXIT", L"5");
    EXPECT_FALSE(ExtractPackage(PutPackage(machine, L"zip_deflated.zip"), machine.StagingFolder()));
    EXPECT_THAT(snapshot().errorMessage, testing::StartsWith(L"ZIP extraction failed."));
    EXPECT_THAT(bench::FolderListing(machine.StagingFolder()), testing::IsEmpty());
}

class BrokenPackage : public testing::TestWithParam<const wchar_t*> {};

TEST_P(BrokenPackage, FailsWithAMessageAndKeepsWhatWasUnpacked) {
    const UnpackerMachine machine;
    const std::wstring fileName = GetParam();
    const bool isRar = fileName.ends_with(L".rar");
    machine.PutTar();
    machine.PutPowerShell();
    if (isRar) {
        machine.PutSevenZip(machine.ToolFolder() / L"7z.exe");
    }

    EXPECT_FALSE(ExtractPackage(PutPackage(machine, fileName), machine.StagingFolder()));

    EXPECT_THAT(snapshot().errorMessage,
                testing::StartsWith(isRar ? L"RAR extraction failed with 7z.exe exit code 2."
                                          : L"ZIP extraction failed."));
    // The file before the broken place was good. A ZIP's list of files is at its end.
    if (fileName != L"zip_truncated.zip") {
        EXPECT_EQ(bench::ReadFile(machine.StagingFolder() / L"first.dat"), "first");
    }
}

INSTANTIATE_TEST_SUITE_P(Each, BrokenPackage,
                         testing::Values(L"zip_damaged.zip", L"zip_truncated.zip",
                                         L"rar4_damaged.rar", L"rar4_truncated.rar",
                                         L"rar5_damaged.rar", L"rar5_truncated.rar"),
                         BaseName);

}  // namespace
