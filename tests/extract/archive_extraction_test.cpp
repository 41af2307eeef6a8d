#include "extract/archive_extraction.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "bench_parts/call_hook.h"
#include "bench_parts/unpacker_machine.h"
#include "extract/extraction_samples.h"
#include "job/progress/job_progress.h"

namespace {

using bench::kRarStart;
using bench::kZipStart;
using bench::ProgramRun;
using bench::RarFailed;
using bench::UnpackerMachine;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr wchar_t kPreparing[] = L"3|Extracting package...|Preparing client files for repair...";

std::filesystem::path PutArchive(const UnpackerMachine& machine, std::string_view bytes) {
    std::filesystem::path archive = machine.Root() / L"the package.bin";
    bench::WriteFile(archive, bytes);
    return archive;
}

// The failure message; empty when none was reported.
std::wstring MessageOfExtraction(const UnpackerMachine& machine, std::string_view archiveBytes) {
    const bool succeeded =
        ExtractPackage(PutArchive(machine, archiveBytes), machine.StagingFolder());
    std::wstring message = snapshot().errorMessage;
    EXPECT_EQ(succeeded, message.empty());
    EXPECT_EQ(jobProgress.failed, !succeeded);
    return message;
}

std::vector<std::wstring> StartedPrograms(const UnpackerMachine& machine) {
    const std::vector<ProgramRun> runs = machine.Runs();
    std::vector<std::wstring> programs(runs.size());
    std::transform(runs.begin(), runs.end(), programs.begin(),
                   [](const ProgramRun& run) { return run.program; });
    return programs;
}

// Notes stage and texts at the start of each program.
auto NoteTexts(std::vector<std::wstring>& texts) {
    return bench::WatchCall<decltype(&::CreateProcessW)>(
        bench::kKernel32, "CreateProcessW", [&](auto...) {
            const JobState state = snapshot();
            texts.push_back(std::to_wstring(static_cast<uint32_t>(state.stage)) + L"|" +
                            state.statusLine + L"|" + state.detailLine);
        });
}

TEST(SniffPackageSignature, ReadsTheFirstBytes) {
    using enum PackageSignature;
    const bench::ScratchFolder folder;
    const std::filesystem::path archive = folder.Path() / L"package.bin";
    EXPECT_EQ(SniffPackageSignature(archive), Unknown) << "missing";
    EXPECT_EQ(SniffPackageSignature(folder.Path()), Unknown) << "folder";
    bench::WriteFile(archive, "Rar!\x1A\x07");
    EXPECT_EQ(SniffPackageSignature(archive), Unknown) << "short";
    bench::WriteFile(archive, kRarStart);
    EXPECT_EQ(SniffPackageSignature(archive), Rar);
    const bench::OpenElsewhere lock(archive, 0);
    EXPECT_EQ(SniffPackageSignature(archive), Unknown) << "in use";
}

TEST(ExtractPackage, RefusesWhatIsNoArchive) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "");
    machine.PutRecorder(machine.ToolFolder() / L"7z.exe", "");
    EXPECT_EQ(MessageOfExtraction(machine, "<html><body>Not found</body></html>"),
              bench::kNoArchive);
    EXPECT_EQ(snapshot().stage, JobStage::Failed);
    EXPECT_THAT(StartedPrograms(machine), IsEmpty());
    EXPECT_TRUE(std::filesystem::is_directory(machine.StagingFolder()));
}

TEST(ExtractPackage, UnpacksAZipWithTarAloneWhateverItsName) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "exit 0");
    machine.PutRecorder(machine.CurrentFolder() / L"powershell.exe", "exit 0");
    const std::filesystem::path archive = machine.Root() / L"package.rar";
    bench::WriteFile(archive, kZipStart);
    const std::filesystem::path staging = machine.Root() / L"a" / L"b" / L"staging";

    EXPECT_TRUE(ExtractPackage(archive, staging));

    EXPECT_TRUE(std::filesystem::is_directory(staging));
    const std::vector<ProgramRun> runs = machine.Runs();
    ASSERT_EQ(runs.size(), 1u);
    EXPECT_EQ(runs[0].commandLine,
              L"tar.exe -xf \"" + archive.native() + L"\" -C \"" + staging.native() + L"\"");
    EXPECT_EQ(runs[0].show, "0");
    EXPECT_FALSE(jobProgress.failed);
}

TEST(ExtractPackage, FallsBackToPowerShell) {
    for (const bool tarStarts : {true, false}) {
        SCOPED_TRACE(tarStarts);
        const UnpackerMachine machine;
        const std::filesystem::path tar = machine.CurrentFolder() / L"tar.exe";
        tarStarts ? machine.PutRecorder(tar, "exit 1") : machine.PutUnstartable(tar);
        machine.PutRecorder(machine.CurrentFolder() / L"powershell.exe", "exit 0");
        std::vector<std::wstring> texts;
        const auto hook = NoteTexts(texts);

        EXPECT_EQ(MessageOfExtraction(machine, kZipStart), L"");

        EXPECT_THAT(texts, ElementsAre(kPreparing, kPreparing));
        EXPECT_EQ(snapshot().detailLine, L"Preparing client files for repair...");
        EXPECT_THAT(machine.Runs(), SizeIs(tarStarts ? 2 : 1));
    }
}

TEST(ExtractPackage, ReportsAZipThatNeitherProgramUnpacksAndFlattensNothing) {
    for (const bool programsStart : {true, false}) {
        SCOPED_TRACE(programsStart);
        const UnpackerMachine machine;
        for (const wchar_t* const name : {L"tar.exe", L"powershell.exe"}) {
            const std::filesystem::path program = machine.CurrentFolder() / name;
            programsStart ? machine.PutRecorder(program, "exit 5")
                          : machine.PutUnstartable(program);
        }
        bench::WriteFile(machine.StagingFolder() / L"Client" / L"a.dat", "a");
        EXPECT_EQ(MessageOfExtraction(machine, kZipStart), bench::kZipFailed);
        EXPECT_THAT(bench::FolderListing(machine.StagingFolder()),
                    ElementsAre(L"Client/", L"Client/a.dat"));
    }
}

TEST(ExtractPackage, NeedsARarProgramForARar) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "");
    EXPECT_EQ(MessageOfExtraction(machine, kRarStart),
              L"RAR repair needs WinRAR, UnRAR, or 7-Zip. Install one of them or place "
              L"unrar.exe/7z.exe beside this tool.");
    EXPECT_THAT(StartedPrograms(machine), IsEmpty());
}

TEST(ExtractPackage, TriesRarProgramsInOrderUntilOneSucceeds) {
    const UnpackerMachine machine;
    const std::filesystem::path unrar = machine.ToolFolder() / L"unrar.exe";
    const std::filesystem::path winrar = machine.ProgramFolder64() / L"WinRAR" / L"WinRAR.exe";
    const std::filesystem::path sevenZip = machine.ProgramFolder32() / L"7-Zip" / L"7z.exe";
    machine.PutRecorder(unrar, "exit 3");
    machine.PutRecorder(winrar, "exit 10");
    machine.PutUnstartable(machine.ToolFolder() / L"7z.exe");
    machine.PutRecorder(sevenZip, "exit 0");
    machine.PutRecorder(machine.SearchFolder() / L"7za.exe", "exit 0");
    std::vector<std::wstring> texts;
    const auto hook = NoteTexts(texts);

    EXPECT_EQ(MessageOfExtraction(machine, kRarStart), L"");

    EXPECT_THAT(texts, ElementsAre(L"3|Extracting package...|Extracting with unrar.exe...",
                                   L"3|Extracting package...|Extracting with WinRAR.exe...",
                                   L"3|Extracting package...|Extracting with 7z.exe...",
                                   L"3|Extracting package...|Extracting with 7z.exe..."));
    EXPECT_EQ(snapshot().detailLine, L"Preparing client files for repair...");
    EXPECT_THAT(StartedPrograms(machine), ElementsAre(unrar, winrar, sevenZip));
}

TEST(ExtractPackage, NamesTheLastRarProgramAndItsExitCode) {
    constexpr char kUnstartable[] = "";
    struct Row {
        const char* firstPlan;
        const char* lastPlan;
        const wchar_t* exitCode;
    };
    const Row rows[] = {
        {"exit 3", "exit 4294967294", L"4294967294"},
        {"exit 3", kUnstartable, L"4294967295"},
        {kUnstartable, "exit 2", L"2"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.lastPlan);
        const UnpackerMachine machine;
        const auto put = [&](const std::filesystem::path& program, std::string_view plan) {
            plan.empty() ? machine.PutUnstartable(program) : machine.PutRecorder(program, plan);
        };
        put(machine.ToolFolder() / L"unrar.exe", row.firstPlan);
        put(machine.ProgramFolder64() / L"7-Zip" / L"7z.exe", row.lastPlan);
        EXPECT_EQ(MessageOfExtraction(machine, kRarStart),
                  RarFailed(std::wstring(L"7z.exe exit code ") + row.exitCode));
    }
}

TEST(ExtractPackage, FailsWithTheFlatteningsMessage) {
    for (const std::string_view archive : {kZipStart, kRarStart}) {
        const UnpackerMachine machine;
        machine.PutRecorder(machine.CurrentFolder() / L"tar.exe", "");
        machine.PutRecorder(machine.ToolFolder() / L"7z.exe", "");
        bench::WriteFile(machine.StagingFolder() / L"Client" / L"Client" / L"a.dat", "a");
        EXPECT_EQ(MessageOfExtraction(machine, archive),
                  L"Could not move extracted client files into place.");
    }
}

}  // namespace
