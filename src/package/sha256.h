#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

#include "package/bcrypt_api.h"

// The SHA-256 of bytes that come piece by piece, computed by Windows. One thread at a time.
class Sha256 {
public:
    // Once, before anything else. False when Windows cannot do it.
    [[nodiscard]] bool Begin();

    // False when Windows fails; the digest is lost then.
    [[nodiscard]] bool Add(std::span<const std::byte> bytes);

    // The digest as 64 lower-case hexadecimal digits. Empty when Windows fails. Ends the work.
    [[nodiscard]] std::wstring Finish();

private:
    struct CloseProvider {
        void operator()(BCRYPT_ALG_HANDLE provider) const noexcept {
            ::BCryptCloseAlgorithmProvider(provider, 0);
        }
    };
    struct DestroyHash {
        void operator()(BCRYPT_HASH_HANDLE hash) const noexcept {
            ::BCryptDestroyHash(hash);
        }
    };

    // The order matters: the hash must be destroyed before its workspace and its provider.
    std::unique_ptr<std::remove_pointer_t<BCRYPT_ALG_HANDLE>, CloseProvider> provider_;
    std::vector<UCHAR> workspace_;
    std::unique_ptr<std::remove_pointer_t<BCRYPT_HASH_HANDLE>, DestroyHash> hash_;
};
