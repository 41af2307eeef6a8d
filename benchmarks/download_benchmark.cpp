// Download throughput compared with a plain read-and-write loop, and the peak memory of
// a small and a large package. Wants the fault server, which is slower than many a web server: it
// bounds both throughputs, so the processor time of the client is printed too.

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "bench_parts/fault_server_client.h"
#include "bench_parts/scratch_folder.h"
#include "benchmarks/measure.h"
#include "common/handles.h"
#include "job/progress/job_progress.h"
#include "package/http_download.h"
#include "package/winhttp_api.h"

namespace {

constexpr int kRounds = 31;
constexpr uint64_t kComparedBytes = 64ull << 20;
constexpr uint64_t kSmallBytes = 1ull << 20;
constexpr uint64_t kLargeBytes = 4ull << 30;
constexpr DWORD kReadChunkBytes = 0x100000;

struct CloseInternetHandle {
    void operator()(HINTERNET handle) const noexcept {
        ::WinHttpCloseHandle(handle);
    }
};
using InternetHandle = std::unique_ptr<std::remove_pointer_t<HINTERNET>, CloseInternetHandle>;

bool CopyBody(const InternetHandle& request, const KernelHandle& file) {
    std::vector<char> buffer(kReadChunkBytes);
    for (;;) {
        DWORD bytesRead = 0;
        DWORD written = 0;
        if (!::WinHttpReadData(request.get(), buffer.data(), kReadChunkBytes, &bytesRead)) {
            return false;
        }
        if (bytesRead == 0) {
            return true;
        }
        if (!::WriteFile(file.get(), buffer.data(), bytesRead, &written, nullptr)) {
            return false;
        }
    }
}

bool DownloadBare(uint16_t port, const std::wstring& objectName, const std::wstring& target) {
    const InternetHandle session(
        ::WinHttpOpen(L"bare", WINHTTP_ACCESS_TYPE_AUTOMATIC_PROXY, nullptr, nullptr, 0));
    const InternetHandle connection(::WinHttpConnect(session.get(), L"127.0.0.1", port, 0));
    const InternetHandle request(::WinHttpOpenRequest(connection.get(), L"GET", objectName.c_str(),
                                                      nullptr, nullptr, nullptr, 0));
    if (!::WinHttpSendRequest(request.get(), nullptr, 0, nullptr, 0, 0, 0) ||
        !::WinHttpReceiveResponse(request.get(), nullptr)) {
        return false;
    }
    const KernelHandle file = AdoptHandle<KernelHandle>(::CreateFileW(
        target.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    return file && CopyBody(request, file);
}

}  // namespace

int main() {
    const bench::ScratchFolder scratch;
    const bench::FaultServer server;
    const std::wstring target = scratch.Path() / L"pkg.zip";
    const auto downloadBytes = [&](uint64_t bytes) {
        return DownloadPackage(server.Url(L"body/" + std::to_wstring(bytes)), target);
    };
    PrintMemoryGrowth(
        "Peak memory, download of 4 GiB instead of 1 MiB",
        [&] { return downloadBytes(kSmallBytes); }, [&] { return downloadBytes(kLargeBytes); });

    const std::string objectName = server.ObjectName("body/" + std::to_string(kComparedBytes));
    const std::wstring wideObjectName(objectName.begin(), objectName.end());
    const Comparison comparison = CompareByTurns(
        kRounds, [&] { return downloadBytes(kComparedBytes); },
        [&] { return DownloadBare(server.HttpPort(), wideObjectName, target); });
    PrintTimes("Download of 64 MiB, the server's work included", comparison.seconds);
    PrintTimes("the same, processor time of the client", comparison.cpuSeconds);
    return 0;
}
