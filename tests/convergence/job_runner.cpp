// The tool without its window, for tests that stop it in the middle of a job: see job_runner.h.

#include "convergence/job_runner.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>

#include "bench_parts/named_call.h"
#include "bench_parts/utf8.h"
#include "common/tool_instance.h"
#include "config/tool_config.h"
#include "job/job_flow.h"
#include "job/job_thread.h"

namespace {

namespace fs = std::filesystem;

using bench::kAdvapi32;
using bench::kKernel32;

constexpr int kOrderArguments = 4;
constexpr int kStrikeArguments = 7;

Death death = Death::Before;
std::string struckFunction;
unsigned struckNumber = 0;  // Counted from 1; 0 for none.
unsigned calls = 0;

bool IsStruck(const char* function) {
    const bool counts = struckFunction == bench::ToUtf8(kAnyFunction) || struckFunction == function;
    calls += counts ? 1 : 0;
    return counts && calls == struckNumber;
}

[[noreturn]] void Die() {
    // Without the lock: only this thread writes the record.
    const auto stage = static_cast<UINT>(jobProgress.state.stage);
    ::TerminateProcess(::GetCurrentProcess(), kKilled + stage);
    for (;;) {
        ::Sleep(INFINITE);
    }
}

void CopyHalf(const fs::path& source, const fs::path& target, bool isStretched) {
    const std::uintmax_t size = fs::file_size(source);
    std::string half(size / 2, '\0');
    std::ifstream(source, std::ios::binary).read(half.data(), std::ssize(half));
    std::ofstream(target, std::ios::binary) << half;
    if (isStretched) {
        fs::resize_file(target, size);
    }
}

struct CountChange {
    template <bench::FunctionName kName, typename Result, typename... Arguments>
    static Result Call(Result(WINAPI* original)(Arguments...), Arguments... arguments) {
        if (IsStruck(kName.text)) {
            if (death != Death::Before) {
                DoHalf<kName>(original, arguments...);
            }
            Die();
        }
        return original(arguments...);
    }

private:
    // Nothing for calls that cannot be half done.
    template <bench::FunctionName kName, typename Function, typename... Arguments>
    static void DoHalf([[maybe_unused]] Function original,
                       [[maybe_unused]] Arguments... arguments) {
        if constexpr (kName.Is("CopyFileW")) {
            [](const wchar_t* source, const wchar_t* target, BOOL) {
                CopyHalf(source, target, death == Death::Stretched);
            }(arguments...);
        } else if constexpr (kName.Is("WriteFile")) {
            [=](auto file, const void* bytes, auto size, auto... others) {
                original(file, bytes, size / 2, others...);
            }(arguments...);
        } else if constexpr (kName.Is("CreateProcessW")) {
            original(arguments...);
        }
    }
};

template <const wchar_t* kDll, bench::FunctionName kName, typename Function>
using Change = bench::NamedCall<CountChange, kDll, kName, Function>;

using Changes = std::tuple<
    Change<kKernel32, "CopyFileW", decltype(&::CopyFileW)>,
    Change<kKernel32, "CreateDirectoryW", decltype(&::CreateDirectoryW)>,
    Change<kKernel32, "CreateProcessW", decltype(&::CreateProcessW)>,
    Change<kKernel32, "DeleteFileW", decltype(&::DeleteFileW)>,
    Change<kKernel32, "MoveFileExW", decltype(&::MoveFileExW)>,
    Change<kKernel32, "RemoveDirectoryW", decltype(&::RemoveDirectoryW)>,
    Change<kKernel32, "SetFileInformationByHandle", decltype(&::SetFileInformationByHandle)>,
    Change<kKernel32, "SetFileTime", decltype(&::SetFileTime)>,
    Change<kKernel32, "WriteFile", decltype(&::WriteFile)>,
    Change<kAdvapi32, "RegCreateKeyExW", decltype(&::RegCreateKeyExW)>,
    Change<kAdvapi32, "RegSetValueExW", decltype(&::RegSetValueExW)>>;

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc != kOrderArguments && argc != kStrikeArguments) {
        return kUsageError;
    }
    if (argc == kStrikeArguments) {
        death = static_cast<Death>(std::stoi(argv[4]));
        struckFunction = bench::ToUtf8(argv[5]);
        struckNumber = std::stoul(argv[6]);
    }
    const JobKind kind =
        std::wstring_view(argv[2]) == L"reinstall" ? JobKind::Reinstall : JobKind::Repair;
    toolConfig.archiveSha256 = argv[3];
    toolConfig.startupExe = L"client.exe";
    LocateTool();

    const Changes changes;
    if (!PrepareJob(kind, argv[1])) {
        return kUsageError;
    }
    StartJobThread([kind] { runJob(kind); });
    JoinJobThread();
    if (snapshot().stage == JobStage::Done) {
        return kJobSucceeded;
    }
    std::puts(bench::ToUtf8(snapshot().detailLine).c_str());
    return kJobFailed;
}
