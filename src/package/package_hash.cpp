#include "package/package_hash.h"

#include <cstddef>
#include <span>
#include <vector>

#include "common/files.h"
#include "common/text.h"
#include "config/tool_config.h"
#include "job/progress/job_progress.h"
#include "package/sha256.h"

namespace {

constexpr DWORD kReadChunkBytes = 0x100000;
// Reads through a handle, not a stream: a failing read must not look like the end of the file.
bool HashWholeFile(HANDLE file, Sha256& sha256) {
    std::vector<std::byte> buffer(kReadChunkBytes);
    for (;;) {
        DWORD bytesRead = 0;
        if (!::ReadFile(file, buffer.data(), kReadChunkBytes, &bytesRead, nullptr)) {
            return false;
        }
        if (bytesRead == 0) {
            return true;
        }
        if (!sha256.Add(std::span(buffer).first(bytesRead))) {
            return false;
        }
    }
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
    Sha256 sha256;
    if (!sha256.Begin() || !HashWholeFile(file.get(), sha256)) {
        return false;
    }
    hex = sha256.Finish();
    return !hex.empty();
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
