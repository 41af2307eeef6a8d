#include "kit/content_digest.h"

#include "kit/errors.h"
#include "kit/utf8.h"
#include "package/package_hash.h"
#include "package/sha256.h"

std::string DigestOfBytes(ByteView bytes) {
    Sha256 sha256;
    const std::string digest =
        sha256.Begin() && sha256.Add(bytes) ? WideToUtf8(sha256.Finish()) : "";
    if (digest.empty()) {
        throw OutsideFailure("Windows cannot compute a SHA-256");
    }
    return digest;
}

std::string DigestOfOpenFile(HANDLE file, const std::wstring& path) {
    std::wstring digest;
    if (!::SetFilePointerEx(file, {}, nullptr, FILE_BEGIN) || !ComputeFileSha256(file, digest)) {
        throw OutsideFailure("cannot compute the SHA-256 of", path, ::GetLastError());
    }
    return WideToUtf8(digest);
}
