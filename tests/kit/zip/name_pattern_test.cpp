#include "kit/zip/name_pattern.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kit/zip/entry_name.h"

namespace {

struct Row {
    std::string pattern;
    std::vector<std::string> fitting;
    std::vector<std::string> others;
};

TEST(NamePattern, FitsAsDocumented) {
    const std::vector<Row> rows{
        {"*.log", {"a.log", "A.LOG", "x/y/b.log", ".log"}, {"a.logs", "log", "a.log2"}},
        {"*.LOG", {"a.log"}, {}},
        {"a?c", {"abc", "x/a\xC3\xA4\x63", "a\xE8\xAA\xAD\x63"}, {"ac", "abbc", "a/c"}},
        {"saves", {"saves", "saves/a", "x/Saves/y/z", "saves/"}, {"saves2", "mysaves", "asaves/b"}},
        {"data/*.tmp", {"data/a.tmp", "DATA/.tmp"}, {"data/x/a.tmp", "x/data/a.tmp", "a.tmp"}},
        {"data/**", {"data/a", "data/b/c", "data/"}, {"data", "x/data/a", "database/a"}},
        {"**/cache", {"cache", "a/cache", "a/b/cache/x"}, {"xcache", "a/xcache"}},
        {"a/**/b", {"a/b", "a/x/b", "a/x/y/b/c"}, {"a/xb", "ab", "x/a/b"}},
        {"a**z", {"az", "a/b/z", "abz"}, {"a/b/zz2", "ba/z"}},
        {"data\\old", {"data/old", "data/old/x"}, {"data/older"}},
        {"data/", {"data", "x/data/y"}, {"data2"}},
        {"/logs", {"logs", "logs/a"}, {"x/logs", "logs2"}},
        {"\\logs\\", {"logs/a"}, {"x/logs/a"}},
        {"/*.log", {"a.log"}, {"x/a.log"}},
        {"foo**/bar", {"foo/bar", "foox/y/bar"}, {"foobar", "foo/xbar", "x/foo/bar"}},
        {"a/****/b", {"a/b", "a/x/y/b"}, {"a/xb"}},
        {"a***z", {"az", "a/b/z"}, {"ba/z"}},
        {"*", {"a", "a/b"}, {}},
        {"?", {"a", "a/bc", "\xF0\x9F\x98\x80"}, {"ab"}},
        {"\xC3\xA4*",
         {"\xC3\x84"
          "ffin",
          "x/\xC3\xA4"},
         {"affin"}},
        {"", {}, {"a"}},
        {"/", {}, {"a"}},
        {"[a]", {"[a]"}, {"a"}},
    };
    for (const Row& row : rows) {
        NamePattern pattern(row.pattern);
        for (const std::string& name : row.fitting) {
            EXPECT_TRUE(pattern.Fits(FoldCase(name))) << row.pattern << " " << name;
        }
        for (const std::string& name : row.others) {
            EXPECT_FALSE(pattern.Fits(FoldCase(name))) << row.pattern << " " << name;
        }
    }
}

TEST(NamePattern, TakesRowsOfStarsForOne) {
    constexpr size_t kStars = 3'000'000;
    std::string folders;
    for (size_t i = 0; i < kStars; ++i) {
        folders += "**/";
    }
    for (const std::string& stars : {std::string(kStars, '*'), folders}) {
        NamePattern pattern(stars + "b");
        EXPECT_FALSE(pattern.Fits(std::string(20'000, 'A')));
        EXPECT_TRUE(pattern.Fits("A/B"));
    }
}

TEST(NamePattern, TakesNoLongerForManyStars) {
    NamePattern pattern("*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*b");
    EXPECT_FALSE(pattern.Fits(std::string(20'000, 'A')));
}

}  // namespace
