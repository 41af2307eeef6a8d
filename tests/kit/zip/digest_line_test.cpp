#include "kit/zip/digest_line.h"

#include <gtest/gtest.h>

namespace {

TEST(WithArchiveDigest, ReplacesOnlyTheValueOfTheLastLine) {
    EXPECT_EQ(WithArchiveDigest("a=1\narchiveSha256=old\nb=2\n", "new"),
              "a=1\narchiveSha256=new\nb=2\n");
    EXPECT_EQ(WithArchiveDigest("archiveSha256=x\r\narchiveSha256=y\r\n\r\n", "new"),
              "archiveSha256=x\r\narchiveSha256=new\r\n\r\n");
    EXPECT_EQ(WithArchiveDigest("archiveSha256=", "new"), "archiveSha256=new");
    EXPECT_EQ(WithArchiveDigest("archiveSha256=a=b \\n\n", "new"), "archiveSha256=new\n");
    EXPECT_EQ(WithArchiveDigest("x\xFF\xFE\narchiveSha256=1\n\xC3", "new"),
              "x\xFF\xFE\narchiveSha256=new\n\xC3");
}

TEST(WithArchiveDigest, AppendsInTheFilesOwnStyle) {
    EXPECT_EQ(WithArchiveDigest("", "d"), "archiveSha256=d\n");
    EXPECT_EQ(WithArchiveDigest("a=1\r\nb=2", "d"), "a=1\r\nb=2\r\narchiveSha256=d\r\n");
    EXPECT_EQ(WithArchiveDigest("a=1\n", "d"), "a=1\narchiveSha256=d\n");
}

// The tool reads none of these as the setting.
TEST(WithArchiveDigest, AppendsWhenTheLinesMeanSomethingElse) {
    for (const std::string text :
         {"\xEF\xBB\xBF"
          "archiveSha256=1\n",
          "ArchiveSha256=1\n", " archiveSha256=1\n", "archiveSha256 =1\n", "archiveSha256\n",
          "archiveSha256\\=1\n", "#archiveSha256=1\n"}) {
        EXPECT_EQ(WithArchiveDigest(text, "d"), text + "archiveSha256=d\n");
    }
}

}  // namespace
