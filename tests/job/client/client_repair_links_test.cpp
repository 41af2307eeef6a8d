#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

#include "bench_parts/file_hooks.h"
#include "bench_parts/skipping.h"
#include "job/client/client_folders.h"
#include "job/client/client_repair.h"
#include "job/progress/job_progress.h"

namespace fs = std::filesystem;

using testing::ElementsAre;

// Packages and clients with links and other reparse points in them.

namespace {

// The reparse tag of a cloud service's placeholder: a reparse point, but not a link.
constexpr DWORD kCloudTag = IO_REPARSE_TAG_CLOUD;

class ClientRepairLinks : public bench::ClientTest {};

// Lists every entry whose name begins with "cloud" as a cloud service's placeholder.
DWORD MarkCloudEntries(WIN32_FIND_DATAW& entry) {
    if (std::wstring_view(entry.cFileName).starts_with(L"cloud")) {
        entry.dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
        entry.dwReserved0 = kCloudTag;
    }
    return ERROR_SUCCESS;
}

}  // namespace

TEST_F(ClientRepairLinks, ALinkToAFolderBecomesTheFolderThatItLeadsTo) {
    const fs::path elsewhere = Scratch() / L"elsewhere";
    bench::WriteFile(elsewhere / L"a.dat", "a");
    SKIP_ON_WINDOWS_WITHOUT(bench::MakeFolderLink(InPackage(L"link"), elsewhere),
                            "links for this user");
    EXPECT_TRUE(Repair());
    // Relative to the package it is "..\elsewhere", and so is the folder that is created.
    EXPECT_THAT(bench::FolderListing(Scratch() / L"games"),
                ElementsAre(L"Client/", L"Client/RepairTool.exe", L"elsewhere/"));
    EXPECT_EQ(snapshot().filesTotal, 0u);
}

TEST_F(ClientRepairLinks, ALinkWithinThePackageIsNotEnteredAndADanglingOneIsSkipped) {
    bench::WriteFile(InPackage(L"data\\a.dat"), "a");
    SKIP_ON_WINDOWS_WITHOUT(
        bench::MakeFolderLink(InPackage(L"data\\round"), Package()) &&
            bench::MakeFolderLink(InPackage(L"link"), InPackage(L"data")) &&
            bench::MakeFolderLink(InPackage(L"dangling"), Scratch() / L"missing"),
        "links for this user");
    EXPECT_TRUE(Repair());
    EXPECT_THAT(
        bench::FolderListing(Scratch() / L"games"),
        ElementsAre(L"Client/", L"Client/RepairTool.exe", L"Client/data/", L"Client/data/a.dat"));
    ExpectCounters(1, 1, 1);
}

TEST_F(ClientRepairLinks, ALinkToAnotherDriveIsSkipped) {
    SKIP_ON_WINDOWS("a second drive is an exception here");
    bench::WriteFile(InPackage(L"a.dat"), "a");
    ASSERT_TRUE(bench::MakeFolderLink(InPackage(L"link"), L"Z:\\usr"));
    EXPECT_TRUE(Repair());
    EXPECT_THAT(Listing(), ElementsAre(L"RepairTool.exe", L"a.dat"));
}

TEST_F(ClientRepairLinks, ALinkToAFileIsAFile) {
    const fs::path elsewhere = Scratch() / L"elsewhere.dat";
    bench::WriteFile(elsewhere, "content");
    SKIP_ON_WINDOWS_WITHOUT(bench::MakeFileLink(InPackage(L"link.dat"), elsewhere),
                            "links for this user");
    EXPECT_TRUE(Repair());
    // Under Wine a file link is not to be told from a file and keeps its name.
    const fs::path target =
        bench::IsWine() ? InClient(L"link.dat") : Scratch() / L"games" / L"elsewhere.dat";
    EXPECT_EQ(bench::ReadFile(target), "content");
    EXPECT_EQ(snapshot().filesTotal, 1u);
    EXPECT_EQ(snapshot().filesRepaired, 1u);
}

// A link inside is still resolved relative to the real root.
TEST_F(ClientRepairLinks, APackageReachedThroughALinkIsLikeAnyOther) {
    bench::WriteFile(InPackage(L"data\\a.dat"), "a");
    fs::create_directory(InPackage(L"real"));
    const fs::path link = Scratch() / L"deep" / L"er" / L"link";
    fs::create_directories(link.parent_path());
    SKIP_ON_WINDOWS_WITHOUT(bench::MakeFolderLink(link, Package()) &&
                                bench::MakeFolderLink(InPackage(L"alias"), InPackage(L"real")),
                            "links for this user");
    EXPECT_TRUE(VerifyAndRepairClient(link, false));
    EXPECT_THAT(Listing(), ElementsAre(L"RepairTool.exe", L"data/", L"data/a.dat", L"real/"));
}

TEST_F(ClientRepairLinks, TheToolIsNotOverwrittenThroughALinkInTheClient) {
    SKIP_ON_WINDOWS_WITHOUT(bench::MakeFolderLink(InClient(L"sub"), Client()),
                            "links for this user");
    bench::WriteFile(InPackage(L"sub\\RepairTool.exe"), "package");
    bench::WriteFile(InPackage(L"sub\\a.dat"), "a");
    EXPECT_TRUE(Repair());
    EXPECT_EQ(bench::ReadFile(Tool()), bench::kToolBytes);
    EXPECT_EQ(bench::ReadFile(InClient(L"a.dat")), "a");
    EXPECT_EQ(snapshot().filesRepaired, 1u);
}

TEST_F(ClientRepairLinks, CloudFilesAndFoldersAreLikeOthers) {
    bench::WriteFile(InPackage(L"cloud folder\\a.dat"), "a");
    bench::WriteFile(InPackage(L"cloud folder\\inner\\cloud b.dat"), "b");
    bench::WriteFile(InPackage(L"cloud folder x\\c.dat"), "c");
    bench::WriteFile(InPackage(L"cloud.dat"), "d");
    {
        const bench::ListingHook hook(&MarkCloudEntries);
        EXPECT_TRUE(Repair());
    }
    EXPECT_EQ(Listing(), (std::vector<std::wstring>{
                             L"RepairTool.exe", L"cloud folder x/", L"cloud folder x/c.dat",
                             L"cloud folder/", L"cloud folder/a.dat", L"cloud folder/inner/",
                             L"cloud folder/inner/cloud b.dat", L"cloud.dat"}));
    EXPECT_EQ(snapshot().filesRepaired, 4u);
}

TEST_F(ClientRepairLinks, EntriesBelowAReparsePointArePlacedByTheirFinalPaths) {
    const fs::path elsewhere = Scratch() / L"elsewhere";
    bench::WriteFile(elsewhere / L"inner" / L"a.dat", "a");
    bench::WriteFile(InPackage(L"cloud2\\b.dat"), "b");
    bench::WriteFile(InPackage(L"zzz.dat"), "z");
    SKIP_ON_WINDOWS_WITHOUT(bench::MakeFolderLink(InPackage(L"cloud"), elsewhere),
                            "links for this user");
    {
        const bench::ListingHook hook(&MarkCloudEntries);
        EXPECT_TRUE(Repair());
    }
    EXPECT_THAT(bench::FolderListing(Scratch() / L"games"),
                ElementsAre(L"Client/", L"Client/RepairTool.exe", L"Client/cloud2/",
                            L"Client/cloud2/b.dat", L"Client/zzz.dat", L"elsewhere/",
                            L"elsewhere/inner/", L"elsewhere/inner/a.dat"));
}

// Either the entry itself cannot be opened, or the package folder, here on another drive.
TEST_F(ClientRepairLinks, AReparsePointThatCannotBeResolvedIsSkipped) {
    bench::WriteFile(InPackage(L"cloud.dat"), "a");
    bench::WriteFile(InPackage(L"b.dat"), "b");
    const bench::FolderOnAnotherDrive drive(Package());
    const bench::ListingHook listingHook(&MarkCloudEntries);
    for (const auto& [package, refused] :
         {std::pair{Package(), InPackage(L"cloud.dat")}, {drive.Path(), drive.Path()}}) {
        const auto openHook = bench::RefuseToOpen(refused);
        for (const bool reinstall : {false, true}) {
            EXPECT_TRUE(VerifyAndRepairClient(package, reinstall));
            EXPECT_THAT(Listing(), ElementsAre(L"RepairTool.exe", L"b.dat"));
            ExpectCounters(2, 2, 1);
            fs::remove(InClient(L"b.dat"));
        }
    }
}

TEST_F(ClientRepairLinks, ADanglingOrUnreadableReparsePointIsSkipped) {
    bench::WriteFile(InPackage(L"cloud 1.dat"), "a");
    bench::WriteFile(InPackage(L"cloud 2.dat"), "a");
    bench::WriteFile(InPackage(L"b.dat"), "b");
    const std::wstring dangling = InPackage(L"cloud 1.dat");
    const std::wstring unreadable = InPackage(L"cloud 2.dat");
    const bench::ListingHook listingHook(&MarkCloudEntries);
    const auto lookHook = bench::HookAttributes([&](const std::wstring& path) -> DWORD {
        return path == dangling     ? ERROR_FILE_NOT_FOUND
               : path == unreadable ? ERROR_CANT_ACCESS_FILE
                                    : ERROR_SUCCESS;
    });
    EXPECT_TRUE(Repair());
    EXPECT_EQ(Listing(), (std::vector<std::wstring>{L"RepairTool.exe", L"b.dat"}));
    EXPECT_EQ(snapshot().filesTotal, 1u);
    EXPECT_EQ(snapshot().filesRepaired, 1u);
}
