#include "package/http_download.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "bench_parts/skipping.h"
#include "package/download_fixture.h"

namespace {

using bench::DownloadTest;
using bench::kMebibyte;

using HttpDownload = DownloadTest;

std::vector<std::string> HeaderNames(const bench::LoggedRequest& request) {
    std::vector<std::string> names;
    for (const std::string& header : request.headers) {
        names.push_back(header.substr(0, header.find(':')));
    }
    return names;
}

TEST_F(HttpDownload, SavesTheBodyAndPublishesItsSize) {
    struct Row {
        const wchar_t* behavior;
        size_t savedBytes;
        uint64_t announcedBytes;
    };
    const Row rows[] = {
        {L"body/3145733", 3 * kMebibyte + 5, 3 * kMebibyte + 5},
        {L"body/2097152", 2 * kMebibyte, 2 * kMebibyte},
        {L"body/1048577", kMebibyte + 1, kMebibyte + 1},
        {L"body/1048576", kMebibyte, kMebibyte},
        {L"body/1048575", kMebibyte - 1, kMebibyte - 1},
        {L"body/1", 1, 1},
        {L"body/0", 0, 0},
        {L"without_length/1500000", 1500000, 0},
        {L"without_length/0", 0, 0},
        {L"chunked/1500000", 1500000, 0},
        // A short body succeeds: the hash check catches it.
        {L"short/2000000/1500000", 1500000, 2000000},
        {L"short/6000000000/10", 10, 6000000000},
        {L"drip/1500/500/50", 1500, 1500},
        {L"encoded/3000", 3000, 3000},
        {L"status/200", 6, 6},
        {L"status/201", 6, 6},
        {L"status/204", 0, 0},
        {L"status/206", 6, 6},
        {L"status/299", 6, 6},
    };
    bench::WriteFile(archive_, std::string(4 * kMebibyte, 'x'));
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.behavior));
        EXPECT_TRUE(Download(row.behavior));
        EXPECT_TRUE(SavedBytes() == bench::PatternBytes(row.savedBytes));
        const JobState state = snapshot();
        EXPECT_EQ(state.bytesTotal, row.announcedBytes);
        EXPECT_EQ(state.bytesReceived, row.savedBytes);
        EXPECT_EQ(state.bytesPerSecond, 0.0);
        EXPECT_EQ(state.statusLine, L"Downloading client package...");
        EXPECT_EQ(state.detailLine, L"");
        ExpectNoFailure();
    }
}

TEST_F(HttpDownload, FollowsRedirectsAndAnnouncesTheLastLength) {
    for (const wchar_t* const behavior :
         {L"redirect/absolute/body/1000", L"redirect/relative/body/1000",
          L"redirect/named/body/1000", L"redirect/query/body/1000",
          L"redirect/absolute/redirect/relative/redirect/named/body/1000"}) {
        SCOPED_TRACE(testing::PrintToString(behavior));
        EXPECT_TRUE(Download(behavior));
        EXPECT_EQ(SavedBytes(), bench::PatternBytes(1000));
        EXPECT_EQ(snapshot().bytesTotal, 1000u);
    }
    const bench::LoggedRequest last = server_.RequestLog().back();
    EXPECT_EQ(last.HeaderValue("Host"), "localhost:" + std::to_string(server_.HttpPort()));
    EXPECT_EQ(last.requestLine, "GET " + server_.ObjectName("body/1000") + " HTTP/1.1");
}

TEST_F(HttpDownload, DownloadsOverHttpsAndFollowsRedirectsFromAndToIt) {
    const bench::TestAuthority authority;
    SKIP_ON_WINDOWS_WITHOUT(authority.Trusted(),
                            "a certificate store that trusts without a question");
    struct Row {
        std::wstring url;
        std::vector<std::string> schemes;
    };
    const Row rows[] = {
        {server_.SecureUrl(L"body/1500000"), {"https"}},
        {server_.Url(L"redirect/https/body/1500000"), {"http", "https"}},
        {server_.SecureUrl(L"redirect/http/body/1500000"), {"https", "http"}},
    };
    std::vector<std::string> schemes;
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.url));
        EXPECT_TRUE(DownloadPackage(row.url, archive_));
        EXPECT_TRUE(SavedBytes() == bench::PatternBytes(1500000));
        schemes.insert(schemes.end(), row.schemes.begin(), row.schemes.end());
    }
    std::vector<std::string> seen;
    for (const bench::LoggedRequest& request : server_.RequestLog()) {
        seen.push_back(request.scheme);
    }
    EXPECT_EQ(seen, schemes);
}

TEST_F(HttpDownload, RequestsPathAndQueryOfTheUrl) {
    struct Row {
        std::wstring behavior;
        std::string objectName;
    };
    const Row rows[] = {
        {L"file/pkg.zip", "file/pkg.zip"},
        {L"file/pkg.zip?token=abc", "file/pkg.zip?token=abc"},
        {L"file/pkg.zip?", "file/pkg.zip?"},
        {L"file/a%20b.zip?x=%26&y=1+2", "file/a%20b.zip?x=%26&y=1+2"},
        {L"file/a b.zip", "file/a%20b.zip"},
        {L"file/\u00FC.zip", "file/%C3%BC.zip"},
        {L"file/?" + std::wstring(8000, L'q'), "file/?" + std::string(8000, 'q')},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.objectName.substr(0, 50));
        EXPECT_TRUE(Download(row.behavior));
        EXPECT_EQ(server_.RequestLog().back().requestLine,
                  "GET " + server_.ObjectName(row.objectName) + " HTTP/1.1");
    }
}

TEST_F(HttpDownload, SendsOnlyItsUserAgent) {
    EXPECT_TRUE(Download(L"body/10"));
    const auto log = server_.RequestLog();
    ASSERT_EQ(log.size(), 1u);
    EXPECT_THAT(HeaderNames(log[0]),
                testing::UnorderedElementsAre("Connection", "User-Agent", "Host"));
    EXPECT_EQ(log[0].HeaderValue("User-Agent"), "KrvBrennickRepair/1.0");
    EXPECT_EQ(log[0].HeaderValue("Host"), "127.0.0.1:" + std::to_string(server_.HttpPort()));
}

}  // namespace
