#include "bench_parts/fault_server_client.h"

#include "bench_parts/scratch_folder.h"
#include "common/windows_api.h"

// Both want the types of windows_api.h.
#include <wincrypt.h>
#include <winsock2.h>

#include <atomic>
#include <exception>
#include <filesystem>
#include <ios>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <type_traits>

namespace bench {
namespace {

// Set by the build: the folder that fault_server.py was started with.
constexpr wchar_t kServerFolder[] = FAULT_SERVER_FOLDER;

[[noreturn]] void ThrowNotRunning(const std::string& what) {
    throw std::runtime_error("fault server: " + what + " (is it started?)");
}

// Owner of a socket; INVALID_SOCKET is never stored.
class LoopbackSocket {
public:
    LoopbackSocket() : socket_(Open()) {}
    ~LoopbackSocket() {
        ::closesocket(socket_);
    }
    LoopbackSocket(const LoopbackSocket&) = delete;
    LoopbackSocket& operator=(const LoopbackSocket&) = delete;

    [[nodiscard]] SOCKET Get() const {
        return socket_;
    }

private:
    static SOCKET Open() {
        static const bool started = [] {
            WSADATA data{};
            return ::WSAStartup(MAKEWORD(2, 2), &data) == 0;
        }();
        const SOCKET opened =
            started ? ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP) : INVALID_SOCKET;
        if (opened == INVALID_SOCKET) {
            throw std::runtime_error("fault server: no socket");
        }
        return opened;
    }

    SOCKET socket_;
};

sockaddr_in LoopbackAddress(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = ::htons(port);
    address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
    return address;
}

// The body of the answer to GET `objectName`.
std::string Fetch(std::uint16_t port, const std::string& objectName) {
    const LoopbackSocket connection;
    const sockaddr_in address = LoopbackAddress(port);
    if (::connect(connection.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) !=
        0) {
        ThrowNotRunning("no connection");
    }
    const std::string request = "GET " + objectName + " HTTP/1.1\r\n\r\n";
    if (::send(connection.Get(), request.data(), static_cast<int>(request.size()), 0) !=
        static_cast<int>(request.size())) {
        ThrowNotRunning("request not sent");
    }
    std::string answer;
    char piece[4096];
    for (int size = 0; (size = ::recv(connection.Get(), piece, sizeof piece, 0)) > 0;) {
        answer.append(piece, static_cast<std::size_t>(size));
    }
    const std::size_t headEnd = answer.find("\r\n\r\n");
    if (headEnd == std::string::npos) {
        ThrowNotRunning("no answer");
    }
    return answer.substr(headEnd + 4);
}

struct CloseCertificateStore {
    void operator()(HCERTSTORE store) const noexcept {
        ::CertCloseStore(store, 0);
    }
};
using CertificateStore = std::unique_ptr<std::remove_pointer_t<HCERTSTORE>, CloseCertificateStore>;

struct FreeCertificate {
    void operator()(PCCERT_CONTEXT certificate) const noexcept {
        ::CertFreeCertificateContext(certificate);
    }
};
using Certificate = std::unique_ptr<const CERT_CONTEXT, FreeCertificate>;

CertificateStore OpenUsersAuthorities() {
    return CertificateStore(
        ::CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_CURRENT_USER, L"Root"));
}

const BYTE* Bytes(const std::string& text) {
    return reinterpret_cast<const BYTE*>(text.data());
}

std::filesystem::path ServerFile(const wchar_t* name) {
    return std::filesystem::path(kServerFolder) / name;
}

// Letters and digits that no other test, program or run uses.
std::string UniquePrefix() {
    static std::atomic<unsigned> count = 0;
    LARGE_INTEGER now{};
    ::QueryPerformanceCounter(&now);
    FILETIME date{};
    ::GetSystemTimeAsFileTime(&date);
    std::ostringstream prefix;
    prefix << std::hex << 't' << ::GetCurrentProcessId() << 'x' << now.QuadPart << 'x'
           << date.dwLowDateTime << 'x' << ++count;
    return prefix.str();
}

std::wstring Widen(std::string_view ascii) {
    return {ascii.begin(), ascii.end()};
}

std::string LowerAscii(std::string_view text) {
    std::string lower(text);
    for (char& character : lower) {
        if (character >= 'A' && character <= 'Z') {
            character = static_cast<char>(character - 'A' + 'a');
        }
    }
    return lower;
}

}  // namespace

std::string LoggedRequest::HeaderValue(std::string_view name) const {
    const std::string start = LowerAscii(name) + ":";
    for (const std::string& header : headers) {
        if (LowerAscii(header).starts_with(start)) {
            const std::size_t value = header.find_first_not_of(' ', start.size());
            return value == std::string::npos ? std::string() : header.substr(value);
        }
    }
    return {};
}

FaultServer::FaultServer() : prefix_(UniquePrefix()) {
    std::istringstream ports;
    try {
        ports.str(ReadFile(ServerFile(L"ports")));
    } catch (const std::exception& error) {
        ThrowNotRunning(error.what());
    }
    ports >> httpPort_ >> httpsPort_ >> strangersPort_;
    if (!ports) {
        ThrowNotRunning("no port numbers");
    }
    Fetch(httpPort_, "/control/ping");
}

std::wstring FaultServer::Url(std::wstring_view behavior) const {
    return L"http://127.0.0.1:" + std::to_wstring(httpPort_) + Widen(ObjectName("")) +
           std::wstring(behavior);
}

std::wstring FaultServer::SecureUrl(std::wstring_view behavior) const {
    return L"https://localhost:" + std::to_wstring(httpsPort_) + Widen(ObjectName("")) +
           std::wstring(behavior);
}

std::wstring FaultServer::StrangersUrl(std::wstring_view behavior) const {
    return L"https://localhost:" + std::to_wstring(strangersPort_) + Widen(ObjectName("")) +
           std::wstring(behavior);
}

std::string FaultServer::ObjectName(std::string_view behavior) const {
    return "/" + prefix_ + "/" + std::string(behavior);
}

std::vector<LoggedRequest> FaultServer::RequestLog() const {
    std::istringstream log(Fetch(httpPort_, "/control/log/" + prefix_));
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
    Fetch(httpPort_, "/control/release/" + prefix_);
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
    const LoopbackSocket socket;
    sockaddr_in address = LoopbackAddress(0);
    int size = sizeof address;
    if (::bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::getsockname(socket.Get(), reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        throw std::runtime_error("fault server: no free port");
    }
    return ::ntohs(address.sin_port);
}

TestAuthority::TestAuthority() {
    const CertificateStore store = OpenUsersAuthorities();
    const std::string authority = ReadFile(ServerFile(L"authority.der"));
    // No context comes back: as long as one lives, closing the store would not save it.
    trusted_ = IsWine() && store &&
               ::CertAddEncodedCertificateToStore(store.get(), X509_ASN_ENCODING, Bytes(authority),
                                                  static_cast<DWORD>(authority.size()),
                                                  CERT_STORE_ADD_REPLACE_EXISTING, nullptr);
}

TestAuthority::~TestAuthority() {
    if (!trusted_) {
        return;
    }
    const std::string authority = ReadFile(ServerFile(L"authority.der"));
    const Certificate wanted(::CertCreateCertificateContext(X509_ASN_ENCODING, Bytes(authority),
                                                            static_cast<DWORD>(authority.size())));
    const CertificateStore store = OpenUsersAuthorities();
    const PCCERT_CONTEXT found = ::CertFindCertificateInStore(
        store.get(), X509_ASN_ENCODING, 0, CERT_FIND_EXISTING, wanted.get(), nullptr);
    if (found != nullptr) {
        ::CertDeleteCertificateFromStore(found);  // Frees it, too.
    }
}

}  // namespace bench
