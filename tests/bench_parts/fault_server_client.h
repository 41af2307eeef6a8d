#pragma once

// The tests' side of fault_server.py. The server runs before the tests begin: CTest starts it for
// every test program that add_repair_test(... FIXTURE fault_server) makes, and by hand it is
//   tests/bench_parts/fault_server.py start BUILD_FOLDER/fault_server

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

// A request as it arrived.
struct LoggedRequest {
    std::string scheme;       // "http" or "https".
    std::string requestLine;  // "GET /pkg.zip HTTP/1.1".
    std::vector<std::string> headers;

    // Of the first header of that name; empty without one.
    [[nodiscard]] std::string HeaderValue(const std::string& name) const;
};

struct ServerPorts {
    std::uint16_t http = 0;
    std::uint16_t https = 0;
    std::uint16_t strangers = 0;
    std::uint16_t unused = 0;
};

// The server as one test sees it: with URLs and a log that no other test shares. Does not use the
// platform's HTTP client, which tests make fail. The constructor throws std::runtime_error when no
// server runs.
class FaultServer {
public:
    FaultServer();

    // "http://127.0.0.1:PORT/PREFIX/behavior"; the behaviors are listed in fault_server.py.
    [[nodiscard]] std::wstring Url(std::wstring_view behavior) const;
    // "https://localhost:PORT/PREFIX/behavior", valid for those who trust the TestAuthority.
    [[nodiscard]] std::wstring SecureUrl(std::wstring_view behavior) const;
    // The same from a server with an untrusted certificate.
    [[nodiscard]] std::wstring StrangersUrl(std::wstring_view behavior) const;
    // "/PREFIX/behavior", as it appears in a request line.
    [[nodiscard]] std::string ObjectName(std::string_view behavior) const;

    [[nodiscard]] std::uint16_t HttpPort() const {
        return ports_.http;
    }

    // The requests so far, oldest first.
    [[nodiscard]] std::vector<LoggedRequest> RequestLog() const;

    // Continues every answer of this test that waits for it, now or later.
    void ReleaseWaits() const;

private:
    [[nodiscard]] std::wstring UrlAt(const wchar_t* host, std::uint16_t port,
                                     std::wstring_view behavior) const;
    // The server's file for this test's prefix.
    [[nodiscard]] std::filesystem::path FileOfPrefix(const wchar_t* extension) const;

    ServerPorts ports_;
    std::string prefix_;
};

// What the server sends as a body of `size` bytes: 0, 1, ... 250, 0, 1, ...
std::string PatternBytes(std::size_t size);

// A port on loopback that accepts no connections.
std::uint16_t UnusedPort();

// Makes the current user trust the server's certificate as long as the object lives. A program's
// own list of authorities can be older: to be made before the program's first HTTPS connection.
class TestAuthority {
public:
    TestAuthority();
    ~TestAuthority();
    TestAuthority(const TestAuthority&) = delete;
    TestAuthority& operator=(const TestAuthority&) = delete;

    // False where it must not or cannot be done: Windows itself would ask the user.
    [[nodiscard]] bool Trusted() const {
        return trusted_;
    }

private:
    bool trusted_ = false;
};

}  // namespace bench
