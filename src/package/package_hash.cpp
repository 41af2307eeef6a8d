#include "package/package_hash.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <type_traits>
#include <vector>

#include "common/files.h"
#include "common/text.h"
#include "config/tool_config.h"
#include "job/progress/job_progress.h"
#include "package/bcrypt_api.h"

namespace {

constexpr DWORD kReadChunkBytes = 0x100000;
constexpr size_t kDigestBytes = 32;  // FIPS 180-4: SHA-256 gives 256 bits.

using Digest = std::array<UCHAR, kDigestBytes>;

struct CloseHashProvider {
    void operator()(BCRYPT_ALG_HANDLE provider) const noexcept {
        ::BCryptCloseAlgorithmProvider(provider, 0);
    }
};
using HashProvider = std::unique_ptr<std::remove_pointer_t<BCRYPT_ALG_HANDLE>, CloseHashProvider>;

struct DestroyHash {
    void operator()(BCRYPT_HASH_HANDLE hash) const noexcept {
        ::BCryptDestroyHash(hash);
    }
};
using HashHandle = std::unique_ptr<std::remove_pointer_t<BCRYPT_HASH_HANDLE>, DestroyHash>;

// A running hash with its workspace. The order matters: the hash must be destroyed before its
// workspace and its provider.
struct Sha256 {
    HashProvider provider;
    std::vector<UCHAR> workspace;
    HashHandle hash;
};

HashProvider OpenSha256Provider() {
    BCRYPT_ALG_HANDLE provider = nullptr;
    const NTSTATUS status =
        ::BCryptOpenAlgorithmProvider(&provider, BCRYPT_SHA256_ALGORITHM, nullptr, 0);
    return HashProvider(status == 0 ? provider : nullptr);
}

std::optional<ULONG> WorkspaceBytes(const HashProvider& provider) {
    ULONG bytes = 0;
    ULONG written = 0;
    const NTSTATUS status =
        ::BCryptGetProperty(provider.get(), BCRYPT_OBJECT_LENGTH, reinterpret_cast<PUCHAR>(&bytes),
                            sizeof bytes, &written, 0);
    return status == 0 ? std::optional(bytes) : std::nullopt;
}

HashHandle CreateHash(const HashProvider& provider, std::vector<UCHAR>& workspace) {
    BCRYPT_HASH_HANDLE hash = nullptr;
    const NTSTATUS status = ::BCryptCreateHash(provider.get(), &hash, workspace.data(),
                                               static_cast<ULONG>(workspace.size()), nullptr, 0, 0);
    return HashHandle(status == 0 ? hash : nullptr);
}

std::optional<Sha256> BeginSha256() {
    Sha256 sha256;
    sha256.provider = OpenSha256Provider();
    if (!sha256.provider) {
        return std::nullopt;
    }
    const std::optional<ULONG> workspaceBytes = WorkspaceBytes(sha256.provider);
    if (!workspaceBytes) {
        return std::nullopt;
    }
    sha256.workspace.resize(*workspaceBytes);
    sha256.hash = CreateHash(sha256.provider, sha256.workspace);
    if (!sha256.hash) {
        return std::nullopt;
    }
    return sha256;
}

// Reads through a handle, not a stream: a failing read must not look like the end of the file.
bool HashWholeFile(HANDLE file, const Sha256& sha256) {
    std::vector<UCHAR> buffer(kReadChunkBytes);
    for (;;) {
        DWORD bytesRead = 0;
        if (!::ReadFile(file, buffer.data(), kReadChunkBytes, &bytesRead, nullptr)) {
            return false;
        }
        if (bytesRead == 0) {
            return true;
        }
        if (::BCryptHashData(sha256.hash.get(), buffer.data(), bytesRead, 0) != 0) {
            return false;
        }
    }
}

std::wstring ToHex(std::span<const UCHAR> bytes) {
    constexpr std::wstring_view kHexDigits = L"0123456789abcdef";
    std::wstring hex;
    hex.reserve(bytes.size() * 2);
    for (const UCHAR value : bytes) {
        hex += kHexDigits[value >> 4];
        hex += kHexDigits[value & 0x0F];
    }
    return hex;
}

bool IsHexDigit(wchar_t character) {
    // Not iswxdigit, which on Windows also accepts full-width digits.
    return (character >= L'0' && character <= L'9') || (character >= L'a' && character <= L'f') ||
           (character >= L'A' && character <= L'F');
}

}  // namespace

bool VerifyPackage(const std::wstring& archivePath) {
    if (TrimWhitespace(toolConfig.archiveSha256).empty()) {
        return true;
    }
    reportStage(JobStage::VerifyingPackage, L"Verifying package...", L"Checking SHA-256 hash...");
    std::wstring computed;
    if (!ComputeFileSha256(archivePath, computed)) {
        reportFailure(L"Could not verify the downloaded package.");
        return false;
    }
    if (NormalizeHexDigest(toolConfig.archiveSha256) != NormalizeHexDigest(computed)) {
        reportFailure(L"The downloaded package hash does not match the configured SHA-256.");
        return false;
    }
    return true;
}

bool ComputeFileSha256(const std::wstring& path, std::wstring& hex) {
    hex.clear();
    const KernelHandle file = OpenForReading(path);
    if (!file) {
        return false;
    }
    const std::optional<Sha256> sha256 = BeginSha256();
    if (!sha256 || !HashWholeFile(file.get(), *sha256)) {
        return false;
    }
    Digest digest{};
    if (::BCryptFinishHash(sha256->hash.get(), digest.data(), static_cast<ULONG>(digest.size()),
                           0) != 0) {
        return false;
    }
    hex = ToHex(digest);
    return true;
}

std::wstring NormalizeHexDigest(std::wstring_view text) {
    std::wstring digits;
    for (const wchar_t character : text) {
        if (IsHexDigit(character)) {
            digits += character;
        }
    }
    return LowerCase(digits);
}
