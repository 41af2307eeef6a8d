#include "extract/process_runner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <thread>

#include "bench_parts/import_hook.h"
#include "bench_parts/unpacker_machine.h"
#include "job/progress/job_progress.h"

namespace {

using bench::ImportHook;
using bench::ProgramRun;
using bench::UnpackerMachine;

constexpr DWORD kUntouched = 0x1234;

std::wstring RecorderPath(const UnpackerMachine& machine) {
    return (machine.Root() / L"some program.exe").native();
}

// The command line of a recorder with that plan.
std::wstring Recorder(const UnpackerMachine& machine, std::string_view plan) {
    machine.PutRecorder(RecorderPath(machine), plan);
    return L"\"" + RecorderPath(machine) + L"\"";
}

HANDLE PublishedChild() {
    const std::lock_guard guard(jobProgress.lock);
    return jobProgress.childProcess;
}

// A program can be up before its handle is published, hence the waiting. Null after a long while.
HANDLE AwaitPublishedChild() {
    const ULONGLONG deadline = ::GetTickCount64() + 30'000;
    while (PublishedChild() == nullptr && ::GetTickCount64() < deadline) {
        ::Sleep(1);
    }
    return PublishedChild();
}

// RunHiddenAndWait on a thread of its own, as the job has it.
struct BackgroundRun {
    explicit BackgroundRun(std::wstring commandLine)
        : thread([this, line = std::move(commandLine)] {
              result = RunHiddenAndWait(line, &exitCode);
          }) {}
    ~BackgroundRun() {
        if (thread.joinable()) {
            jobProgress.cancelRequested = true;
            thread.join();
        }
    }

    DWORD exitCode = kUntouched;
    bool result = false;
    std::thread thread;  // Last: it writes to the others.
};

TEST(RunHiddenAndWait, SucceedsOnlyWithExitCode0) {
    struct Row {
        const char* plan;
        bool expected;
        DWORD exitCode;
    };
    const Row rows[] = {
        {"exit 0", true, 0},
        {"exit 1", false, 1},
        {"exit 3", false, 3},
        {"exit 256", false, 256},
        {"exit 4294967294", false, 4294967294},
    };
    const UnpackerMachine machine;
    for (const Row& row : rows) {
        DWORD exitCode = kUntouched;
        EXPECT_EQ(RunHiddenAndWait(Recorder(machine, row.plan), &exitCode), row.expected)
            << row.plan;
        EXPECT_EQ(exitCode, row.exitCode) << row.plan;
    }
}

TEST(RunHiddenAndWait, WaitsForAProgramThatOutlastsAPoll) {
    const UnpackerMachine machine;
    DWORD exitCode = kUntouched;
    EXPECT_FALSE(RunHiddenAndWait(Recorder(machine, "sleep 600 exit 5"), &exitCode));
    EXPECT_EQ(exitCode, 5u);
    EXPECT_EQ(machine.Runs().at(0).endCode, 5u);
}

TEST(RunHiddenAndWait, NeedsNoExitCodeOutput) {
    const UnpackerMachine machine;
    EXPECT_TRUE(RunHiddenAndWait(Recorder(machine, "exit 0")));
    EXPECT_FALSE(RunHiddenAndWait(Recorder(machine, "exit 2")));
    EXPECT_FALSE(RunHiddenAndWait(L"no_such_program.exe"));
}

TEST(RunHiddenAndWait, StoresAllOnesForAProgramThatCannotBeStarted) {
    const UnpackerMachine machine;
    const std::filesystem::path folder = machine.Root() / L"folder.exe";
    std::filesystem::create_directories(folder);
    const std::filesystem::path text = machine.Root() / L"text.exe";
    machine.PutUnstartable(text);
    for (const std::wstring& commandLine :
         {std::wstring(L"no_such_program.exe -x"), L"\"" + folder.native() + L"\"",
          L"\"" + text.native() + L"\"", std::wstring()}) {
        DWORD exitCode = kUntouched;
        EXPECT_FALSE(RunHiddenAndWait(commandLine, &exitCode)) << commandLine;
        EXPECT_EQ(exitCode, 4294967295u) << commandLine;
    }
}

TEST(RunHiddenAndWait, ReportsNothingWhenTheProgramCannotBeStarted) {
    const UnpackerMachine machine;
    reportStage(JobStage::Downloading, L"headline", L"detail");

    RunHiddenAndWait(L"no_such_program.exe");

    const JobState state = snapshot();
    EXPECT_EQ(state.stage, JobStage::Downloading);
    EXPECT_EQ(state.statusLine, L"headline");
    EXPECT_EQ(state.detailLine, L"detail");
    EXPECT_EQ(PublishedChild(), nullptr);
    EXPECT_FALSE(jobProgress.failed);
}

TEST(RunHiddenAndWait, ReportsStageAndTextsOverWhatStoodThere) {
    const UnpackerMachine machine;
    reportStage(JobStage::Downloading, L"headline", L"Extracting with unrar.exe...");

    RunHiddenAndWait(Recorder(machine, "exit 7"));

    const JobState state = snapshot();
    EXPECT_EQ(state.stage, JobStage::Extracting);
    EXPECT_EQ(state.statusLine, L"Extracting package...");
    EXPECT_EQ(state.detailLine, L"Preparing client files for repair...");
    EXPECT_FALSE(jobProgress.failed);
}

TEST(RunHiddenAndWait, PassesTheCommandLineOnToTheLetter) {
    const UnpackerMachine machine;
    const std::wstring commandLine =
        Recorder(machine, "") + L"  x -o\"C:\\a b\\\\\"  'O''Brien' \u00fc\u8aad \"unbalanced ";
    RunHiddenAndWait(commandLine);
    EXPECT_EQ(machine.Runs().at(0).commandLine, commandLine);
}

TEST(RunHiddenAndWait, TakesAPieceOfALongerText) {
    const UnpackerMachine machine;
    const std::wstring commandLine = Recorder(machine, "");
    RunHiddenAndWait(std::wstring_view(commandLine + L" not this").substr(0, commandLine.size()));
    EXPECT_EQ(machine.Runs().at(0).commandLine, commandLine);
}

TEST(RunHiddenAndWait, FindsABareNameByThePlatformsSearch) {
    const UnpackerMachine machine;
    machine.PutRecorder(machine.SearchFolder() / L"bench_found.exe", "exit 4");
    DWORD exitCode = kUntouched;
    RunHiddenAndWait(L"bench_found.exe -xf", &exitCode);
    EXPECT_EQ(exitCode, 4u);
    EXPECT_EQ(machine.Runs().at(0).commandLine, L"bench_found.exe -xf");
}

TEST(RunHiddenAndWait, GivesTheToolsOwnFolderAndEnvironment) {
    const UnpackerMachine machine;
    const bench::EnvironmentVariable mark(L"BENCH_MARK", L"\u00fcberall");
    RunHiddenAndWait(Recorder(machine, ""));
    const ProgramRun run = machine.Runs().at(0);
    EXPECT_EQ(run.currentFolder, machine.CurrentFolder().native());
    EXPECT_EQ(run.mark, L"\u00fcberall");
}

TEST(RunHiddenAndWait, AsksForAHiddenStart) {
    const UnpackerMachine machine;
    RunHiddenAndWait(Recorder(machine, ""));
    const ProgramRun run = machine.Runs().at(0);
    EXPECT_EQ(run.startup, "1");
    EXPECT_EQ(run.show, "0");
}

TEST(RunHiddenAndWait, HandsNoOpenFileToTheProgram) {
    const UnpackerMachine machine;
    const std::filesystem::path path = machine.Root() / L"open.dat";
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    auto file = AdoptHandle<KernelHandle>(
        ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, &inheritable, CREATE_ALWAYS, 0, nullptr));
    ASSERT_TRUE(file);
    BackgroundRun run(Recorder(machine, "hold"));
    machine.AwaitRuns(1);

    file.reset();

    // Had the program a handle too, the file would still be in use.
    EXPECT_TRUE(AdoptHandle<KernelHandle>(
        ::CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr)));
}

TEST(RunHiddenAndWait, PublishesTheProgramWhileItRuns) {
    const UnpackerMachine machine;
    BackgroundRun run(Recorder(machine, "hold"));
    const DWORD processId = machine.AwaitRuns(1).at(0).processId;
    EXPECT_EQ(::GetProcessId(AwaitPublishedChild()), processId);
    EXPECT_EQ(snapshot().detailLine, L"Preparing client files for repair...");

    ::TerminateProcess(PublishedChild(), 9);
    run.thread.join();
    EXPECT_EQ(PublishedChild(), nullptr);
    EXPECT_EQ(run.exitCode, 9u);
    EXPECT_FALSE(run.result);
}

TEST(RunHiddenAndWait, WithdrawsTheProgramAfterItsEnd) {
    const UnpackerMachine machine;
    RunHiddenAndWait(Recorder(machine, "exit 0"));
    EXPECT_EQ(PublishedChild(), nullptr);
}

TEST(RunHiddenAndWait, CountsAProgramEndedFromOutsideWith0AsASuccess) {
    const UnpackerMachine machine;
    BackgroundRun run(Recorder(machine, "hold"));
    const DWORD processId = machine.AwaitRuns(1).at(0).processId;
    const KernelHandle process(::OpenProcess(PROCESS_TERMINATE, FALSE, processId));
    ::TerminateProcess(process.get(), 0);
    run.thread.join();
    EXPECT_TRUE(run.result);
    EXPECT_EQ(run.exitCode, 0u);
}

TEST(RunHiddenAndWait, EndsTheProgramWhenItSeesAStopRequest) {
    const UnpackerMachine machine;
    BackgroundRun run(Recorder(machine, "hold"));
    const KernelHandle process = bench::OpenRunningProcess(machine.AwaitRuns(1).at(0).processId);

    jobProgress.cancelRequested = true;

    EXPECT_EQ(bench::AwaitExitCode(process), 1u);
    run.thread.join();
    EXPECT_FALSE(run.result);
    EXPECT_EQ(machine.Runs().at(0).endCode, std::nullopt);
}

TEST(RunHiddenAndWait, LeavesExitCodeAndPublishedProgramAloneAfterAStopRequest) {
    const UnpackerMachine machine;
    BackgroundRun run(Recorder(machine, "hold"));
    machine.AwaitRuns(1);
    jobProgress.cancelRequested = true;
    run.thread.join();
    EXPECT_EQ(run.exitCode, kUntouched);
    EXPECT_NE(PublishedChild(), nullptr);
    EXPECT_FALSE(jobProgress.failed);
}

TEST(RunHiddenAndWait, LeavesNoHandleBehindAfterAStopRequest) {
    const UnpackerMachine machine;
    BackgroundRun run(Recorder(machine, "hold"));
    machine.AwaitRuns(1);
    jobProgress.cancelRequested = true;
    run.thread.join();
    DWORD flags = 0;
    EXPECT_FALSE(::GetHandleInformation(PublishedChild(), &flags));
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

decltype(&::WaitForSingleObject) realWait;

// As if no poll ever came in time before the program's end.
DWORD WINAPI WaitToTheEnd(HANDLE handle, DWORD) {
    return realWait(handle, 60'000);
}

TEST(RunHiddenAndWait, LetsAProgramEndThatIsQuickerThanTheFirstPoll) {
    const UnpackerMachine machine;
    const ImportHook hook(L"kernel32.dll", "WaitForSingleObject",
                          reinterpret_cast<void*>(&WaitToTheEnd));
    ASSERT_TRUE(hook.Installed());
    realWait = hook.Original<decltype(&::WaitForSingleObject)>();
    jobProgress.cancelRequested = true;

    DWORD exitCode = kUntouched;
    EXPECT_TRUE(RunHiddenAndWait(Recorder(machine, "exit 0"), &exitCode));

    EXPECT_EQ(exitCode, 0u);
    EXPECT_EQ(PublishedChild(), nullptr);
}

TEST(RunHiddenAndWait, TellsThatTheWindowEndedTheProgram) {
    const UnpackerMachine machine;
    // The window ends the program before a poll sees the request.
    const ImportHook hook(L"kernel32.dll", "WaitForSingleObject",
                          reinterpret_cast<void*>(&WaitToTheEnd));
    ASSERT_TRUE(hook.Installed());
    realWait = hook.Original<decltype(&::WaitForSingleObject)>();
    BackgroundRun run(Recorder(machine, "hold"));
    ASSERT_NE(AwaitPublishedChild(), nullptr);

    requestCancel();
    run.thread.join();

    EXPECT_FALSE(run.result);
    EXPECT_EQ(run.exitCode, 1u);
    EXPECT_EQ(PublishedChild(), nullptr);
}

BOOL WINAPI FailExitCodeQuery(HANDLE, LPDWORD) {
    return FALSE;
}

TEST(RunHiddenAndWait, TakesAnUnknownExitCodeFor1) {
    const UnpackerMachine machine;
    const ImportHook hook(L"kernel32.dll", "GetExitCodeProcess",
                          reinterpret_cast<void*>(&FailExitCodeQuery));
    ASSERT_TRUE(hook.Installed());
    DWORD exitCode = kUntouched;
    EXPECT_FALSE(RunHiddenAndWait(Recorder(machine, "exit 0"), &exitCode));
    EXPECT_EQ(exitCode, 1u);
}

DWORD WINAPI FailWait(HANDLE handle, DWORD) {
    realWait(handle, 60'000);
    return WAIT_FAILED;
}

TEST(RunHiddenAndWait, TakesAFailingWaitForTheEnd) {
    const UnpackerMachine machine;
    const ImportHook hook(L"kernel32.dll", "WaitForSingleObject",
                          reinterpret_cast<void*>(&FailWait));
    ASSERT_TRUE(hook.Installed());
    realWait = hook.Original<decltype(&::WaitForSingleObject)>();
    jobProgress.cancelRequested = true;
    DWORD exitCode = kUntouched;
    EXPECT_FALSE(RunHiddenAndWait(Recorder(machine, "exit 6"), &exitCode));
    EXPECT_EQ(exitCode, 6u);
}

}  // namespace
