// Packages with one fault each and clean ones close by (make_packages.py): what the check finds in
// them, and that every rule on packages has both.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "bench_parts/scratch_folder.h"
#include "config/config_text.h"
#include "kit/json.h"
#include "kit/utf8.h"
#include "kit/zip/entry_check.h"
#include "kit/zip/package_check.h"
#include "kit/zip/random_access_file.h"
#include "kit/zip/zip_directory.h"

namespace {

constexpr wchar_t kFolder[] = BENCH_PACKAGES_FOLDER;
constexpr char kSettings[] =
    "startupExe=game.exe\nrepairToolName=repair.exe\narchiveType=zip\narchiveSha256=\n";

Json Expectations() {
    return Json::parse(bench::ReadFile(std::wstring(kFolder) + L"/expected.json"));
}

struct Checked {
    std::vector<std::string> findings;  // "rule@place", sorted.
    PackageFacts facts;
};

Checked Check(const std::string& file, const std::string& settings) {
    Console console;
    console.SetMode({true, false});
    Findings findings;
    Checked checked;
    CheckPackage(std::wstring(kFolder) + L"/" + std::wstring(file.begin(), file.end()),
                 ParseConfigText(settings), findings, checked.facts, console);
    for (const Finding& finding : findings.List()) {
        EXPECT_NE(finding.message, "");
        EXPECT_NE(finding.hint, "");
        checked.findings.push_back(std::string(finding.rule->id) + "@" +
                                   EscapeForDisplay(finding.place.text));
    }
    std::sort(checked.findings.begin(), checked.findings.end());
    return checked;
}

TEST(PackageCorpus, IsJudgedAsExpected) {
    const Json expectations = Expectations();
    EXPECT_GE(expectations.size(), 60U);
    for (const Json& expected : expectations) {
        std::string settings = kSettings;
        for (const Json& line : expected["settings"]) {
            settings += line.get<std::string>() + "\n";
        }
        const std::string file = expected["file"];
        EXPECT_EQ(Check(file, settings).findings,
                  expected["findings"].get<std::vector<std::string>>())
            << file;
    }
}

TEST(PackageCorpus, HasAFindingAndACleanNeighborForEveryRule) {
    std::set<std::string> found;
    std::set<std::string> neighbors;
    for (const Json& expected : Expectations()) {
        for (const std::string finding : expected["findings"]) {
            found.insert(finding.substr(0, finding.find('@')));
        }
        neighbors.insert(expected["neighbor"].get<std::string>());
    }
    for (const Rule& rule : kRules) {
        const std::string id(rule.id);
        if (id.starts_with("package.")) {
            EXPECT_TRUE(found.contains(id)) << id;
            EXPECT_TRUE(neighbors.contains(id)) << id;
        }
    }
}

TEST(PackageCorpus, IsNeverMoreThanWhollyRead) {
    int begun = 0;
    for (const Json& expected : Expectations()) {
        const std::string name = expected["file"];
        const RandomAccessFile file(std::wstring(kFolder) + L"/" +
                                    std::wstring(name.begin(), name.end()));
        ZipDirectory directory = ReadZipDirectory(file);
        if (!directory.problem.empty()) {
            continue;
        }
        uint64_t read = 0;
        static_cast<void>(CheckEntries(file, directory, 1, [&](uint64_t bytes) { read += bytes; }));
        EXPECT_LE(read, directory.offset) << name;
        begun += read > 0 ? 1 : 0;
    }
    EXPECT_GT(begun, 40);
}

TEST(PackageFacts, CountWhatIsInThePackage) {
    const Checked checked = Check("clean.damaged.many.zip", kSettings);
    EXPECT_EQ(checked.facts.kind, "zip");
    EXPECT_EQ(checked.facts.files, 3001U);
    EXPECT_EQ(checked.facts.folders, 7U);
    EXPECT_EQ(checked.facts.largestFile, "game.exe");
    EXPECT_EQ(checked.facts.longestPath, "d0/00000");
    const uint64_t packed =
        bench::ReadFile(std::wstring(kFolder) + L"/clean.damaged.many.zip").size();
    // The numbers 0 to 2999, and game.exe.
    const uint64_t unpacked = 10 + 90 * 2 + 900 * 3 + 2000 * 4 + 200 * 38 - 10 * 2 - 90;
    EXPECT_EQ(checked.facts.packedBytes, packed);
    EXPECT_EQ(checked.facts.unpackedBytes, unpacked);
    EXPECT_EQ(checked.facts.tempBytes, packed + unpacked);
    EXPECT_EQ(checked.facts.movedBytes, 3 * (packed + unpacked));
    EXPECT_EQ(checked.facts.sha256.value_or("").size(), 64U);
}

TEST(PackageFacts, ArePartlyKnownForAnArchiveThatIsNotLookedInto) {
    const Checked checked = Check("rar.rar5.zip", kSettings);
    EXPECT_EQ(checked.facts.kind, "rar");
    EXPECT_EQ(checked.facts.packedBytes, 3008U);
    EXPECT_TRUE(checked.facts.sha256.has_value());
    EXPECT_FALSE(checked.facts.files.has_value());
    EXPECT_FALSE(checked.facts.tempBytes.has_value());
}

}  // namespace
