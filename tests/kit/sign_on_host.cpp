// sign_on_host SCRIPT FILE: a signing command that has the build machine do the work, because its
// signing program is none for Windows. Runs the machine's own SCRIPT with FILE and the name of a
// file into which it writes its exit code at the end; Wine does not let anyone wait for such a
// process.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "common/handles.h"

namespace {

constexpr int kNotSigned = 70;
constexpr DWORD kPollMs = 20;
constexpr int kPolls = 3000;

bool StartScript(std::wstring commandLine) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    // The handles stay null: the process is none of Windows.
    return ::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                            nullptr, &startup, &started) != FALSE;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    if (count != 3) {
        return kNotSigned;
    }
    const std::wstring script = arguments[1];
    const std::wstring file = arguments[2];
    const std::wstring done = file + L".done";
    if (!StartScript(L"\"" + script + L"\" \"" + file + L"\" \"" + done + L"\"")) {
        return kNotSigned;
    }
    for (int poll = 0; poll < kPolls; ++poll) {
        int exitCode = kNotSigned;
        std::ifstream result{std::filesystem::path(done)};
        if (result >> exitCode) {
            result.close();
            std::filesystem::remove(done);
            std::printf("signed: %d\n", exitCode);
            return exitCode;
        }
        ::Sleep(kPollMs);
    }
    return kNotSigned;
}
