#include "convergence/job_process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <system_error>

#include "bench_parts/unpacker_machine.h"
#include "common/handles.h"
#include "common/windows_api.h"

namespace fs = std::filesystem;

namespace {

constexpr DWORD kPatienceMs = 60'000;

[[noreturn]] void ThrowLastError(const char* action) {
    throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(), action);
}

fs::path ThisFolder() {
    std::wstring path(MAX_PATH * 4, L'\0');
    path.resize(::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return fs::path(path).parent_path();
}

std::wstring CommandLine(const fs::path& tool, const JobOrder& order,
                         const std::optional<Strike>& strike) {
    std::wstring line = L"\"" + tool.native() + L"\" \"" + order.url + L"\" " +
                        (order.kind == JobKind::Reinstall ? L"reinstall" : L"repair") + L" \"" +
                        order.digest + L"\"";
    if (strike) {
        line.append(L" ")
            .append(kInterventionNames[static_cast<size_t>(strike->intervention)])
            .append(L" ")
            .append(kPhaseNames[static_cast<size_t>(strike->phase)])
            .append(L" " + strike->function + L" " + std::to_wstring(strike->number));
    }
    return line;
}

// Receives what the program prints.
KernelHandle MakeOutputFile(const fs::path& path) {
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    auto file = AdoptHandle<KernelHandle>(
        ::CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable,
                      CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) {
        ThrowLastError("create the output file");
    }
    return file;
}

// A job (in the system's sense) whose processes end with the last handle to it.
KernelHandle MakeKillingJob() {
    KernelHandle job(::CreateJobObjectW(nullptr, nullptr));
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    if (!job || !::SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation, &limits,
                                           sizeof limits)) {
        ThrowLastError("make a job object");
    }
    return job;
}

KernelHandle StartInJob(std::wstring commandLine, HANDLE job, HANDLE output) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output;
    PROCESS_INFORMATION started{};
    if (!::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE,
                          CREATE_NO_WINDOW | CREATE_SUSPENDED, nullptr, nullptr, &startup,
                          &started)) {
        ThrowLastError("start the job");
    }
    const KernelHandle thread(started.hThread);
    KernelHandle process(started.hProcess);
    if (!::AssignProcessToJobObject(job, process.get())) {
        ThrowLastError("put the process into the job object");
    }
    ::ResumeThread(thread.get());
    return process;
}

bool IsAnyRunningIn(HANDLE job) {
    JOBOBJECT_BASIC_ACCOUNTING_INFORMATION accounts{};
    return ::QueryInformationJobObject(job, JobObjectBasicAccountingInformation, &accounts,
                                       sizeof accounts, nullptr) &&
           accounts.ActiveProcesses != 0;
}

// An unpacking program that its parent has left alone.
void EndAll(HANDLE job) {
    ::TerminateJobObject(job, 1);
    const ULONGLONG deadline = ::GetTickCount64() + kPatienceMs;
    while (IsAnyRunningIn(job) && ::GetTickCount64() < deadline) {
        ::Sleep(1);
    }
    EXPECT_FALSE(IsAnyRunningIn(job));
}

std::wstring Widen(std::string_view ascii) {
    return {ascii.begin(), ascii.end()};
}

Phase PhaseNamed(const std::string& name) {
    const auto found = std::find(kPhaseNames.begin(), kPhaseNames.end(), Widen(name));
    return static_cast<Phase>(found - kPhaseNames.begin());
}

void ReadReport(const std::string& report, JobOutcome& outcome) {
    std::istringstream lines(report);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string kind;
        std::getline(words, kind, '\t');
        if (kind == "detail") {
            std::getline(words, outcome.detail, '\r');
        } else if (kind == "calls") {
            std::string phase;
            std::string function;
            unsigned number = 0;
            words >> phase >> function >> number;
            outcome.calls[PhaseNamed(phase)][Widen(function)] = number;
        }
    }
}

}  // namespace

void PutJobRunner(const fs::path& tool) {
    const fs::path program = ThisFolder() / L"job_runner.exe";
    if (!::CopyFileW(program.c_str(), tool.c_str(), FALSE)) {
        ThrowLastError("copy job_runner.exe");
    }
}

JobOutcome RunJob(const fs::path& tool, const fs::path& tempFolder, const JobOrder& order,
                  const std::optional<Strike>& strike) {
    const bench::ScratchFolder outputFolder;
    const fs::path outputPath = outputFolder.Path() / L"report.txt";
    JobOutcome outcome;
    {
        const bench::EnvironmentVariable temporaryFiles(L"TMP", tempFolder.native());
        const KernelHandle output = MakeOutputFile(outputPath);
        const KernelHandle job = MakeKillingJob();
        const KernelHandle process =
            StartInJob(CommandLine(tool, order, strike), job.get(), output.get());
        EXPECT_EQ(::WaitForSingleObject(process.get(), kPatienceMs), WAIT_OBJECT_0);
        EndAll(job.get());
        DWORD exitCode = 0;
        ::GetExitCodeProcess(process.get(), &exitCode);
        outcome.exitCode = static_cast<int>(exitCode);
    }
    ReadReport(bench::ReadFile(outputPath), outcome);
    return outcome;
}
