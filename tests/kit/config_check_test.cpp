#include "kit/config_check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "brand_corpus.h"
#include "config/config_keys.h"
#include "kit/config_lines.h"

namespace {

using kit_test::ConfigCase;
using kit_test::ConfigCases;
using kit_test::ConfigText;
using kit_test::Described;
using kit_test::MakeBrand;
using testing::ElementsAre;
using testing::IsEmpty;

Findings Checked(std::string configText, bool noDigest = false) {
    Findings findings;
    CheckConfig(MakeBrand(std::move(configText)), noDigest, findings);
    return findings;
}

std::string Joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

TEST(CheckConfig, FindsExactlyTheFaultOfEachBrand) {
    for (const ConfigCase& brand : ConfigCases()) {
        std::vector<std::string> found = Described(Checked(ConfigText(brand.changes)));
        std::vector<std::string> expected = brand.findings;
        std::sort(found.begin(), found.end());
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(found, expected) << Joined(brand.changes).substr(0, 200);
    }
}

TEST(CheckConfig, EachRuleHasABrandWithItsFinding) {
    constexpr std::string_view kGroups[] = {"config.", "url.",    "mirror.",  "digest.",  "name.",
                                            "link.",   "accent.", "version.", "language."};
    std::set<std::string> found{"config.byte-order-mark"};  // Has tests of its own below.
    for (const ConfigCase& brand : ConfigCases()) {
        for (const std::string& finding : brand.findings) {
            const size_t begin = finding.find(' ') + 1;
            found.insert(finding.substr(begin, finding.find(' ', begin) - begin));
        }
    }
    for (const Rule& rule : kRules) {
        const bool isOurs = std::any_of(std::begin(kGroups), std::end(kGroups),
                                        [&](auto group) { return rule.id.starts_with(group); });
        EXPECT_TRUE(!isOurs || found.contains(std::string(rule.id))) << rule.id;
    }
}

TEST(CheckConfig, FindingsSayWhatToDo) {
    for (const ConfigCase& brand : ConfigCases()) {
        for (const Finding& finding : Checked(ConfigText(brand.changes)).List()) {
            EXPECT_TRUE(finding.message.ends_with('.')) << finding.message;
            EXPECT_TRUE(finding.hint.ends_with('.') || finding.hint.ends_with(")."))
                << finding.hint;
        }
    }
}

TEST(CheckConfig, SaysWhatHappensToTheShortcutsName) {
    const struct {
        const char* name;
        const char* message;
    } rows[] = {
        {"Game: 2", "\"Game: 2\" has characters that no file name can have; they become _."},
        {"\\tGame",
         "\"\tGame\" begins or ends in a blank, a tab or a line break, which is left out."},
        {"Game \\n",
         "\"Game \n\" begins or ends in a blank, a tab or a line break, which is left out."},
        {"Game.", "\"Game.\" ends in a dot."},
    };
    for (const auto& row : rows) {
        const std::vector<Finding> findings =
            Checked(ConfigText({std::string("shortcutName=") + row.name})).List();
        ASSERT_EQ(findings.size(), 1U) << row.message;
        EXPECT_EQ(findings[0].message, row.message);
    }
}

TEST(CheckConfig, AByteOrderMarkIsAnErrorOnlyIfItHidesASettingInUse) {
    const std::string mark = "\xEF\xBB\xBF";
    const std::string rest = ConfigText({});
    EXPECT_THAT(Described(Checked(mark + rest)),
                ElementsAre("warning config.byte-order-mark config.txt:1"));
    EXPECT_THAT(Described(Checked(mark + "# x = y\n" + rest)),
                ElementsAre("warning config.byte-order-mark config.txt:1"));
    EXPECT_THAT(Described(Checked(mark + "welcomeTitle=x\n" + rest)),
                ElementsAre("warning config.byte-order-mark config.txt:1"));
    EXPECT_THAT(Described(Checked(mark + "archiveurl=x\n" + rest)),
                ElementsAre("warning config.byte-order-mark config.txt:1"));
    EXPECT_THAT(Described(Checked(mark + "showLogo=yes \n" + rest)),
                ElementsAre("error config.byte-order-mark config.txt:1"));
}

TEST(CheckConfig, AMissingDigestCanBeAccepted) {
    EXPECT_THAT(Described(Checked(ConfigText({"-archiveSha256"}), true)), IsEmpty());
    EXPECT_THAT(Described(Checked(ConfigText({"archiveSha256=x"}), true)),
                ElementsAre("error digest.malformed config.txt:3"));
}

TEST(CheckConfig, AnEmptyFileLacksAddressAndDigest) {
    EXPECT_THAT(Described(Checked("")),
                ElementsAre("error url.missing config.txt", "error digest.missing config.txt"));
}

TEST(CheckConfig, AMissingFileHasNoFurtherFindings) {
    Findings findings;
    CheckConfig(Brand{}, false, findings);
    EXPECT_THAT(Described(findings), IsEmpty());
}

TEST(NearestConfigKey, IsTheFirstOfTheNearestKeys) {
    const struct {
        std::string_view key;
        std::string_view nearest;
    } rows[] = {
        {"archiveurl", "archiveUrl"},
        {"  archiveUrl\t", "archiveUrl"},
        {"arciveUrl", "archiveUrl"},
        {"archiveUrls", "archiveUrl"},
        {"rachiveUrl", "archiveUrl"},
        {"fromat", "format"},
        {"archive\xC3\x9Crl", "archiveUrl"},
        {"repairproductnam", "repairProductName"},
        {"showd", ""},
        {"", ""},
        {"archiveUrl", ""},
        {"format", ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(NearestConfigKey(row.key).value_or(""), row.nearest) << row.key;
    }
}

// By the definition, without any shortcut.
size_t PlainDistance(std::string_view left, std::string_view right) {
    std::vector<std::vector<size_t>> cells(left.size() + 1, std::vector<size_t>(right.size() + 1));
    for (size_t i = 0; i <= left.size(); ++i) {
        for (size_t j = 0; j <= right.size(); ++j) {
            cells[i][j] = i + j;
            if (i > 0 && j > 0) {
                const size_t replaced = left[i - 1] == right[j - 1] ? 0 : 1;
                cells[i][j] = std::min(
                    {cells[i - 1][j - 1] + replaced, cells[i - 1][j] + 1, cells[i][j - 1] + 1});
            }
        }
    }
    return cells.back().back();
}

TEST(NearestConfigKey, AgreesWithThePlainDistance) {
    std::vector<std::string> keys;
    for (const ConfigKey& key : ConfigKeys()) {
        keys.emplace_back(key.name);
    }
    keys.emplace_back("format");
    const auto lower = [](std::string text) {
        for (char& each : text) {
            each = each >= 'A' && each <= 'Z' ? static_cast<char>(each - 'A' + 'a') : each;
        }
        return text;
    };
    std::mt19937 random(20261122);
    for (int round = 0; round < 300; ++round) {
        std::string text = keys[random() % keys.size()];
        for (auto edits = random() % 4 + 1; edits > 0; --edits) {
            const size_t at = random() % (text.size() + 1);
            const auto letter = static_cast<char>('a' + random() % 26);
            switch (random() % 3) {
                case 0:
                    text.insert(at, 1, letter);
                    break;
                case 1:
                    text.erase(at, 1);
                    break;
                default:
                    text.replace(at, 1, 1, letter);
                    break;
            }
        }
        if (std::find(keys.begin(), keys.end(), text) != keys.end()) {
            continue;
        }
        std::string nearest;
        size_t least = 3;
        for (const std::string& key : keys) {
            const size_t distance = PlainDistance(lower(text), lower(key));
            nearest = distance < least ? key : nearest;
            least = std::min(least, distance);
        }
        EXPECT_EQ(NearestConfigKey(text).value_or(""), nearest) << text;
    }
}

TEST(ContrastRatio, IsTheOneOfTheAccessibilityGuidelines) {
    EXPECT_NEAR(ContrastRatio(0xFFFFFFFF, 0xFF000000), 21.0, 0.001);
    EXPECT_NEAR(ContrastRatio(0xFF777777, 0xFFFFFFFF), 4.478, 0.001);
    EXPECT_NEAR(ContrastRatio(0xFFFF0000, 0xFFFFFFFF), 3.998, 0.001);
}

}  // namespace
