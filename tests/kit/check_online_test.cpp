// What `check --online` finds at servers that behave in every way.

#include "kit/check_online.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "bench_parts/fault_server_client.h"
#include "bench_parts/scratch_folder.h"
#include "bench_parts/skipping.h"
#include "package/package_hash.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class CheckOnlineTest : public testing::Test {
protected:
    // The ids of what is found, in their order.
    std::vector<std::string> Find() {
        Findings findings;
        CheckOnline(config_, options_, findings, console_);
        found_ = findings.List();
        std::vector<std::string> ids;
        for (const Finding& finding : found_) {
            ids.emplace_back(finding.rule->id);
        }
        return ids;
    }

    std::vector<std::string> FindAt(const std::wstring& url) {
        config_.archiveUrl = url;
        return Find();
    }

    // At an address of the plain server.
    std::vector<std::string> FindAtBehavior(const std::wstring& behavior) {
        return FindAt(server_.Url(behavior));
    }

    // The digest of what the behavior "package" sends.
    [[nodiscard]] std::wstring PackageDigest(size_t size) const {
        const auto file = scratch_.Path() / L"package";
        bench::WriteFile(file, "PK\x03\x04" + bench::PatternBytes(size).substr(4));
        std::wstring digest;
        EXPECT_TRUE(ComputeFileSha256(file.native(), digest));
        return digest;
    }

    bench::ScratchFolder scratch_;
    bench::FaultServer server_;
    ToolConfig config_;
    OnlineOptions options_;
    Console console_;
    std::vector<Finding> found_;
};

TEST_F(CheckOnlineTest, FindsNothingAtAGoodServerAndAsksAsTheToolDoes) {
    const std::wstring url = server_.Url(L"package/1000/1000");
    EXPECT_THAT(FindAt(L" " + url + L"\t"), IsEmpty());
    ASSERT_EQ(server_.RequestLog().size(), 1u);
    EXPECT_EQ(server_.RequestLog().front().requestLine,
              "GET " + server_.ObjectName("package/1000/1000") + " HTTP/1.1");
    EXPECT_EQ(server_.RequestLog().front().HeaderValue("User-Agent"), "KrvBrennickRepair/1.0");
}

TEST_F(CheckOnlineTest, ReadsOnlyTheFirstBytesWithoutDownload) {
    // The server waits for longer than this test.
    EXPECT_THAT(FindAtBehavior(L"package/10000000000/1000/wait"), IsEmpty());
    server_.ReleaseWaits();
}

TEST_F(CheckOnlineTest, NamesServersThatDoNotAnswer) {
    server_.ReleaseWaits();
    const std::wstring urls[] = {
        L"http://127.0.0.1:" + std::to_wstring(bench::UnusedPort()) + L"/pkg.zip",
        L"http://" + std::wstring(64, L'x') + L".invalid/pkg.zip",
        server_.Url(L"close"),
        server_.Url(L"garbage"),
        server_.Url(L"loop"),
        server_.Url(L"silence"),
        server_.Url(L"reset/1000/4"),
    };
    for (const std::wstring& url : urls) {
        EXPECT_THAT(FindAt(url), ElementsAre("online.unreachable")) << testing::PrintToString(url);
    }
    FindAt(urls[0]);
    EXPECT_EQ(found_.front().message,
              "The server does not answer as it should: it accepts no connection (code 12029).");
}

TEST_F(CheckOnlineTest, NamesEveryStatusBut200) {
    for (const wchar_t* status :
         {L"201", L"204", L"206", L"304", L"403", L"404", L"416", L"500", L"503"}) {
        EXPECT_THAT(FindAtBehavior(std::wstring(L"status/") + status),
                    ElementsAre("online.status"));
        EXPECT_THAT(found_.front().message, testing::HasSubstr(std::string(status, status + 3)));
    }
}

TEST_F(CheckOnlineTest, NamesAPageInsteadOfAnArchive) {
    EXPECT_THAT(FindAtBehavior(L"body/1000"), ElementsAre("online.page"));
    EXPECT_THAT(FindAtBehavior(L"body/0"), ElementsAre("online.page"));
    EXPECT_THAT(FindAtBehavior(L"body/3"), ElementsAre("online.page"));
}

TEST_F(CheckOnlineTest, NamesHeadersThatHinderTheTool) {
    EXPECT_THAT(FindAtBehavior(L"package/0/1000"), ElementsAre("online.no-length"));
    EXPECT_THAT(FindAtBehavior(L"encoded/1000"), ElementsAre("online.encoding", "online.page"));
}

TEST_F(CheckOnlineTest, ComparesTheLengthWithTheLocalPackage) {
    options_.packageBytes = 1000;
    EXPECT_THAT(FindAtBehavior(L"package/1000/1000"), IsEmpty());
    EXPECT_THAT(FindAtBehavior(L"package/1001/1001"), ElementsAre("online.length"));
    EXPECT_THAT(FindAtBehavior(L"package/0/1001"), ElementsAre("online.no-length"));
}

TEST_F(CheckOnlineTest, FollowsRedirectsWithinAScheme) {
    EXPECT_THAT(FindAtBehavior(L"redirect/relative/package/1000/1000"), IsEmpty());
    EXPECT_EQ(server_.RequestLog().size(), 2u);
    EXPECT_THAT(FindAtBehavior(L"redirect/absolute/status/404"), ElementsAre("online.status"));
}

TEST_F(CheckOnlineTest, NamesARedirectFromHttpsToHttp) {
    const bench::TestAuthority authority;
    SKIP_ON_WINDOWS_WITHOUT(authority.Trusted(),
                            "a certificate store that trusts without a question");
    EXPECT_THAT(FindAt(server_.SecureUrl(L"package/1000/1000")), IsEmpty());
    EXPECT_THAT(FindAt(server_.SecureUrl(L"redirect/http/package/1000/1000")),
                ElementsAre("online.to-http"));
    EXPECT_THAT(FindAt(server_.Url(L"redirect/https/package/1000/1000")), IsEmpty());
    EXPECT_THAT(FindAt(server_.Url(L"redirect/https/redirect/http/package/1000/1000")),
                ElementsAre("online.to-http"));
}

TEST_F(CheckOnlineTest, NamesACertificateThatNobodyTrusts) {
    EXPECT_THAT(FindAt(server_.StrangersUrl(L"package/1000/1000")),
                ElementsAre("online.certificate"))
        << found_.front().message;
}

TEST_F(CheckOnlineTest, AsksTheMirrorThatPlayersCanChoose) {
    config_.archiveMirrorUrls = {server_.Url(L"status/404"), server_.Url(L"status/500")};
    EXPECT_THAT(FindAtBehavior(L"package/1000/1000"), IsEmpty());
    config_.multiRepairTool = true;
    EXPECT_THAT(Find(), ElementsAre("online.status"));
    EXPECT_EQ(found_.front().place.text, std::string("http://127.0.0.1:") +
                                             std::to_string(server_.HttpPort()) +
                                             server_.ObjectName("status/404"));
    config_.archiveMirrorUrls = {config_.archiveUrl};
    const size_t before = server_.RequestLog().size();
    EXPECT_THAT(Find(), IsEmpty());
    EXPECT_EQ(server_.RequestLog().size(), before + 1) << "one server was asked twice";
}

TEST_F(CheckOnlineTest, AsksNoAddressThatTheToolCannotUse) {
    for (const wchar_t* url :
         {L"", L"ftp://127.0.0.1/pkg.zip", L"HTTP://127.0.0.1/pkg.zip", L"http://", L"pkg.zip"}) {
        EXPECT_THAT(FindAt(url), IsEmpty());
    }
}

TEST_F(CheckOnlineTest, DownloadComparesTheDigest) {
    constexpr size_t kBytes = 2'500'000;
    options_.download = true;
    config_.archiveSha256 = PackageDigest(kBytes);
    EXPECT_THAT(FindAtBehavior(L"package/2500000/2500000"), IsEmpty());
    EXPECT_THAT(FindAtBehavior(L"package/2500001/2500001"), ElementsAre("online.digest"));
    config_.archiveSha256.clear();
    EXPECT_THAT(FindAtBehavior(L"package/2500000/2500000"), IsEmpty());
}

TEST_F(CheckOnlineTest, DownloadNamesABodyThatEndsTooEarly) {
    options_.download = true;
    EXPECT_THAT(FindAtBehavior(L"package/1000000/500000"), ElementsAre("online.length"));
    EXPECT_THAT(FindAtBehavior(L"package/1000000/500000/reset"), ElementsAre("online.length"));
}

}  // namespace
