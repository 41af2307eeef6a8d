// SHA-256 throughput compared with a plain read-and-hash loop with the tool's parameters,
// and the peak memory of a small and a large package.

#include <string>
#include <vector>

#include "bench_parts/scratch_folder.h"
#include "benchmarks/measure.h"
#include "common/handles.h"
#include "package/bcrypt_api.h"
#include "package/package_hash.h"

namespace {

constexpr int kRounds = 31;
constexpr uint64_t kComparedBytes = 64ull << 20;
constexpr uint64_t kSmallBytes = 1ull << 20;
constexpr uint64_t kLargeBytes = 4ull << 30;
constexpr DWORD kReadChunkBytes = 0x100000;

bool HashPieces(HANDLE file, BCRYPT_HASH_HANDLE hash) {
    std::vector<UCHAR> buffer(kReadChunkBytes);
    DWORD bytesRead = 0;
    while (::ReadFile(file, buffer.data(), kReadChunkBytes, &bytesRead, nullptr) &&
           bytesRead != 0) {
        if (::BCryptHashData(hash, buffer.data(), bytesRead, 0) != 0) {
            return false;
        }
    }
    UCHAR digest[32];
    return ::BCryptFinishHash(hash, digest, sizeof digest, 0) == 0;
}

bool HashBare(const std::wstring& path) {
    const KernelHandle file = AdoptHandle<KernelHandle>(
        ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                      OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    BCRYPT_ALG_HANDLE provider = nullptr;
    if (!file ||
        ::BCryptOpenAlgorithmProvider(&provider, BCRYPT_SHA256_ALGORITHM, nullptr, 0) != 0) {
        return false;
    }
    ULONG workspaceBytes = 0;
    ULONG written = 0;
    BCRYPT_HASH_HANDLE hash = nullptr;
    bool success = ::BCryptGetProperty(provider, BCRYPT_OBJECT_LENGTH,
                                       reinterpret_cast<PUCHAR>(&workspaceBytes),
                                       sizeof workspaceBytes, &written, 0) == 0;
    std::vector<UCHAR> workspace(workspaceBytes);
    success = success && ::BCryptCreateHash(provider, &hash, workspace.data(), workspaceBytes,
                                            nullptr, 0, 0) == 0;
    if (success) {
        success = HashPieces(file.get(), hash);
        ::BCryptDestroyHash(hash);
    }
    ::BCryptCloseAlgorithmProvider(provider, 0);
    return success;
}

}  // namespace

int main() {
    const bench::ScratchFolder scratch;
    const std::wstring package = scratch.Path() / L"pkg.zip";
    const auto hashPackage = [&] {
        std::wstring hex;
        return ComputeFileSha256(package, hex);
    };
    const auto hashFileOf = [&](uint64_t bytes) {
        bench::MakeSparseFile(package, bytes);
        return hashPackage();
    };
    PrintMemoryGrowth(
        "Peak memory, SHA-256 of 4 GiB instead of 1 MiB", [&] { return hashFileOf(kSmallBytes); },
        [&] { return hashFileOf(kLargeBytes); });

    bench::MakeSparseFile(package, kComparedBytes);
    const Comparison comparison =
        CompareByTurns(kRounds, hashPackage, [&] { return HashBare(package); });
    PrintTimes("SHA-256 of 64 MiB, warm", comparison.seconds);
    PrintTimes("the same, processor time", comparison.cpuSeconds);
    return 0;
}
