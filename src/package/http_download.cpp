#include "package/http_download.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <utility>
#include <vector>

#include "common/files.h"
#include "job/progress/job_progress.h"
#include "package/http_session.h"

namespace {

constexpr size_t kHostCharacters = 512;
constexpr size_t kPathCharacters = 4096;
constexpr size_t kContentLengthBytes = 128;
constexpr std::chrono::milliseconds kBlockTime{250};
constexpr double kPublicationIntervalSeconds = 0.35;

// What one download holds open; closed in reverse order, the file first.
struct Transfer {
    InternetHandle session;
    InternetHandle connection;
    InternetHandle request;
    KernelHandle file;
};

bool SendAndReceive(const InternetHandle& request) {
    return ::WinHttpSendRequest(request.get(), WINHTTP_NO_ADDITIONAL_HEADERS, 0,
                                WINHTTP_NO_REQUEST_DATA, 0, 0, 0) != FALSE &&
           ::WinHttpReceiveResponse(request.get(), nullptr) != FALSE;
}

// Queried as text, because the numeric query has only 32 bits. 0 without such a header.
uint64_t QueryContentLength(const InternetHandle& request) {
    std::array<wchar_t, kContentLengthBytes / sizeof(wchar_t)> text{};
    DWORD bytes = kContentLengthBytes;
    if (!::WinHttpQueryHeaders(request.get(), WINHTTP_QUERY_CONTENT_LENGTH,
                               WINHTTP_HEADER_NAME_BY_INDEX, text.data(), &bytes,
                               WINHTTP_NO_HEADER_INDEX)) {
        return 0;
    }
    return static_cast<uint64_t>(::_wtoi64(text.data()));
}

void PublishStart(uint64_t bytesTotal) {
    UpdateJobState([&](JobState& state) {
        state.stage = JobStage::Downloading;
        state.bytesTotal = bytesTotal;
        state.bytesReceived = 0;
        state.bytesPerSecond = 0.0;
        state.statusLine = L"Downloading client package...";
        state.detailLine.clear();
    });
}

void PublishReceived(uint64_t bytesReceived, double bytesPerSecond) {
    UpdateJobState([&](JobState& state) {
        state.bytesReceived = bytesReceived;
        state.bytesPerSecond = bytesPerSecond;
    });
}

// Everything up to a body that can be read and a file to write it to. None, with the message in
// `failure` and everything closed, when a step fails.
std::optional<Transfer> BeginTransfer(const PackageAddress& address,
                                      const std::wstring& archivePath, std::wstring& failure) {
    Transfer transfer;
    transfer.session = OpenPackageSession();
    if (!transfer.session) {
        failure = L"Could not start the Windows HTTP downloader.";
        return std::nullopt;
    }
    transfer.connection.reset(
        ::WinHttpConnect(transfer.session.get(), address.host.c_str(), address.port, 0));
    if (!transfer.connection) {
        failure = L"Could not connect to the download host.";
        return std::nullopt;
    }
    transfer.request = OpenPackageRequest(transfer.connection, address);
    if (!transfer.request) {
        failure = L"Could not create the download request.";
        return std::nullopt;
    }
    if (!SendAndReceive(transfer.request)) {
        failure = L"The server did not respond to the download request.";
        return std::nullopt;
    }
    const uint32_t status = QueryHttpStatus(transfer.request);
    if (!IsSuccessStatus(status)) {
        failure = HttpStatusMessage(status);
        return std::nullopt;
    }
    PublishStart(QueryContentLength(transfer.request));
    transfer.file = CreateForWriting(archivePath, 0);
    if (!transfer.file) {
        failure = L"Could not create the temporary download file.";
        return std::nullopt;
    }
    return transfer;
}

// On a full disk WriteFile can succeed with a short count.
bool WriteWhole(const KernelHandle& file, const std::byte* data, DWORD bytes) {
    DWORD written = 0;
    return ::WriteFile(file.get(), data, bytes, &written, nullptr) != FALSE && written == bytes;
}

enum class BodyState { Continues, Ended, Broken };

// Reads the next block of the body into `buffer` and its length into `bytes`; a stop request ends
// the block early. WinHttpReadData blocks until it has all the bytes that it was asked for, so each
// read asks only for what has arrived.
BodyState ReadBlock(const InternetHandle& request, std::vector<std::byte>& buffer, DWORD& bytes) {
    const auto start = DownloadPace::Clock::now();
    bytes = 0;
    while (!jobProgress.cancelRequested &&
           !IsBlockComplete(bytes, DownloadPace::Clock::now() - start)) {
        DWORD bytesAvailable = 0;
        DWORD bytesRead = 0;
        if (!::WinHttpQueryDataAvailable(request.get(), &bytesAvailable) ||
            !::WinHttpReadData(request.get(), buffer.data() + bytes,
                               NextReadBytes(bytes, bytesAvailable), &bytesRead)) {
            return BodyState::Broken;
        }
        if (bytesRead == 0) {
            return BodyState::Ended;
        }
        bytes += bytesRead;
    }
    return BodyState::Continues;
}

// Writes the body to the file until the body ends or a stop is requested; the caller checks the
// flag. False after a reported failure.
bool ReceiveBody(const Transfer& transfer, uint64_t& bytesReceived) {
    std::vector<std::byte> buffer(kBlockBytes);
    DownloadPace pace(DownloadPace::Clock::now());
    while (!jobProgress.cancelRequested) {
        DWORD blockBytes = 0;
        const BodyState state = ReadBlock(transfer.request, buffer, blockBytes);
        if (blockBytes != 0 && !WriteWhole(transfer.file, buffer.data(), blockBytes)) {
            reportFailure(L"Could not write the downloaded data to disk.");
            return false;
        }
        bytesReceived += blockBytes;
        const auto bytesPerSecond = pace.Add(blockBytes, DownloadPace::Clock::now());
        if (bytesPerSecond) {
            PublishReceived(bytesReceived, *bytesPerSecond);
        }
        if (state == BodyState::Broken) {
            reportFailure(L"The download stopped unexpectedly.");
            return false;
        }
        if (state == BodyState::Ended) {
            return true;
        }
    }
    return true;
}

}  // namespace

bool DownloadPackage(const std::wstring& packageUrl, const std::wstring& archivePath) {
    const std::optional<PackageAddress> address = SplitPackageUrl(packageUrl);
    if (!address) {
        reportFailure(L"The package URL is not valid.");
        return false;
    }
    std::wstring failure;
    std::optional<Transfer> transfer = BeginTransfer(*address, archivePath, failure);
    if (!transfer) {
        reportFailure(std::move(failure));
        return false;
    }
    uint64_t bytesReceived = 0;
    const bool complete = ReceiveBody(*transfer, bytesReceived);
    // The file must be closed before it can be deleted.
    transfer.reset();
    PublishReceived(bytesReceived, 0.0);
    if (jobProgress.cancelRequested) {
        static_cast<void>(DeleteSingleFile(archivePath));  // The job's clean-up tries again.
        return false;
    }
    return complete;
}

std::optional<PackageAddress> SplitPackageUrl(const std::wstring& packageUrl) {
    std::array<wchar_t, kHostCharacters> host{};
    std::array<wchar_t, kPathCharacters> path{};
    URL_COMPONENTS parts{};
    parts.dwStructSize = sizeof parts;
    // Requested so that nScheme is set.
    parts.dwSchemeLength = static_cast<DWORD>(-1);
    parts.lpszHostName = host.data();
    parts.dwHostNameLength = static_cast<DWORD>(host.size());
    parts.lpszUrlPath = path.data();
    parts.dwUrlPathLength = static_cast<DWORD>(path.size());
    // Without a buffer the extra info points into the URL, so the query's length is not limited.
    parts.dwExtraInfoLength = static_cast<DWORD>(-1);
    if (!::WinHttpCrackUrl(packageUrl.c_str(), 0, 0, &parts)) {
        return std::nullopt;
    }
    PackageAddress address;
    address.host.assign(host.data(), parts.dwHostNameLength);
    address.port = parts.nPort;
    address.objectName.assign(path.data(), parts.dwUrlPathLength);
    if (parts.dwExtraInfoLength != 0) {
        address.objectName.append(parts.lpszExtraInfo, parts.dwExtraInfoLength);
    }
    address.secure = parts.nScheme == INTERNET_SCHEME_HTTPS;
    return address;
}

bool IsSuccessStatus(uint32_t status) {
    return status >= 200 && status <= 299;
}

std::wstring HttpStatusMessage(uint32_t status) {
    return L"The server returned HTTP " + std::to_wstring(status) + L".";
}

bool IsBlockComplete(uint32_t bytes, std::chrono::nanoseconds elapsed) {
    return bytes == kBlockBytes || elapsed >= kBlockTime;
}

uint32_t NextReadBytes(uint32_t bytes, uint32_t bytesAvailable) {
    return std::clamp(bytesAvailable, 1u, kBlockBytes - bytes);
}

DownloadPace::DownloadPace(Clock::time_point start) : lastPublication_(start) {}

std::optional<double> DownloadPace::Add(uint64_t bytes, Clock::time_point now) {
    bytesSincePublication_ += bytes;
    const double elapsedSeconds = std::chrono::duration<double>(now - lastPublication_).count();
    if (elapsedSeconds < kPublicationIntervalSeconds) {
        return std::nullopt;
    }
    const double bytesPerSecond = static_cast<double>(bytesSincePublication_) / elapsedSeconds;
    lastPublication_ = now;
    bytesSincePublication_ = 0;
    return bytesPerSecond;
}
