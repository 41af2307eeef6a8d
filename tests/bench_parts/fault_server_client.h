#pragma once

// The tests' side of fault_server.py. The server runs before the tests begin: CTest starts it for
// every test program that add_repair_test(... FIXTURE fault_server) makes, and by hand it is
//   tests/bench_parts/fault_server.py start BUILD_FOLDER/fault_server

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

// A request as it arrived.
struct LoggedRequest {
    std::string scheme;       // "http" or "https".
    std::string requestLine;  // "GET /pkg.zip HTTP/1.1".
    std::vector<std::string> headers;

    // Of the first header of that name, in any letter case; empty without one.
    [[nodiscard]] std::string HeaderValue(std::string_view name) const;
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
        return httpPort_;
    }

    // The requests so far, oldest first.
    [[nodiscard]] std::vector<LoggedRequest> RequestLog() const;

    // Continues every answer of this test that waits for it, now or later.
    void ReleaseWaits() const;

private:
    std::uint16_t httpPort_ = 0;
    std::uint16_t httpsPort_ = 0;
    std::uint16_t strangersPort_ = 0;
    std::string prefix_;
};

// What the server sends as a body of `size` bytes: 0, 1, ... 250, 0, 1, ...
std::string PatternBytes(std::size_t size);

// An unused port on loopback.
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
