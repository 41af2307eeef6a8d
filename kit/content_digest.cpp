#include "kit/content_digest.h"

#include <cstddef>
#include <span>
#include <vector>

#include "common/files.h"
#include "common/handles.h"
#include "kit/errors.h"
#include "kit/utf8.h"
#include "package/sha256.h"

namespace {

constexpr DWORD kPieceBytes = 0x100000;

class Digest {
public:
    Digest() {
        Require(sha256_.Begin());
    }
    void Add(ByteView bytes) {
        Require(sha256_.Add(bytes));
    }
    [[nodiscard]] std::string Finish() {
        const std::wstring digest = sha256_.Finish();
        Require(!digest.empty());
        return WideToUtf8(digest);
    }

private:
    static void Require(bool success) {
        if (!success) {
            throw OutsideFailure("Windows cannot compute a SHA-256");
        }
    }

    Sha256 sha256_;
};

}  // namespace

std::string DigestOfBytes(ByteView bytes) {
    Digest digest;
    digest.Add(bytes);
    return digest.Finish();
}

std::string DigestOfOpenFile(HANDLE file, const std::wstring& path,
                             const std::function<void(uint64_t)>& addRead) {
    Digest digest;
    std::vector<std::byte> piece(kPieceBytes);
    BOOL success = ::SetFilePointerEx(file, {}, nullptr, FILE_BEGIN);
    DWORD bytes = 0;
    while (success && (success = ::ReadFile(file, piece.data(), kPieceBytes, &bytes, nullptr)) &&
           bytes != 0) {
        digest.Add(std::span(piece).first(bytes));
        addRead(bytes);
    }
    if (!success) {
        throw OutsideFailure("cannot read", path, ::GetLastError());
    }
    return digest.Finish();
}

std::string DigestOfFile(const std::wstring& path) {
    const KernelHandle file = OpenForReading(path);
    if (!file) {
        throw OutsideFailure("cannot read", path, ::GetLastError());
    }
    return DigestOfOpenFile(file.get(), path);
}
