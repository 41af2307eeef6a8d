#include "bench_parts/fault_server_client.h"

#include "bench_parts/registry_entry.h"
#include "bench_parts/scratch_folder.h"
#include "common/windows_api.h"

// Wants the types of windows_api.h.
#include <wincrypt.h>

#include <atomic>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <type_traits>

namespace bench {
namespace {

// Set by the build: the folder that fault_server.py was started with.
constexpr wchar_t kServerFolder[] = FAULT_SERVER_FOLDER;

struct CloseCertificateStore {
    void operator()(HCERTSTORE store) const noexcept {
        ::CertCloseStore(store, 0);
    }
};
using CertificateStore = std::unique_ptr<std::remove_pointer_t<HCERTSTORE>, CloseCertificateStore>;

std::filesystem::path ServerFile(const std::wstring& name) {
    return std::filesystem::path(kServerFolder) / name;
}

ServerPorts ReadPorts() {
    if (!std::filesystem::exists(ServerFile(L"ports"))) {
        throw std::runtime_error("the fault server is not running");
    }
    std::istringstream numbers(ReadFile(ServerFile(L"ports")));
    ServerPorts ports;
    numbers >> ports.http >> ports.https >> ports.strangers >> ports.unused;
    return ports;
}

// Letters and digits that no other test, program or run uses.
std::string UniquePrefix() {
    static std::atomic<unsigned> count = 0;
    LARGE_INTEGER now{};
    ::QueryPerformanceCounter(&now);
    std::ostringstream prefix;
    prefix << std::hex << 't' << ::GetCurrentProcessId() << 'x' << now.QuadPart << 'x' << ++count;
    return prefix.str();
}

std::wstring Widen(std::string_view ascii) {
    return {ascii.begin(), ascii.end()};
}

}  // namespace

std::string LoggedRequest::HeaderValue(const std::string& name) const {
    const std::string start = name + ": ";
    for (const std::string& header : headers) {
        if (header.starts_with(start)) {
            return header.substr(start.size());
        }
    }
    return {};
}

FaultServer::FaultServer() : ports_(ReadPorts()), prefix_(UniquePrefix()) {}

std::wstring FaultServer::Url(std::wstring_view behavior) const {
    return UrlAt(L"http://127.0.0.1:", ports_.http, behavior);
}

std::wstring FaultServer::SecureUrl(std::wstring_view behavior) const {
    return UrlAt(L"https://localhost:", ports_.https, behavior);
}

std::wstring FaultServer::StrangersUrl(std::wstring_view behavior) const {
    return UrlAt(L"https://localhost:", ports_.strangers, behavior);
}

std::string FaultServer::ObjectName(std::string_view behavior) const {
    return "/" + prefix_ + "/" + std::string(behavior);
}

std::vector<LoggedRequest> FaultServer::RequestLog() const {
    const std::filesystem::path file = FileOfPrefix(L".log");
    std::istringstream log(std::filesystem::exists(file) ? ReadFile(file) : std::string());
    std::vector<LoggedRequest> requests;
    for (LoggedRequest request; std::getline(log, request.scheme); request = {}) {
        std::getline(log, request.requestLine);
        for (std::string header; std::getline(log, header) && !header.empty();) {
            request.headers.push_back(header);
        }
        requests.push_back(request);
    }
    return requests;
}

void FaultServer::ReleaseWaits() const {
    WriteFile(FileOfPrefix(L".release"), "");
}

std::wstring FaultServer::UrlAt(const wchar_t* host, std::uint16_t port,
                                std::wstring_view behavior) const {
    return host + std::to_wstring(port) + Widen(ObjectName("")) + std::wstring(behavior);
}

std::filesystem::path FaultServer::FileOfPrefix(const wchar_t* extension) const {
    return ServerFile(L"requests\\" + Widen(prefix_) + extension);
}

std::string PatternBytes(std::size_t size) {
    constexpr std::size_t kPatternBytes = 251;
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>(i % kPatternBytes);
    }
    return bytes;
}

std::uint16_t UnusedPort() {
    return ReadPorts().unused;
}

TestAuthority::TestAuthority() {
    const CertificateStore store(
        ::CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_CURRENT_USER, L"Root"));
    const std::string authority = ReadFile(ServerFile(L"authority.der"));
    // No context comes back: as long as one lives, closing the store would not save it.
    trusted_ = IsWine() && store &&
               ::CertAddEncodedCertificateToStore(
                   store.get(), X509_ASN_ENCODING, reinterpret_cast<const BYTE*>(authority.data()),
                   static_cast<DWORD>(authority.size()), CERT_STORE_ADD_REPLACE_EXISTING, nullptr);
}

TestAuthority::~TestAuthority() {
    if (trusted_) {
        // Where the store is kept.
        RemoveKey(L"Software\\Microsoft\\SystemCertificates\\Root");
    }
}

}  // namespace bench
