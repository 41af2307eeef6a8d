#include "kit/findings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace {

std::vector<std::string> Places(const Findings& findings) {
    std::vector<std::string> places;
    for (const Finding& finding : findings.List()) {
        places.push_back(finding.place.text);
    }
    return places;
}

TEST(Rules, AreNamedOnce) {
    std::set<std::string_view> ids;
    for (const Rule& rule : kRules) {
        EXPECT_TRUE(ids.insert(rule.id).second) << rule.id;
        EXPECT_TRUE(rule.summary.ends_with('.')) << rule.id;
    }
}

TEST(Findings, AreListedByPlace) {
    Findings findings;
    findings.Add("online.status", UrlPlace("https://b"), "", "");
    findings.Add("package.link", PackageEntry("b/c"), "", "");
    findings.Add("package.link", PackageEntry("b"), "", "");
    findings.Add("package.empty", PackageFile("client.zip"), "", "");
    findings.Add("picture.size", BrandFile("logo.png"), "", "");
    findings.Add("config.unknown-key", ConfigLine(12), "", "");
    findings.Add("config.key-twice", ConfigLine(2), "", "");
    findings.Add("url.missing", ConfigMissing(), "", "");
    findings.Add("online.status", UrlPlace("https://a"), "", "");
    EXPECT_THAT(Places(findings),
                testing::ElementsAre("config.txt", "config.txt:2", "config.txt:12", "logo.png",
                                     "client.zip", "b", "b/c", "https://b", "https://a"));
}

TEST(Findings, KeepTheOrderOfAddingAtOnePlace) {
    Findings findings;
    findings.Add("url.plain-http", ConfigLine(1), "", "");
    findings.Add("config.outer-blank", ConfigLine(1), "", "");
    ASSERT_EQ(findings.List().size(), 2U);
    EXPECT_EQ(findings.List()[0].rule->id, "url.plain-http");
}

TEST(Findings, ListTwentyOfARuleAndSayHowManyThereAre) {
    Findings findings;
    for (uint64_t line = 30; line >= 1; --line) {
        findings.Add("config.unknown-key", ConfigLine(line), "unknown", "");
        if (line == 20) {
            EXPECT_EQ(findings.List().size(), 11U);
        }
    }
    findings.Add("config.key-twice", ConfigLine(40), "", "");
    const std::vector<Finding> list = findings.List();
    ASSERT_EQ(list.size(), 22U);
    EXPECT_EQ(list[19].place.text, "config.txt:20");
    EXPECT_EQ(list[19].message, "unknown");
    EXPECT_EQ(list[20].place.text, "config.txt:21");
    EXPECT_EQ(list[20].rule->id, "config.unknown-key");
    EXPECT_THAT(list[20].message, testing::HasSubstr("30 findings"));
    EXPECT_THAT(list[20].message, testing::HasSubstr("10 are left out"));
    EXPECT_EQ(findings.Count(Severity::Warning), 31U);
    EXPECT_EQ(findings.Count("config.unknown-key"), 30U);
}

TEST(Findings, ListTheOneAfterTwentyAsLeftOut) {
    Findings findings;
    for (uint64_t line = 1; line <= 20; ++line) {
        findings.Add("config.unknown-key", ConfigLine(line), "unknown", "");
    }
    ASSERT_EQ(findings.List().size(), 20U);
    EXPECT_EQ(findings.List()[19].message, "unknown");
    findings.Add("config.unknown-key", ConfigLine(21), "unknown", "");
    EXPECT_EQ(findings.List().back().message,
              "There are 21 findings of this rule; 1 is left out from here on.");
}

TEST(Findings, GiveTheRestTheWorstSeverityThatIsLeftOut) {
    Findings findings;
    for (uint64_t line = 1; line <= 22; ++line) {
        findings.Add("config.outer-blank", line == 22 ? Severity::Error : Severity::Note,
                     ConfigLine(line), "", "");
    }
    EXPECT_EQ(findings.List().back().severity, Severity::Error);
}

TEST(Findings, AsksForTextsOnlyOfEntriesThatMayBeListed) {
    Findings findings;
    int asked = 0;
    const auto add = [&](const std::string& name) {
        findings.AddAtEntry("package.link", name, [&] {
            ++asked;
            return FindingText{"text", "hint"};
        });
    };
    for (char letter = 'c'; letter <= 'w'; ++letter) {
        add(std::string(1, letter));
    }
    EXPECT_EQ(asked, 21);
    add("x");
    EXPECT_EQ(asked, 21);
    add("b");
    EXPECT_EQ(asked, 22);
    EXPECT_EQ(findings.Count("package.link"), 23U);
    EXPECT_EQ(findings.List().front().place.text, "b");
    EXPECT_EQ(findings.List().back().place.text, "v");
}

}  // namespace
