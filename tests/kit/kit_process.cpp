#include "kit_process.h"

#include <system_error>

#include "bench_parts/running_copy.h"

namespace kit_test {

namespace {

// A file for a program's output that disappears with its last handle. The system's own background
// programs may inherit one and keep it for a while.
KernelHandle OutputHandle() {
    wchar_t folder[MAX_PATH + 1] = {};
    wchar_t path[MAX_PATH + 1] = {};
    ::GetTempPathW(MAX_PATH + 1, folder);
    ::GetTempFileNameW(folder, L"kit", 0, path);
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    return AdoptHandle<KernelHandle>(
        ::CreateFileW(path, GENERIC_READ | GENERIC_WRITE | DELETE,
                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, &inheritable,
                      CREATE_ALWAYS, FILE_FLAG_DELETE_ON_CLOSE, nullptr));
}

std::string ContentOf(HANDLE file) {
    std::string content;
    ::SetFilePointer(file, 0, nullptr, FILE_BEGIN);
    char piece[4096];
    DWORD bytes = 0;
    while (::ReadFile(file, piece, sizeof piece, &bytes, nullptr) && bytes != 0) {
        content.append(piece, bytes);
    }
    return content;
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

KitRun RunProgram(const wchar_t* program, const std::wstring& arguments, HANDLE out) {
    const KernelHandle outFile = OutputHandle();
    const KernelHandle errorFile = OutputHandle();
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = out == nullptr ? outFile.get() : out;
    startup.hStdError = errorFile.get();
    const KernelHandle process = Start(program, arguments, startup, nullptr);
    ::WaitForSingleObject(process.get(), INFINITE);
    KitRun run;
    ::GetExitCodeProcess(process.get(), &run.exitCode);
    run.out = ContentOf(outFile.get());
    run.error = ContentOf(errorFile.get());
    return run;
}

KitRun RunRepairKit(const std::wstring& arguments, HANDLE out) {
    return RunProgram(L"repair_kit.exe", arguments, out);
}

KernelHandle StartProgram(const wchar_t* program, const std::wstring& arguments, DWORD* processId) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    return Start(program, arguments, startup, processId);
}

}  // namespace kit_test
