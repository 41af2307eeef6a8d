// Takes the name of an unpacking program and records how it was started. What it does then is the
// plan in a file beside it, its own name with ".plan" appended; words, in order:
//   sleep MS    waits
//   hold        waits until it is ended from outside; ends with kHoldTimedOut after two minutes
//   leave NAME  writes a file of that name (ASCII, no blanks) in the folder that its last argument
//               names, as an unpacking program does, but with its own bytes
//   exit CODE   ends with that code, any 32-bit value
// Without a plan it ends with 0 at once.
//
// It appends to the file that the environment variable BENCH_RECORDS names, in UTF-8: when it
// starts, the lines of Describe() below; when it ends by itself, "end=CODE".

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

#include "bench_parts/utf8.h"
#include "common/handles.h"
#include "common/windows_api.h"

namespace {

using bench::ToUtf8;

constexpr DWORD kHoldLimitMs = 120'000;
constexpr int kHoldTimedOut = 93;
constexpr int kBadPlan = 94;

std::wstring Environment(const wchar_t* name) {
    std::wstring value(32'768, L'\0');
    value.resize(::GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
    return value;
}

std::wstring OwnPath() {
    std::wstring path(MAX_PATH * 2, L'\0');
    path.resize(::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return path;
}

std::string Describe() {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    ::GetStartupInfoW(&startup);
    std::ostringstream lines;
    lines << ToUtf8(OwnPath()) << '\n'
          << ToUtf8(::GetCommandLineW()) << '\n'
          << ToUtf8(std::filesystem::current_path().native()) << '\n'
          << (startup.dwFlags & STARTF_USESHOWWINDOW) << '\n'
          << startup.wShowWindow << '\n'
          << ToUtf8(Environment(L"BENCH_MARK")) << '\n'
          << ::GetCurrentProcessId() << '\n';
    return lines.str();
}

// One write, so that a reader never sees half a note.
void Note(const std::string& text) {
    const auto file = AdoptHandle<KernelHandle>(::CreateFileW(
        Environment(L"BENCH_RECORDS").c_str(), FILE_APPEND_DATA,
        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS, 0, nullptr));
    DWORD written = 0;
    ::WriteFile(file.get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

int Finish(int code) {
    Note("end=" + std::to_string(static_cast<uint32_t>(code)) + "\n");
    return code;
}

void Leave(const std::filesystem::path& folder, const std::string& name) {
    const std::filesystem::path file = folder / name;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << "half of something";
}

int FollowPlan(const std::filesystem::path& lastArgument) {
    std::ifstream plan(std::filesystem::path(OwnPath() + L".plan"));
    std::string word;
    int64_t number = 0;
    while (plan >> word) {
        if (word == "hold") {
            ::Sleep(kHoldLimitMs);
            return Finish(kHoldTimedOut);
        }
        if (word == "leave" && plan >> word) {
            Leave(lastArgument, word);
            continue;
        }
        if (!(plan >> number)) {
            return Finish(kBadPlan);
        }
        if (word == "exit") {
            return Finish(static_cast<int>(number));
        }
        ::Sleep(static_cast<DWORD>(number));
    }
    return Finish(0);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    Note(Describe());
    return FollowPlan(argv[argc - 1]);
}
