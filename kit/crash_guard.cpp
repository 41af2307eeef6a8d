#include "kit/crash_guard.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

#include "common/windows_api.h"
#include "kit/console.h"

namespace {

// As few steps as possible: the process is damaged.
[[noreturn]] void EndAfterCrash(const char* line) {
    RestoreTextColorAfterCrash();
    DWORD written = 0;
    ::WriteFile(::GetStdHandle(STD_ERROR_HANDLE), line, static_cast<DWORD>(std::strlen(line)),
                &written, nullptr);
    ::TerminateProcess(::GetCurrentProcess(), kCrashExitCode);
    std::_Exit(static_cast<int>(kCrashExitCode));
}

LONG WINAPI OnUnhandledException(EXCEPTION_POINTERS* pointers) {
    std::array<char, 80> line{};
    std::snprintf(line.data(), line.size(),
                  "repair_kit: ended by an error of its own (exception %08lX)\n",
                  pointers->ExceptionRecord->ExceptionCode);
    EndAfterCrash(line.data());
}

[[noreturn]] void OnTerminate() {
    EndAfterCrash("repair_kit: ended by an error of its own\n");
}

// What abort() raises before it ends the process with 3.
[[noreturn]] void OnAbort(int) {
    OnTerminate();
}

}  // namespace

void InstallCrashGuards() {
    ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    ::SetUnhandledExceptionFilter(OnUnhandledException);
    std::set_terminate(OnTerminate);
    std::signal(SIGABRT, OnAbort);
#ifdef _MSC_VER
    _set_abort_behavior(0, _WRITE_ABORT_MSG | _CALL_REPORTFAULT);
#endif
}
