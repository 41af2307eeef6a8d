#include "convergence/job_process.h"

#include <gtest/gtest.h>

#include "bench_parts/environment_variable.h"
#include "bench_parts/waiting.h"
#include "common/handles.h"

namespace {

std::wstring CommandLine(const std::filesystem::path& tool, const JobOrder& order,
                         const std::optional<Strike>& strike) {
    std::wstring line = L"\"" + tool.native() + L"\" \"" + order.url + L"\" " +
                        (order.kind == JobKind::Reinstall ? L"reinstall" : L"repair") + L" \"" +
                        order.digest + L"\"";
    if (strike) {
        line += L" " + std::to_wstring(static_cast<int>(strike->death)) + L" " + strike->function +
                L" " + std::to_wstring(strike->number);
    }
    return line;
}

KernelHandle StartInJob(std::wstring commandLine, HANDLE job) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    EXPECT_TRUE(::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE,
                                 CREATE_SUSPENDED, nullptr, nullptr, &startup, &started));
    EXPECT_TRUE(::AssignProcessToJobObject(job, started.hProcess));
    ::ResumeThread(started.hThread);
    ::CloseHandle(started.hThread);
    return KernelHandle(started.hProcess);
}

bool HasEnded(HANDLE job) {
    JOBOBJECT_BASIC_ACCOUNTING_INFORMATION accounts{};
    return ::QueryInformationJobObject(job, JobObjectBasicAccountingInformation, &accounts,
                                       sizeof accounts, nullptr) &&
           accounts.ActiveProcesses == 0;
}

}  // namespace

int RunJob(const std::filesystem::path& tool, const std::filesystem::path& tempFolder,
           const JobOrder& order, const std::optional<Strike>& strike) {
    const bench::EnvironmentVariable temporaryFiles(L"TMP", tempFolder.native());
    const KernelHandle job(::CreateJobObjectW(nullptr, nullptr));  // In the system's sense.
    const KernelHandle process = StartInJob(CommandLine(tool, order, strike), job.get());
    EXPECT_EQ(::WaitForSingleObject(process.get(), 60'000), DWORD{WAIT_OBJECT_0});
    // An unpacking program that its parent has left alone.
    ::TerminateJobObject(job.get(), 1);
    EXPECT_TRUE(bench::Await([&] { return HasEnded(job.get()); }));
    DWORD exitCode = 0;
    ::GetExitCodeProcess(process.get(), &exitCode);
    return static_cast<int>(exitCode);
}
