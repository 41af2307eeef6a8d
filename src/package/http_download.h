#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

// The job's download stage: one synchronous GET of `packageUrl` ("http://..." or "https://...")
// into the file `archivePath`, replacing what is there; its folder must exist. Job thread; blocks
// until the body ends. A silence of 30 s is a failure: in resolving the name, connecting, sending,
// waiting for the response and within the body. For the response's headers as a whole Windows has a
// limit of its own, 90 s. A stop takes effect when the next part of the body arrives or at the end
// of such a silence.
//
// Publishes stage Downloading with the announced size (0 when the server does not tell), then the
// received bytes and the speed; at the end the received bytes and speed 0. A body that is shorter
// than announced succeeds: the digest tells.
//
// False after a failure, which it has reported, and after a stop, which is reported by nobody. The
// file appears only after a good answer. A failure leaves what was received so far, a stop deletes
// the file, even when the last byte had arrived.
[[nodiscard]] bool DownloadPackage(const std::wstring& packageUrl,
                                   const std::filesystem::path& archivePath);

// What a package URL says about its request.
struct PackageAddress {
    std::wstring host;
    uint16_t port = 0;        // The URL's own, else the scheme's.
    std::wstring objectName;  // Path and everything behind it: "/pkg.zip?token=abc".
    bool secure = false;      // HTTPS.
};

// None when the URL cannot be taken apart, its host name has 512 characters or more, or its path
// 4096 or more.
[[nodiscard]] std::optional<PackageAddress> SplitPackageUrl(const std::wstring& packageUrl);

// 200 to 299. A status that could not be read is 0.
bool IsSuccessStatus(uint32_t status);

// "The server returned HTTP 404."
std::wstring HttpStatusMessage(uint32_t status);

// The body is written in blocks: what arrives in a quarter of a second, but at most 1 MiB. So a
// slow line shows its progress, and a fast one costs few writes.
inline constexpr uint32_t kBlockBytes = 0x100000;

// Whether a block of `bytes`, begun `elapsed` ago, is to be written.
bool IsBlockComplete(uint32_t bytes, std::chrono::nanoseconds elapsed);

// How many bytes to read next into a block of `bytes` that is not full, when `bytesAvailable` can
// be read without waiting. At least 1, also when none is available: only a read shows the end of
// the body.
uint32_t NextReadBytes(uint32_t bytes, uint32_t bytesAvailable);

// Decides when received bytes are worth a publication: the window repaints a few times a second
// and must not wait for the lock more often than that. Measures the speed from one publication to
// the next.
class DownloadPace {
public:
    using Clock = std::chrono::steady_clock;

    explicit DownloadPace(Clock::time_point start);

    // Counts bytes that had arrived by `now`. When 0.35 s or more have passed since the last
    // publication (at first: since the start), it is time for the next, and the result is the
    // speed since then in bytes per second; else none.
    std::optional<double> Add(uint64_t bytes, Clock::time_point now);

private:
    Clock::time_point lastPublication_;
    uint64_t bytesSincePublication_ = 0;
};
