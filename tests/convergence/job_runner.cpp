// The tool without its window, for tests that stop it in the middle of a job: see job_runner.h.

#include "convergence/job_runner.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string>
#include <tuple>

#include "bench_parts/utf8.h"
#include "common/tool_instance.h"
#include "config/tool_config.h"
#include "convergence/counted_calls.h"
#include "job/job_flow.h"
#include "job/job_thread.h"
#include "package/bcrypt_api.h"
#include "package/winhttp_api.h"

namespace {

using bench::ToUtf8;

constexpr int kOrderArguments = 4;
constexpr int kInterventionArguments = 8;

constexpr wchar_t kAdvapi[] = L"advapi32.dll";
constexpr wchar_t kBcrypt[] = L"bcrypt.dll";
constexpr wchar_t kKernel[] = L"kernel32.dll";
constexpr wchar_t kWinHttp[] = L"winhttp.dll";

// Whatever the stages ask of the system.
using CountedFunctions = std::tuple<
    CountedCall<kWinHttp, "WinHttpOpen", decltype(&::WinHttpOpen)>,
    CountedCall<kWinHttp, "WinHttpConnect", decltype(&::WinHttpConnect)>,
    CountedCall<kWinHttp, "WinHttpOpenRequest", decltype(&::WinHttpOpenRequest)>,
    CountedCall<kWinHttp, "WinHttpSendRequest", decltype(&::WinHttpSendRequest)>,
    CountedCall<kWinHttp, "WinHttpReceiveResponse", decltype(&::WinHttpReceiveResponse)>,
    CountedCall<kWinHttp, "WinHttpQueryHeaders", decltype(&::WinHttpQueryHeaders)>,
    CountedCall<kWinHttp, "WinHttpReadData", decltype(&::WinHttpReadData)>,
    CountedCall<kBcrypt, "BCryptOpenAlgorithmProvider", decltype(&::BCryptOpenAlgorithmProvider)>,
    CountedCall<kBcrypt, "BCryptHashData", decltype(&::BCryptHashData)>,
    CountedCall<kBcrypt, "BCryptFinishHash", decltype(&::BCryptFinishHash)>,
    CountedCall<kKernel, "GetTempPathW", decltype(&::GetTempPathW)>,
    CountedCall<kKernel, "CreateFileW", decltype(&::CreateFileW)>,
    CountedCall<kKernel, "ReadFile", decltype(&::ReadFile)>,
    CountedCall<kKernel, "WriteFile", decltype(&::WriteFile)>,
    CountedCall<kKernel, "SetFileTime", decltype(&::SetFileTime)>,
    CountedCall<kKernel, "CopyFileW", decltype(&::CopyFileW)>,
    CountedCall<kKernel, "MoveFileExW", decltype(&::MoveFileExW)>,
    CountedCall<kKernel, "CreateDirectoryW", decltype(&::CreateDirectoryW)>,
    CountedCall<kKernel, "RemoveDirectoryW", decltype(&::RemoveDirectoryW)>,
    CountedCall<kKernel, "DeleteFileW", decltype(&::DeleteFileW)>,
    CountedCall<kKernel, "SetFileInformationByHandle", decltype(&::SetFileInformationByHandle)>,
    CountedCall<kKernel, "SetFileAttributesW", decltype(&::SetFileAttributesW)>,
    CountedCall<kKernel, "FindFirstFileExW", decltype(&::FindFirstFileExW)>,
    CountedCall<kKernel, "FindNextFileW", decltype(&::FindNextFileW)>,
    CountedCall<kKernel, "GetFileAttributesW", decltype(&::GetFileAttributesW)>,
    CountedCall<kKernel, "GetFileAttributesExW", decltype(&::GetFileAttributesExW)>,
    CountedCall<kKernel, "GetFileInformationByHandle", decltype(&::GetFileInformationByHandle)>,
    CountedCall<kKernel, "GetFileInformationByHandleEx", decltype(&::GetFileInformationByHandleEx)>,
    CountedCall<kKernel, "GetFileSizeEx", decltype(&::GetFileSizeEx)>,
    CountedCall<kKernel, "GetFileTime", decltype(&::GetFileTime)>,
    CountedCall<kKernel, "GetFinalPathNameByHandleW", decltype(&::GetFinalPathNameByHandleW)>,
    CountedCall<kKernel, "SearchPathW", decltype(&::SearchPathW)>,
    CountedCall<kKernel, "CreateProcessW", decltype(&::CreateProcessW)>,
    CountedCall<kKernel, "WaitForSingleObject", decltype(&::WaitForSingleObject)>,
    CountedCall<kKernel, "GetExitCodeProcess", decltype(&::GetExitCodeProcess)>,
    CountedCall<kAdvapi, "RegCreateKeyExW", decltype(&::RegCreateKeyExW)>,
    CountedCall<kAdvapi, "RegSetValueExW", decltype(&::RegSetValueExW)>,
    CountedCall<kAdvapi, "RegCloseKey", decltype(&::RegCloseKey)>>;

template <typename Value, size_t kCount>
std::optional<Value> ValueNamed(const std::array<std::wstring_view, kCount>& names,
                                std::wstring_view name) {
    const auto found = std::find(names.begin(), names.end(), name);
    return found == names.end() ? std::nullopt
                                : std::optional(static_cast<Value>(found - names.begin()));
}

std::optional<ChosenCall> ReadChosenCall(wchar_t** arguments) {
    const auto intervention = ValueNamed<Intervention>(kInterventionNames, arguments[0]);
    const auto phase = ValueNamed<Phase>(kPhaseNames, arguments[1]);
    if (!intervention || !phase) {
        return std::nullopt;
    }
    return ChosenCall{*intervention, *phase, ToUtf8(arguments[2]),
                      static_cast<unsigned>(std::wcstoul(arguments[3], nullptr, 10))};
}

void PrintReport() {
    std::printf("detail\t%s\n", ToUtf8(snapshot().detailLine).c_str());
    for (const auto& [place, number] : CountedCalls()) {
        std::printf("calls\t%s\t%s\t%u\n",
                    ToUtf8(kPhaseNames[static_cast<size_t>(place.first)]).c_str(),
                    place.second.c_str(), number);
    }
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    std::optional<ChosenCall> chosen;
    if (argc == kInterventionArguments) {
        chosen = ReadChosenCall(argv + kOrderArguments);
    }
    if (argc != kOrderArguments && !chosen) {
        return kUsageError;
    }
    const JobKind kind =
        std::wstring_view(argv[2]) == L"reinstall" ? JobKind::Reinstall : JobKind::Repair;
    toolConfig.archiveSha256 = argv[3];
    toolConfig.startupExe = L"client.exe";
    LocateTool();

    const CountedFunctions countedFunctions;
    BeginCounting(chosen);
    if (!PrepareJob(kind, argv[1])) {
        return kUsageError;
    }
    StartJobThread([kind] { runJob(kind); });
    JoinJobThread();
    if (chosen) {
        Die(kKilledLate);
    }
    PrintReport();
    return snapshot().stage == JobStage::Done ? kJobSucceeded : kJobFailed;
}
