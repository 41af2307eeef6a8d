#include "bench_parts/seven_zip.h"

#include <filesystem>

#include "common/handles.h"

namespace bench {
namespace {

// Puts this program into a job whose processes end with the last handle to it. Programs that it
// starts are in the job from their beginning: being ended at any moment takes them along.
void EndStartedProgramsWithUs() {
    // Closed by the system when this program ends.
    HANDLE const job = ::CreateJobObjectW(nullptr, nullptr);
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    ::SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits);
    ::AssignProcessToJobObject(job, ::GetCurrentProcess());
}

}  // namespace

DWORD UnpackWithSevenZip(const std::wstring& archive, const std::wstring& folder) {
    const std::filesystem::path program =
        std::filesystem::path(BENCH_SEVEN_ZIP_FOLDER L"/7z.exe").make_preferred();
    std::wstring command = L"\"" + program.native() + L"\" x -y -bso0 -bsp0 -o\"" + folder +
                           L"\" \"" + archive + L"\"";
    EndStartedProgramsWithUs();
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    if (!::CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW,
                          nullptr, nullptr, &startup, &started)) {
        return kSevenZipMissing;
    }
    const KernelHandle process(started.hProcess);
    const KernelHandle thread(started.hThread);
    ::WaitForSingleObject(process.get(), INFINITE);
    DWORD code = kSevenZipMissing;
    ::GetExitCodeProcess(process.get(), &code);
    return code;
}

}  // namespace bench
