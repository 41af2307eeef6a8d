#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "installed_game_test.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

// A link to elsewhere takes the place of one of the client's folders at a certain moment.
class SwappedFolder : public RemoveGameTest {
protected:
    SwappedFolder() {
        bench::WriteFile(elsewhere_ / L"start.exe", "kept");
        bench::WriteFile(elsewhere_ / L"deep" / L"file", "kept");
        fs::create_directory(elsewhere_ / L"deep" / L"empty");
        before_ = bench::FolderListing(elsewhere_);
    }

    void Swap(const fs::path& folder) const {
        fs::rename(folder, Outside() / (folder.filename().native() + L" swapped out"));
        ASSERT_TRUE(bench::MakeFolderLink(folder, elsewhere_));
    }

    void ExpectUntouched() const {
        EXPECT_EQ(bench::FolderListing(elsewhere_), before_);
        EXPECT_EQ(bench::ReadFile(elsewhere_ / L"start.exe"), "kept");
        EXPECT_EQ(bench::ReadFile(elsewhere_ / L"deep" / L"file"), "kept");
    }

    // Swaps `folder` after the `count`th listing of the client folder.
    [[nodiscard]] auto SwapAfterListing(const fs::path& folder, int count) {
        return bench::HookCall<decltype(&::FindFirstFileExW)>(
            bench::kKernel32, "FindFirstFileExW",
            [this, folder, count, seen = 0](LPCWSTR pattern, auto... more) mutable -> HANDLE {
                const HANDLE listing = listReal_(pattern, more...);
                if (fs::path(toolFolder) / L"*" == pattern && ++seen == count) {
                    Swap(folder);
                }
                return listing;
            });
    }

private:
    fs::path elsewhere_ = Outside() / L"elsewhere";
    std::vector<std::wstring> before_;
    decltype(&::FindFirstFileExW) listReal_ =
        bench::RealFunction<decltype(&::FindFirstFileExW)>(bench::kKernel32, "FindFirstFileExW");
};

TEST_F(SwappedFolder, IsNotEnteredForRemoval) {
    const auto hook = SwapAfterListing(fs::path(toolFolder) / L"bin", 1);
    const RemovalResult result = RemoveInstalledGame();
    ExpectUntouched();
    EXPECT_THAT(result.remaining, ElementsAre(fs::path(toolFolder) / L"bin"));
    EXPECT_TRUE(result.canBeRepeated);
}

TEST_F(SwappedFolder, IsNotEnteredForTheReport) {
    // Something stays, so that the folders are listed for the report only.
    bench::WriteFile(fs::path(toolFolder) / L"data" / L"open", "x");
    const bench::OpenElsewhere open(fs::path(toolFolder) / L"data" / L"open", 0);
    const auto hook = SwapAfterListing(fs::path(toolFolder) / L"data", 2);
    const RemovalResult result = RemoveInstalledGame();
    ExpectUntouched();
    EXPECT_THAT(result.remaining, ElementsAre(fs::path(toolFolder) / L"data"));
}

TEST_F(SwappedFolder, AtOrAboveTheClientIsNotEntered) {
    const std::pair<fs::path, fs::path> cases[] = {
        {toolFolder, toolFolder}, {Outside() / L"above" / L"deep", Outside() / L"above"}};
    for (const auto& [folder, swapped] : cases) {
        Install(folder);
        const ApprovedClient client = Client();
        Swap(swapped);
        const RemovalResult result = RemoveGame(client);
        ExpectUntouched();
        EXPECT_THAT(result.remaining, ElementsAre(client.folder));
    }
}

TEST_F(SwappedFolder, KeepsItsStartupProgram) {
    // The link takes its place while the uninstaller, the last file but one, is being removed.
    const auto hook = bench::HookCall<decltype(&::CreateFileW)>(
        bench::kKernel32, "CreateFileW", [&](LPCWSTR path, DWORD access, auto... more) -> HANDLE {
            if (access == DELETE && fs::path(path).filename() == L"Uninstall.exe") {
                Swap(fs::path(toolFolder) / L"bin");
            }
            return RealCreateFile()(path, access, more...);
        });
    const RemovalResult result = RemoveInstalledGame();
    ExpectUntouched();
    EXPECT_THAT(result.remaining, ElementsAre(fs::path(toolFolder) / L"bin" / L"start.exe"));
}

TEST_F(SwappedFolder, KeepsItsEmptyFolders) {
    // The link takes the client's place as soon as only empty folders are left there.
    toolConfig.startupExe = L"deep\\empty\\start.exe";
    const fs::path emptied = fs::path(toolFolder) / L"deep" / L"empty";
    bench::WriteFile(emptied / L"start.exe", "MZ");
    bool isSwapped = false;
    const auto hook = bench::HookCall<decltype(&::CreateFileW)>(
        bench::kKernel32, "CreateFileW", [&](LPCWSTR path, auto... more) -> HANDLE {
            if (!isSwapped && (emptied == path || emptied.parent_path() == path) &&
                !fs::exists(emptied / L"start.exe")) {
                isSwapped = true;
                Swap(toolFolder);
            }
            return RealCreateFile()(path, more...);
        });
    RemoveInstalledGame();
    EXPECT_TRUE(isSwapped);
    ExpectUntouched();
}

}  // namespace
