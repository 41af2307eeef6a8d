#include "package/sha256.h"

#include <array>
#include <limits>

namespace {

constexpr size_t kDigestBytes = 32;  // FIPS 180-4: SHA-256 gives 256 bits.

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

}  // namespace

bool Sha256::Begin() {
    BCRYPT_ALG_HANDLE provider = nullptr;
    if (::BCryptOpenAlgorithmProvider(&provider, BCRYPT_SHA256_ALGORITHM, nullptr, 0) != 0) {
        return false;
    }
    provider_.reset(provider);
    ULONG bytes = 0;
    ULONG written = 0;
    if (::BCryptGetProperty(provider, BCRYPT_OBJECT_LENGTH, reinterpret_cast<PUCHAR>(&bytes),
                            sizeof bytes, &written, 0) != 0) {
        return false;
    }
    workspace_.resize(bytes);
    BCRYPT_HASH_HANDLE hash = nullptr;
    if (::BCryptCreateHash(provider, &hash, workspace_.data(), bytes, nullptr, 0, 0) != 0) {
        return false;
    }
    hash_.reset(hash);
    return true;
}

bool Sha256::Add(std::span<const std::byte> bytes) {
    // The call takes no const pointer, but only reads.
    auto* const data = reinterpret_cast<UCHAR*>(const_cast<std::byte*>(bytes.data()));
    return bytes.size() <= std::numeric_limits<ULONG>::max() &&
           ::BCryptHashData(hash_.get(), data, static_cast<ULONG>(bytes.size()), 0) == 0;
}

std::wstring Sha256::Finish() {
    std::array<UCHAR, kDigestBytes> digest{};
    if (::BCryptFinishHash(hash_.get(), digest.data(), static_cast<ULONG>(digest.size()), 0) != 0) {
        return {};
    }
    return ToHex(digest);
}
