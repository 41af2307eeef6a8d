#include "kit_process.h"

#include <system_error>

#include "bench_parts/running_copy.h"
#include "bench_parts/scratch_folder.h"

namespace kit_test {

namespace {

KernelHandle InheritableFile(const std::filesystem::path& path) {
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    return AdoptHandle<KernelHandle>(::CreateFileW(path.c_str(), GENERIC_WRITE,
                                                   FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable,
                                                   CREATE_ALWAYS, 0, nullptr));
}

KernelHandle Start(const wchar_t* program, const std::wstring& arguments, STARTUPINFOW& startup,
                   DWORD* processId) {
    std::wstring command =
        L"\"" + (bench::FolderOfThisProgram() / program).native() + L"\" " + arguments;
    PROCESS_INFORMATION started{};
    if (!::CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, CREATE_NEW_PROCESS_GROUP,
                          nullptr, nullptr, &startup, &started)) {
        throw std::system_error(static_cast<int>(::GetLastError()), std::system_category());
    }
    ::CloseHandle(started.hThread);
    if (processId != nullptr) {
        *processId = started.dwProcessId;
    }
    return KernelHandle(started.hProcess);
}

}  // namespace

KitRun RunRepairKit(const std::wstring& arguments, HANDLE out) {
    const bench::ScratchFolder scratch;
    const std::filesystem::path outPath = scratch.Path() / L"out";
    const std::filesystem::path errorPath = scratch.Path() / L"error";
    KitRun run;
    {
        const KernelHandle outFile = InheritableFile(outPath);
        const KernelHandle errorFile = InheritableFile(errorPath);
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdOutput = out == nullptr ? outFile.get() : out;
        startup.hStdError = errorFile.get();
        const KernelHandle process = Start(L"repair_kit.exe", arguments, startup, nullptr);
        ::WaitForSingleObject(process.get(), INFINITE);
        ::GetExitCodeProcess(process.get(), &run.exitCode);
    }
    run.out = bench::ReadFile(outPath);
    run.error = bench::ReadFile(errorPath);
    return run;
}

KernelHandle StartProgram(const wchar_t* program, const std::wstring& arguments, DWORD* processId) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    return Start(program, arguments, startup, processId);
}

}  // namespace kit_test
