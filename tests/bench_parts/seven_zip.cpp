#include "bench_parts/seven_zip.h"

#include <filesystem>

#include "common/handles.h"

namespace bench {
namespace {

// A job whose processes end with the last handle to it, that is, with this program.
KernelHandle MakeJobThatEndsWithUs() {
    KernelHandle job(::CreateJobObjectW(nullptr, nullptr));
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    ::SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation, &limits, sizeof limits);
    return job;
}

}  // namespace

DWORD UnpackWithSevenZip(const std::wstring& archive, const std::wstring& folder) {
    const std::filesystem::path program =
        std::filesystem::path(BENCH_SEVEN_ZIP_FOLDER L"/7z.exe").make_preferred();
    std::wstring command = L"\"" + program.native() + L"\" x -y -bso0 -bsp0 -o\"" + folder +
                           L"\" \"" + archive + L"\"";
    const KernelHandle job = MakeJobThatEndsWithUs();
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    // Suspended until it belongs to the job: a program that is ended early takes it along.
    if (!::CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE,
                          CREATE_NO_WINDOW | CREATE_SUSPENDED, nullptr, nullptr, &startup,
                          &started)) {
        return kSevenZipMissing;
    }
    const KernelHandle process(started.hProcess);
    const KernelHandle thread(started.hThread);
    ::AssignProcessToJobObject(job.get(), process.get());
    ::ResumeThread(thread.get());
    ::WaitForSingleObject(process.get(), INFINITE);
    DWORD code = kSevenZipMissing;
    ::GetExitCodeProcess(process.get(), &code);
    return code;
}

}  // namespace bench
