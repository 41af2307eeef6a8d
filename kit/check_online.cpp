#include "kit/check_online.h"

#include <algorithm>
#include <array>
#include <cwchar>
#include <utility>
#include <vector>

#include "common/text.h"
#include "extract/archive_extraction.h"
#include "kit/errors.h"
#include "kit/utf8.h"
#include "package/http_download.h"
#include "package/http_session.h"
#include "package/package_hash.h"
#include "package/package_source.h"
#include "package/sha256.h"

namespace {

constexpr size_t kFirstBytes = 8;  // What SignatureOf needs.
constexpr size_t kPieceBytes = 0x100000;
constexpr size_t kDigestDigits = 64;

// What WinHTTP reports when the tool would not trust the server, a failed handshake included.
bool IsCertificateError(DWORD error) {
    switch (error) {
        case ERROR_WINHTTP_SECURE_FAILURE:
        case ERROR_WINHTTP_SECURE_CHANNEL_ERROR:
        case ERROR_WINHTTP_SECURE_CERT_DATE_INVALID:
        case ERROR_WINHTTP_SECURE_CERT_CN_INVALID:
        case ERROR_WINHTTP_SECURE_INVALID_CA:
        case ERROR_WINHTTP_SECURE_CERT_REV_FAILED:
        case ERROR_WINHTTP_SECURE_INVALID_CERT:
        case ERROR_WINHTTP_SECURE_CERT_REVOKED:
        case ERROR_WINHTTP_SECURE_CERT_WRONG_USAGE:
            return true;
        default:
            return false;
    }
}

// What is behind the codes that operators meet; the system's words are of little help there.
std::string FailureText(DWORD error) {
    const std::string code = " (code " + std::to_string(error) + ")";
    switch (error) {
        case ERROR_WINHTTP_NAME_NOT_RESOLVED:
            return "its name is unknown" + code;
        case ERROR_WINHTTP_CANNOT_CONNECT:
            return "it accepts no connection" + code;
        case ERROR_WINHTTP_TIMEOUT:
            return "it is silent for 30 seconds" + code;
        case ERROR_WINHTTP_CONNECTION_ERROR:
            return "it breaks the connection" + code;
        case ERROR_WINHTTP_INVALID_SERVER_RESPONSE:
            return "its answer is not HTTP" + code;
        case ERROR_WINHTTP_REDIRECT_FAILED:
            return "its redirects lead nowhere" + code;
        default:
            return SystemErrorText(error);
    }
}

// Called by WinHTTP on each redirect, with the new address.
struct RedirectWatch {
    bool isSecure = false;
    bool leftHttps = false;
};

void CALLBACK OnRedirect(HINTERNET, DWORD_PTR context, DWORD status, LPVOID information, DWORD) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): how WinHTTP hands a context back.
    auto* const watch = reinterpret_cast<RedirectWatch*>(context);
    if (status != WINHTTP_CALLBACK_STATUS_REDIRECT || watch == nullptr) {
        return;
    }
    const std::wstring target = LowerCase(static_cast<const wchar_t*>(information));
    const bool isSecure = target.starts_with(L"https:");
    watch->leftHttps = watch->leftHttps || (watch->isSecure && !isSecure);
    watch->isSecure = isSecure;
}

// The text of a header; none without it.
std::optional<std::wstring> Header(const InternetHandle& request, DWORD header) {
    std::array<wchar_t, 256> text{};
    DWORD bytes = sizeof text;
    if (::WinHttpQueryHeaders(request.get(), header, WINHTTP_HEADER_NAME_BY_INDEX, text.data(),
                              &bytes, WINHTTP_NO_HEADER_INDEX)) {
        return std::wstring(text.data(), bytes / sizeof(wchar_t));
    }
    // One that is too long is there all the same.
    return ::GetLastError() == ERROR_INSUFFICIENT_BUFFER ? std::optional(std::wstring())
                                                         : std::nullopt;
}

std::optional<uint64_t> ContentLength(const InternetHandle& request) {
    const auto text = Header(request, WINHTTP_QUERY_CONTENT_LENGTH);
    if (!text) {
        return std::nullopt;
    }
    return std::wcstoull(text->c_str(), nullptr, 10);
}

// One server's answer, from the request up to the end of its body.
class ServerCheck {
public:
    ServerCheck(const std::wstring& url, const PackageAddress& address, const ToolConfig& config,
                const OnlineOptions& options, Findings& findings, Console& console)
        : url_(WideToUtf8(url)),
          address_(address),
          config_(config),
          options_(options),
          findings_(findings),
          console_(console) {}

    void Run() {
        Open();
        if (!SendAndReceive()) {
            AddFailure(::GetLastError());
            return;
        }
        if (watch_.leftHttps) {
            Add("online.to-http", "A redirect leads from HTTPS to HTTP.",
                "Let the server redirect to an https:// address, so that nobody on the way can "
                "exchange the package.");
        }
        const uint32_t status = QueryHttpStatus(request_);
        if (status != HTTP_STATUS_OK) {
            Add("online.status",
                "The server answers with HTTP " + std::to_string(status) + " instead of 200.",
                "Put the package at this address, and let everybody read it.");
            return;
        }
        CheckHeaders();
        CheckBody();
    }

private:
    void Add(RuleName rule, std::string message, std::string hint) {
        findings_.Add(rule, UrlPlace(url_), std::move(message), std::move(hint));
    }

    void AddFailure(DWORD error) {
        if (IsCertificateError(error)) {
            Add("online.certificate",
                "There is no trusted connection to the server: " + SystemErrorText(error) + ".",
                "Give the server a valid certificate for this host name from an authority that "
                "Windows knows.");
        } else {
            Add("online.unreachable",
                "The server does not answer as it should: " + FailureText(error) + ".",
                "Check the address, and that the server is up and can be reached from outside.");
        }
    }

    void Open() {
        session_ = OpenPackageSession();
        if (session_) {
            connection_.reset(
                ::WinHttpConnect(session_.get(), address_.host.c_str(), address_.port, 0));
        }
        if (connection_) {
            request_ = OpenPackageRequest(connection_, address_);
        }
        if (!request_) {
            throw OutsideFailure("cannot ask " + url_, ::GetLastError());
        }
        watch_.isSecure = address_.secure;
        // Without it only a redirect to HTTP is missed.
        ::WinHttpSetStatusCallback(request_.get(), OnRedirect, WINHTTP_CALLBACK_FLAG_REDIRECT, 0);
    }

    [[nodiscard]] bool SendAndReceive() {
        return ::WinHttpSendRequest(request_.get(), WINHTTP_NO_ADDITIONAL_HEADERS, 0,
                                    WINHTTP_NO_REQUEST_DATA, 0, 0,
                                    reinterpret_cast<DWORD_PTR>(&watch_)) != FALSE &&
               ::WinHttpReceiveResponse(request_.get(), nullptr) != FALSE;
    }

    void CheckHeaders() {
        length_ = ContentLength(request_);
        if (!length_) {
            Add("online.no-length", "The answer has no Content-Length.",
                "Let the server send the package as a plain file; without its length the tool "
                "shows "
                "no progress.");
        } else if (options_.packageBytes && *length_ != *options_.packageBytes) {
            AddLength("The server's file has " + std::to_string(*length_) +
                      " bytes, the local package " + std::to_string(*options_.packageBytes) + ".");
        }
        if (const auto encoding = Header(request_, WINHTTP_QUERY_CONTENT_ENCODING)) {
            Add("online.encoding",
                "The answer has the Content-Encoding " + WideToUtf8(*encoding) + ".",
                "Switch compression off for the package: the tool stores what arrives.");
        }
    }

    void AddLength(std::string message) {
        Add("online.length", std::move(message),
            "Upload the package again, and clear the caches in front of the server.");
    }

    // Reads the next bytes, `most` at most; 0 at the body's end. None when that fails: see
    // GetLastError.
    std::optional<size_t> Read(std::byte* target, size_t most) {
        DWORD available = 0;
        DWORD bytes = 0;
        if (!::WinHttpQueryDataAvailable(request_.get(), &available) ||
            !::WinHttpReadData(request_.get(), target,
                               static_cast<DWORD>(std::clamp<size_t>(available, 1, most)),
                               &bytes)) {
            return std::nullopt;
        }
        return bytes;
    }

    void CheckBody() {
        std::vector<std::byte> buffer(kPieceBytes);
        size_t filled = 0;
        bool ended = false;
        while (filled < kFirstBytes && !ended) {
            const auto bytes = Read(buffer.data() + filled, kFirstBytes - filled);
            if (!bytes) {
                AddBrokenBody(::GetLastError(), filled);
                return;
            }
            ended = *bytes == 0;
            filled += *bytes;
        }
        if (SignatureOf(std::span(buffer).first(filled)) == PackageSignature::Unknown) {
            Add("online.page", "The server sends something that is neither ZIP nor RAR.",
                "Use the address of the file itself, not of a page that offers it.");
        } else if (options_.download) {
            CheckContent(buffer, filled);
        }
    }

    // The first `filled` bytes of the body are in `buffer`.
    void CheckContent(std::vector<std::byte>& buffer, size_t filled) {
        Sha256 sha256;
        if (!sha256.Begin()) {
            throw OutsideFailure("Windows cannot compute a SHA-256");
        }
        Progress progress(console_, "Downloading", length_.value_or(0));
        uint64_t received = 0;
        for (size_t bytes = filled; bytes != 0;) {
            if (!sha256.Add(std::span(buffer).first(bytes))) {
                throw OutsideFailure("Windows cannot compute a SHA-256");
            }
            progress.Add(bytes);
            received += bytes;
            const auto next = Read(buffer.data(), buffer.size());
            if (!next) {
                AddBrokenBody(::GetLastError(), received);
                return;
            }
            bytes = *next;
        }
        if (length_ && received < *length_) {
            AddEarlyEnd(received);
        }
        CheckDigest(sha256.Finish());
    }

    void AddEarlyEnd(uint64_t received) {
        AddLength("The download ends after " + std::to_string(received) + " of " +
                  std::to_string(*length_) + " bytes.");
    }

    // WinHTTP can report a connection that the server closes too early like one that breaks.
    void AddBrokenBody(DWORD error, uint64_t received) {
        if (options_.download && length_ && received < *length_ && error != ERROR_WINHTTP_TIMEOUT) {
            AddEarlyEnd(received);
        } else {
            AddFailure(error);
        }
    }

    void CheckDigest(const std::wstring& digest) {
        const std::wstring expected = NormalizeHexDigest(config_.archiveSha256);
        if (expected.size() == kDigestDigits && digest != expected) {
            Add("online.digest",
                "The download's SHA-256 is " + WideToUtf8(digest) + ", not the configured one.",
                "Upload the package that archiveSha256 belongs to, or set archiveSha256 to this.");
        }
    }

    std::string url_;
    const PackageAddress& address_;
    const ToolConfig& config_;
    const OnlineOptions& options_;
    Findings& findings_;
    Console& console_;
    RedirectWatch watch_;
    InternetHandle session_;
    InternetHandle connection_;
    InternetHandle request_;
    std::optional<uint64_t> length_;
};

}  // namespace

void CheckOnline(const ToolConfig& config, const OnlineOptions& options, Findings& findings,
                 Console& console) {
    std::vector<std::wstring> urls;
    for (const bool primary : {true, false}) {
        const std::wstring chosen = ChoosePackageUrl(config, primary);
        const auto url = JobPackageUrl(TrimWhitespace(chosen), config.archiveUrl);
        if (url && std::ranges::find(urls, *url) == urls.end()) {
            urls.push_back(*url);
        }
    }
    for (const std::wstring& url : urls) {
        if (const auto address = SplitPackageUrl(url)) {
            ServerCheck(url, *address, config, options, findings, console).Run();
        }
    }
}
