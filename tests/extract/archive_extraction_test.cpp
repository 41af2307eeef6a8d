#include "extract/archive_extraction.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "bench_parts/import_hook.h"
#include "bench_parts/skipping.h"
#include "bench_parts/unpacker_machine.h"
#include "job/progress/job_progress.h"

namespace {

using bench::ImportHook;
using bench::ProgramRun;
using bench::UnpackerMachine;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::string_view kZipStart("PK\x03\x04 and so on");
constexpr std::string_view kRarStart("Rar!\x1a\x07\x01\x00 and so on", 18);

constexpr wchar_t kNotAnArchive[] =
    L"The downloaded package is not a valid ZIP or RAR archive.\nCheck that the CDN URL points "
    L"directly to the client .zip/.rar file, not an installer EXE or website page.";
constexpr wchar_t kNoRarProgram[] =
    L"RAR repair needs WinRAR, UnRAR, or 7-Zip. Install one of them or place unrar.exe/7z.exe "
    L"beside this tool.";
constexpr wchar_t kZipFailed[] =
    L"ZIP extraction failed.\nCheck that the downloaded package is a complete .zip archive and "
    L"that you have permission to write to the install folder.";

std::wstring RarFailed(const std::wstring& nameAndCode) {
    return L"RAR extraction failed with " + nameAndCode +
           L".\nCheck that the CDN file is a complete, non-password-protected .rar archive. If it "
           L"still fails, install 7-Zip or place 7z.exe beside this tool.";
}

std::filesystem::path PutArchive(const UnpackerMachine& machine, std::string_view bytes) {
    std::filesystem::path archive = machine.Root() / L"the package.bin";
    bench::WriteFile(archive, bytes);
    return archive;
}

// The failure message; empty when none was reported.
std::wstring ExtractAndGetMessage(const UnpackerMachine& machine, std::string_view archiveBytes) {
    EXPECT_FALSE(ExtractPackage(PutArchive(machine, archiveBytes), machine.StagingFolder()));
    return snapshot().errorMessage;
}

std::vector<std::wstring> StartedPrograms(const UnpackerMachine& machine) {
    const std::vector<ProgramRun> runs = machine.Runs();
    std::vector<std::wstring> programs(runs.size());
    std::transform(runs.begin(), runs.end(), programs.begin(),
                   [](const ProgramRun& run) { return run.program; });
    return programs;
}

TEST(ExtractPackage, RefusesWhatIsNoArchive) {
    for (const std::string_view bytes : {std::string_view("<html><body>Not found</body></html>"),
                                         std::string_view("PK\x03"), std::string_view("")}) {
        const UnpackerMachine machine;
        machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "");
        machine.PutRecorder(machine.ToolFolder() / L"7z.exe", "");
        EXPECT_EQ(ExtractAndGetMessage(machine, bytes), kNotAnArchive);
        EXPECT_THAT(StartedPrograms(machine), IsEmpty());
    }
}

TEST(ExtractPackage, RefusesAMissingFile) {
    const UnpackerMachine machine;
    EXPECT_FALSE(ExtractPackage(machine.Root() / L"missing.zip", machine.StagingFolder()));
    const JobState state = snapshot();
    EXPECT_EQ(state.errorMessage, kNotAnArchive);
    EXPECT_EQ(state.detailLine, kNotAnArchive);
    EXPECT_EQ(state.statusLine, L"Repair failed.");
    EXPECT_EQ(state.stage, JobStage::Failed);
}

TEST(ExtractPackage, GoesByTheContentAndNotByTheName) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "");
    const std::filesystem::path archive = machine.Root() / L"package.rar";
    bench::WriteFile(archive, kZipStart);
    EXPECT_TRUE(ExtractPackage(archive, machine.StagingFolder()));
    EXPECT_THAT(StartedPrograms(machine),
                ElementsAre((machine.CurrentFolder() / L"tar.exe").native()));
}

TEST(ExtractPackage, CreatesTheStagingFolderWithItsParents) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "");
    const std::filesystem::path staging = machine.Root() / L"a" / L"b" / L"staging";
    EXPECT_TRUE(ExtractPackage(PutArchive(machine, kZipStart), staging));
    EXPECT_THAT(bench::FolderListing(machine.Root() / L"a"), ElementsAre(L"b/", L"b/staging/"));
}

TEST(ExtractPackage, CreatesTheStagingFolderAlsoForWhatIsNoArchive) {
    const UnpackerMachine machine;
    ExtractAndGetMessage(machine, "no archive");
    EXPECT_TRUE(std::filesystem::is_directory(machine.StagingFolder()));
}

TEST(ExtractPackage, KeepsWhatIsInTheStagingFolder) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "");
    bench::WriteFile(machine.StagingFolder() / L"old.dat", "old");
    EXPECT_TRUE(ExtractPackage(PutArchive(machine, kZipStart), machine.StagingFolder()));
    EXPECT_EQ(bench::ReadFile(machine.StagingFolder() / L"old.dat"), "old");
}

TEST(ExtractPackage, LiftsALoneFolderAfterUnpacking) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "");
    bench::WriteFile(machine.StagingFolder() / L"Client" / L"a.dat", "a");
    EXPECT_TRUE(ExtractPackage(PutArchive(machine, kZipStart), machine.StagingFolder()));
    EXPECT_THAT(bench::FolderListing(machine.StagingFolder()), ElementsAre(L"a.dat"));
}

TEST(ExtractPackage, LiftsNothingAfterAFailure) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "exit 1");
    machine.PutRecorder(machine.CurrentFolder() / L"powershell.exe", "exit 1");
    bench::WriteFile(machine.StagingFolder() / L"Client" / L"a.dat", "a");
    EXPECT_EQ(ExtractAndGetMessage(machine, kZipStart), kZipFailed);
    EXPECT_THAT(bench::FolderListing(machine.StagingFolder()),
                ElementsAre(L"Client/", L"Client/a.dat"));
}

TEST(ExtractPackage, FailsWithTheFlatteningsMessage) {
    for (const bool isZip : {true, false}) {
        const UnpackerMachine machine;
        machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "");
        machine.PutRecorder(machine.ToolFolder() / L"7z.exe", "");
        bench::WriteFile(machine.StagingFolder() / L"Client" / L"Client" / L"a.dat", "a");
        EXPECT_EQ(ExtractAndGetMessage(machine, isZip ? kZipStart : kRarStart),
                  L"Could not move extracted client files into place.");
    }
}

TEST(ExtractPackage, UnpacksAZipWithTarAlone) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "exit 0");
    machine.PutRecorder(machine.CurrentFolder() / L"powershell.exe", "exit 0");
    const std::filesystem::path archive = PutArchive(machine, kZipStart);

    EXPECT_TRUE(ExtractPackage(archive, machine.StagingFolder()));

    const std::vector<ProgramRun> runs = machine.Runs();
    ASSERT_EQ(runs.size(), 1u);
    EXPECT_EQ(runs[0].commandLine, L"tar.exe -xf \"" + archive.native() + L"\" -C \"" +
                                       machine.StagingFolder().native() + L"\"");
    EXPECT_EQ(runs[0].show, "0");
    EXPECT_FALSE(jobProgress.failed);
    EXPECT_EQ(snapshot().errorMessage, L"");
}

TEST(ExtractPackage, FindsTarOnTheSearchPath) {
    const UnpackerMachine machine;
    const std::filesystem::path tar = machine.SearchFolder() / L"tar.exe";
    machine.PutRecorder(tar, "exit 0");
    SKIP_ON_WINDOWS_WITHOUT(SearchProgramPath(L"tar.exe") == tar.native(),
                            "a system without a tar.exe of its own");
    EXPECT_TRUE(ExtractPackage(PutArchive(machine, kZipStart), machine.StagingFolder()));
    EXPECT_THAT(StartedPrograms(machine), ElementsAre(tar.native()));
}

TEST(ExtractPackage, FallsBackToPowerShellWhenTarFails) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "exit 1");
    machine.PutRecorder(machine.CurrentFolder() / L"powershell.exe", "exit 0");
    const std::filesystem::path archive = PutArchive(machine, kZipStart);

    EXPECT_TRUE(ExtractPackage(archive, machine.StagingFolder()));

    const std::vector<ProgramRun> runs = machine.Runs();
    ASSERT_EQ(runs.size(), 2u);
    EXPECT_EQ(runs[1].commandLine,
              L"powershell.exe -NoProfile -ExecutionPolicy Bypass -Command \"Expand-Archive "
              L"-LiteralPath '" +
                  archive.native() + L"' -DestinationPath '" + machine.StagingFolder().native() +
                  L"' -Force\"");
    EXPECT_EQ(runs[1].show, "0");
    EXPECT_FALSE(jobProgress.failed);
}

TEST(ExtractPackage, FallsBackToPowerShellWhenTarCannotBeStarted) {
    const UnpackerMachine machine;
    machine.PutUnstartable(machine.CurrentFolder() / L"tar.exe");
    machine.PutRecorder(machine.CurrentFolder() / L"powershell.exe", "exit 0");
    EXPECT_TRUE(ExtractPackage(PutArchive(machine, kZipStart), machine.StagingFolder()));
    EXPECT_FALSE(jobProgress.failed);
}

TEST(ExtractPackage, ReportsAZipThatNeitherProgramUnpacks) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "exit 1");
    machine.PutRecorder(machine.CurrentFolder() / L"powershell.exe", "exit 5");
    EXPECT_EQ(ExtractAndGetMessage(machine, kZipStart), kZipFailed);
    EXPECT_TRUE(jobProgress.failed);
}

TEST(ExtractPackage, ReportsAZipForWhichNoProgramCanBeStarted) {
    const UnpackerMachine machine;
    machine.PutUnstartable(machine.CurrentFolder() / L"tar.exe");
    machine.PutUnstartable(machine.CurrentFolder() / L"powershell.exe");
    EXPECT_EQ(ExtractAndGetMessage(machine, kZipStart), kZipFailed);
}

TEST(ExtractPackage, NeedsARarProgramForARar) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "");
    EXPECT_EQ(ExtractAndGetMessage(machine, kRarStart), kNoRarProgram);
    EXPECT_THAT(StartedPrograms(machine), IsEmpty());
}

TEST(ExtractPackage, TriesRarProgramsInOrderUntilOneSucceeds) {
    const UnpackerMachine machine;
    const std::filesystem::path unrar = machine.ToolFolder() / L"unrar.exe";
    const std::filesystem::path winrar = machine.ProgramFolder64() / L"WinRAR" / L"WinRAR.exe";
    const std::filesystem::path sevenZip = machine.ProgramFolder32() / L"7-Zip" / L"7z.exe";
    machine.PutRecorder(unrar, "exit 3");
    machine.PutRecorder(winrar, "exit 10");
    machine.PutRecorder(sevenZip, "exit 0");
    machine.PutRecorder(machine.SearchFolder() / L"7za.exe", "exit 0");

    EXPECT_TRUE(ExtractPackage(PutArchive(machine, kRarStart), machine.StagingFolder()));

    EXPECT_THAT(StartedPrograms(machine),
                ElementsAre(unrar.native(), winrar.native(), sevenZip.native()));
    EXPECT_FALSE(jobProgress.failed);
    EXPECT_EQ(snapshot().errorMessage, L"");
}

TEST(ExtractPackage, StartsEachRarProgramWithItsArgumentsToTheLetter) {
    const UnpackerMachine machine;
    const std::filesystem::path unrar = machine.ToolFolder() / L"unrar.exe";
    const std::filesystem::path winrar = machine.SearchFolder() / L"WinRAR.exe";
    const std::filesystem::path sevenZip = machine.ToolFolder() / L"7z.exe";
    for (const auto& program : {unrar, winrar, sevenZip}) {
        machine.PutRecorder(program, "exit 1");
    }
    const std::filesystem::path archive = PutArchive(machine, kRarStart);
    const std::filesystem::path staging = machine.Root() / L"O'Brien's \u00fcb\u8aad (1)";

    EXPECT_FALSE(ExtractPackage(archive, staging));

    const std::vector<ProgramRun> runs = machine.Runs();
    ASSERT_EQ(runs.size(), 3u);
    EXPECT_EQ(runs[0].commandLine, L"\"" + unrar.native() + L"\" x -o+ \"" + archive.native() +
                                       L"\" \"" + staging.native() + L"\\\"");
    EXPECT_EQ(runs[1].commandLine, L"\"" + winrar.native() + L"\" x -ibck -o+ \"" +
                                       archive.native() + L"\" \"" + staging.native() + L"\\\"");
    EXPECT_EQ(runs[2].commandLine, L"\"" + sevenZip.native() + L"\" x -y -o\"" + staging.native() +
                                       L"\" \"" + archive.native() + L"\"");
    for (const ProgramRun& run : runs) {
        EXPECT_EQ(run.show, "0");
        EXPECT_EQ(run.currentFolder, machine.CurrentFolder().native());
    }
}

TEST(ExtractPackage, NamesTheLastRarProgramAndItsExitCode) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.ToolFolder() / L"unrar.exe", "exit 3");
    machine.PutRecorder(machine.ToolFolder() / L"7za.exe", "exit 4294967294");
    EXPECT_EQ(ExtractAndGetMessage(machine, kRarStart), RarFailed(L"7za.exe exit code 4294967294"));
}

TEST(ExtractPackage, NamesALastRarProgramThatCannotBeStarted) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.ToolFolder() / L"unrar.exe", "exit 3");
    machine.PutUnstartable(machine.ProgramFolder64() / L"7-Zip" / L"7z.exe");
    EXPECT_EQ(ExtractAndGetMessage(machine, kRarStart), RarFailed(L"7z.exe exit code 4294967295"));
}

TEST(ExtractPackage, ShowsNothingOfAnEarlierProgramThatCannotBeStarted) {
    const UnpackerMachine machine;
    machine.PutUnstartable(machine.ToolFolder() / L"unrar.exe");
    machine.PutRecorder(machine.ToolFolder() / L"7z.exe", "exit 2");
    EXPECT_EQ(ExtractAndGetMessage(machine, kRarStart), RarFailed(L"7z.exe exit code 2"));
}

// The texts on screen at the moment when each program is started.
std::vector<std::wstring> textsAtStart;
decltype(&::CreateProcessW) realCreateProcess;

BOOL WINAPI NoteTextsAndStart(LPCWSTR application, LPWSTR commandLine,
                              LPSECURITY_ATTRIBUTES processAttributes,
                              LPSECURITY_ATTRIBUTES threadAttributes, BOOL inherit, DWORD flags,
                              LPVOID environment, LPCWSTR folder, LPSTARTUPINFOW startup,
                              LPPROCESS_INFORMATION started) {
    const JobState state = snapshot();
    textsAtStart.push_back(std::to_wstring(static_cast<uint32_t>(state.stage)) + L"|" +
                           state.statusLine + L"|" + state.detailLine);
    return realCreateProcess(application, commandLine, processAttributes, threadAttributes, inherit,
                             flags, environment, folder, startup, started);
}

std::vector<std::wstring> TextsAtStarts(const UnpackerMachine& machine, std::string_view bytes) {
    const ImportHook hook(L"kernel32.dll", "CreateProcessW",
                          reinterpret_cast<void*>(&NoteTextsAndStart));
    EXPECT_TRUE(hook.Installed());
    realCreateProcess = hook.Original<decltype(&::CreateProcessW)>();
    textsAtStart.clear();
    reportStage(JobStage::VerifyingPackage, L"headline", L"detail");
    ExtractPackage(PutArchive(machine, bytes), machine.StagingFolder());
    return textsAtStart;
}

TEST(ExtractPackage, NamesEachRarProgramOnScreenBeforeItsStart) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.ToolFolder() / L"unrar.exe", "exit 1");
    machine.PutUnstartable(machine.ToolFolder() / L"7z.exe");
    machine.PutRecorder(machine.ToolFolder() / L"7za.exe", "exit 0");
    EXPECT_THAT(TextsAtStarts(machine, kRarStart),
                ElementsAre(L"3|Extracting package...|Extracting with unrar.exe...",
                            L"3|Extracting package...|Extracting with 7z.exe...",
                            L"3|Extracting package...|Extracting with 7za.exe..."));
    // What the running program put in its place.
    EXPECT_EQ(snapshot().detailLine, L"Preparing client files for repair...");
}

TEST(ExtractPackage, NamesNoProgramOnScreenForAZip) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "exit 1");
    machine.PutRecorder(machine.CurrentFolder() / L"powershell.exe", "exit 0");
    EXPECT_THAT(TextsAtStarts(machine, kZipStart),
                ElementsAre(L"3|Extracting package...|Preparing client files for repair...",
                            L"3|Extracting package...|Preparing client files for repair..."));
    EXPECT_EQ(snapshot().detailLine, L"Preparing client files for repair...");
}

}  // namespace
