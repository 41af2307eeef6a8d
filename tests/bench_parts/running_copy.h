#pragma once

#include <filesystem>
#include <string>
#include <utility>

#include "bench_parts/scratch_folder.h"
#include "common/handles.h"

namespace bench {

// The folder of all programs of the build.
inline std::filesystem::path FolderOfThisProgram() {
    std::wstring own(MAX_PATH * 4, L'\0');
    own.resize(::GetModuleFileNameW(nullptr, own.data(), static_cast<DWORD>(own.size())));
    return std::filesystem::path(own).parent_path();
}

// A copy of a program of the bench that runs as long as the object lives.
class RunningCopy {
public:
    // `arguments` as on a command line; the file is created at `exe`.
    RunningCopy(const wchar_t* program, const std::filesystem::path& exe, std::wstring arguments) {
        WriteFile(exe, ReadFile(FolderOfThisProgram() / program));
        std::wstring command = L"\"" + exe.native() + L"\" " + std::move(arguments);
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION started{};
        if (::CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW,
                             nullptr, nullptr, &startup, &started)) {
            process_.reset(started.hProcess);
            ::CloseHandle(started.hThread);
        }
    }
    ~RunningCopy() {
        if (process_) {
            ::TerminateProcess(process_.get(), 0);
            ::WaitForSingleObject(process_.get(), 10'000);
        }
    }
    RunningCopy(const RunningCopy&) = delete;
    RunningCopy& operator=(const RunningCopy&) = delete;

    [[nodiscard]] HANDLE Process() const {
        return process_.get();
    }

private:
    KernelHandle process_;
};

}  // namespace bench
