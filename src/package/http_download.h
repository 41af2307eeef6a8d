#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

// The job's download stage: one synchronous GET of `packageUrl` ("http://..." or "https://...")
// into the file `archivePath`, replacing what is there; its folder must exist. Job thread; blocks
// until the body ends. Each of these times out after 30 s: resolving the name, connecting, sending,
// waiting for the response, a pause within the body. Windows limits the response's headers as a
// whole to 90 s. A stop takes effect when the next part of the body arrives or at a timeout.
//
// Publishes stage Downloading with the announced size (0 if unknown), then the received bytes and
// the speed; at the end the received bytes and speed 0. A body that is shorter than announced
// succeeds; the hash check catches it.
//
// False after a reported failure, and without a report after a stop. The file is created only after
// a successful response. A failure leaves the partial file; a stop deletes it, even if it is
// complete.
[[nodiscard]] bool DownloadPackage(const std::wstring& packageUrl, const std::wstring& archivePath);

// The parts of a package URL that a request needs.
struct PackageAddress {
    std::wstring host;
    uint16_t port = 0;        // The URL's own, else the scheme's.
    std::wstring objectName;  // Path and query: "/pkg.zip?token=abc".
    bool secure = false;      // HTTPS.
};

// None when the URL cannot be parsed, its host name has 512 characters or more, or its path 4096 or
// more.
[[nodiscard]] std::optional<PackageAddress> SplitPackageUrl(const std::wstring& packageUrl);

// 200 to 299. A status that could not be read is 0.
bool IsSuccessStatus(uint32_t status);

// "The server returned HTTP 404."
std::wstring HttpStatusMessage(uint32_t status);

// The body is written in blocks of what arrives in a quarter of a second, but at most 1 MiB: a slow
// line shows progress, and a fast one needs few writes.
inline constexpr uint32_t kBlockBytes = 0x100000;

// Whether a block of `bytes`, started `elapsed` ago, is to be written.
bool IsBlockComplete(uint32_t bytes, std::chrono::nanoseconds elapsed);

// How many bytes to read next into a block that has `bytes` and is not full, when `bytesAvailable`
// can be read without waiting. At least 1, because only a read finds the end of the body.
uint32_t NextReadBytes(uint32_t bytes, uint32_t bytesAvailable);

// Limits how often received bytes are published: the window repaints only a few times a second, and
// each publication takes the lock. Measures the speed from one publication to the next.
class DownloadPace {
public:
    using Clock = std::chrono::steady_clock;

    explicit DownloadPace(Clock::time_point start);

    // Counts bytes that have arrived by `now`. If 0.35 s or more have passed since the last
    // publication (initially: since the start), the next one is due, and the result is the speed
    // since then in bytes per second; else none.
    std::optional<double> Add(uint64_t bytes, Clock::time_point now);

private:
    Clock::time_point lastPublication_;
    uint64_t bytesSincePublication_ = 0;
};
