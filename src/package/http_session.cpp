#include "package/http_session.h"

namespace {

constexpr wchar_t kUserAgent[] = L"KrvBrennickRepair/1.0";
constexpr int kTimeoutMs = 30000;

}  // namespace

InternetHandle OpenPackageSession() {
    InternetHandle session(::WinHttpOpen(kUserAgent, WINHTTP_ACCESS_TYPE_AUTOMATIC_PROXY,
                                         WINHTTP_NO_PROXY_NAME, WINHTTP_NO_PROXY_BYPASS, 0));
    if (session) {
        // By default Windows resolves names without a time limit, allows 60 s for a connection and
        // refuses redirects from HTTPS to HTTP. The results are ignored: neither call is known to
        // fail on a new session.
        ::WinHttpSetTimeouts(session.get(), kTimeoutMs, kTimeoutMs, kTimeoutMs, kTimeoutMs);
        DWORD redirectPolicy = WINHTTP_OPTION_REDIRECT_POLICY_ALWAYS;
        ::WinHttpSetOption(session.get(), WINHTTP_OPTION_REDIRECT_POLICY, &redirectPolicy,
                           sizeof redirectPolicy);
    }
    return session;
}

InternetHandle OpenPackageRequest(const InternetHandle& connection, const PackageAddress& address) {
    return InternetHandle(::WinHttpOpenRequest(
        connection.get(), L"GET", address.objectName.c_str(), nullptr, WINHTTP_NO_REFERER,
        WINHTTP_DEFAULT_ACCEPT_TYPES, address.secure ? WINHTTP_FLAG_SECURE : 0));
}

uint32_t QueryHttpStatus(const InternetHandle& request) {
    DWORD status = 0;
    DWORD bytes = sizeof status;
    ::WinHttpQueryHeaders(request.get(), WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER,
                          WINHTTP_HEADER_NAME_BY_INDEX, &status, &bytes, WINHTTP_NO_HEADER_INDEX);
    return status;
}
