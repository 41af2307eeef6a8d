#include "kit/zip/package_paths.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

PackagePaths PathsOf(const std::vector<std::string>& names) {
    PackagePaths paths;
    for (size_t i = 0; i < names.size(); ++i) {
        paths.Add(names[i], i);
    }
    paths.Sort();
    return paths;
}

std::vector<std::pair<size_t, size_t>> ClashesOf(const std::vector<std::string>& names) {
    std::vector<std::pair<size_t, size_t>> clashes;
    PathsOf(names).FindClashes(
        [&](size_t first, size_t second) { clashes.emplace_back(first, second); });
    return clashes;
}

TEST(PackagePaths, FindsFilesOfOneName) {
    EXPECT_THAT(ClashesOf({"a/b.txt", "x", "A/B.TXT"}), ElementsAre(Pair(0, 2)));
    EXPECT_THAT(ClashesOf({"a", "a"}), ElementsAre(Pair(0, 1)));
    EXPECT_THAT(ClashesOf({"\xC3\xA4", "\xC3\x84"}), ElementsAre(Pair(0, 1)));
    EXPECT_THAT(ClashesOf({"a", "A", "a"}), ElementsAre(Pair(0, 1), Pair(1, 2)));
}

TEST(PackagePaths, FindsClashesBesideLettersOfEachLength) {
    EXPECT_THAT(ClashesOf({"c", "b\u0100", "C"}), ElementsAre(Pair(0, 2)));
    EXPECT_THAT(ClashesOf({"abcdefg\u00E4", "ABCDEFG\u00C4x", "ABCDEFG\u00C4"}),
                ElementsAre(Pair(0, 2)));
    EXPECT_THAT(ClashesOf({"abc\u8AAD", "ABCDEFGHi", "ABC\u8AAD", "abcdefgh", "abc\U0001F600",
                           "ABCDEFGH", "Abcdefghi", "abc\U0001F600"}),
                testing::UnorderedElementsAre(Pair(0, 2), Pair(3, 5), Pair(1, 6), Pair(4, 7)));
    EXPECT_THAT(ClashesOf({"abcdefg/x", "ABCDEFG/X/y", "abcdefgh\u00E4", "ABCDEFGH\u00C4"}),
                testing::UnorderedElementsAre(Pair(0, 1), Pair(2, 3)));
}

TEST(PackagePaths, FindsAFileThatIsAlsoAFolder) {
    EXPECT_THAT(ClashesOf({"Data/", "data"}), ElementsAre(Pair(1, 0)));
    EXPECT_THAT(ClashesOf({"data/x/y", "DATA"}), ElementsAre(Pair(1, 0)));
    EXPECT_THAT(ClashesOf({"a/b/c/d", "a b", "a.b", "A/B"}), ElementsAre(Pair(3, 0)));
}

TEST(PackagePaths, AcceptsFoldersInTwoSpellings) {
    EXPECT_THAT(ClashesOf({"Data/", "DATA/", "data/a", "dAta/b"}), IsEmpty());
    EXPECT_THAT(ClashesOf({"a", "ab", "a b", "b/a", "b/a.b", "b/ab/c"}), IsEmpty());
}

TEST(PackagePaths, CountsFoldersOnce) {
    EXPECT_EQ(PathsOf({}).FolderCount(), 0U);
    EXPECT_EQ(PathsOf({"a", "b"}).FolderCount(), 0U);
    EXPECT_EQ(PathsOf({"a/b/c", "A/d", "e/"}).FolderCount(), 3U);
    EXPECT_EQ(PathsOf({"a/", "a/b/", "a/b/c/", "a/b/c/file"}).FolderCount(), 3U);
    EXPECT_EQ(PathsOf({"a/b", "ab/c", "a.b/c", "a/bc/d", "a/b c/d"}).FolderCount(), 5U);
}

TEST(PackagePaths, FindsTheLoneTopFolder) {
    EXPECT_EQ(PathsOf({"Client/a", "CLIENT/b/c"}).LoneTopFolder(), "Client");
    EXPECT_EQ(PathsOf({"Client/"}).LoneTopFolder(), "Client");
    EXPECT_EQ(PathsOf({"Client/a", "b"}).LoneTopFolder(), std::nullopt);
    EXPECT_EQ(PathsOf({"Client/a", "Clients/b"}).LoneTopFolder(), std::nullopt);
    EXPECT_EQ(PathsOf({"Client"}).LoneTopFolder(), std::nullopt);
    EXPECT_EQ(PathsOf({}).LoneTopFolder(), std::nullopt);
}

TEST(PackagePaths, FindsFilesWithTheLoneTopFolderTakenOff) {
    EXPECT_EQ(PathsOf({"a", "bin/Game.exe"}).FindFile("BIN/game.EXE"), 1U);
    EXPECT_EQ(PathsOf({"Client/a", "Client/bin/Game.exe"}).FindFile("bin/game.exe"), 1U);
    EXPECT_EQ(PathsOf({"Client/a", "Client/game.exe"}).FindFile("Client/game.exe"), std::nullopt);
    EXPECT_EQ(PathsOf({"game.exe/", "b"}).FindFile("game.exe"), std::nullopt);
    EXPECT_EQ(PathsOf({"Client/Client/game.exe", "Client/a"}).FindFile("game.exe"), std::nullopt);
}

TEST(PackagePaths, FindsAnEntryOfTheLoneTopFoldersName) {
    EXPECT_EQ(PathsOf({"Client/a", "Client/CLIENT"}).FindOwnName(), 1U);
    EXPECT_EQ(PathsOf({"Client/a", "Client/client/b"}).FindOwnName(), 1U);
    EXPECT_EQ(PathsOf({"Client/a", "Client/b/Client"}).FindOwnName(), std::nullopt);
    EXPECT_EQ(PathsOf({"Client/Client", "b"}).FindOwnName(), std::nullopt);
    EXPECT_EQ(PathsOf({"Client/Client2"}).FindOwnName(), std::nullopt);
}

TEST(PackagePaths, GivesOneEntryOfEachTopName) {
    std::vector<size_t> entries;
    PathsOf({"b/x", "a", "B/a", "c/"}).ForEachTopName([&](size_t i) { entries.push_back(i); });
    EXPECT_THAT(entries, ElementsAre(1, 2, 3));
}

}  // namespace
