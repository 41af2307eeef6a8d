#include "uninstaller/uninstall_run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "bench_parts/call_hook.h"
#include "installed_game_test.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

constexpr UINT kButtonsAndIcon = MB_TYPEMASK | MB_ICONMASK;

struct Box {
    std::wstring text;
    std::wstring caption;
    UINT style;
};

class RunUninstallTest : public InstalledGameTest {
protected:
    // Records the boxes; `answer` is called while the question is open and returns the user's
    // answer.
    [[nodiscard]] auto AnswerBoxes(std::function<int()> answer) {
        return bench::HookCall<decltype(&::MessageBoxW)>(
            L"user32.dll", "MessageBoxW",
            [this, answer](HWND, LPCWSTR text, LPCWSTR caption, UINT style) -> int {
                boxes_.push_back({text, caption, style});
                return (style & MB_TYPEMASK) == MB_YESNO ? answer() : IDOK;
            });
    }

    // Runs the uninstaller and expects that it removes nothing. The number of boxes.
    size_t RunInVain(std::function<int()> answer) {
        const auto hook = AnswerBoxes(std::move(answer));
        boxes_.clear();
        EXPECT_FALSE(RunUninstall());
        EXPECT_EQ(bench::FolderListing(toolFolder), before_);
        EXPECT_TRUE(bench::ReadKey(EntryKey()));
        return boxes_.size();
    }

    std::vector<Box> boxes_;
    std::vector<std::wstring> before_ = bench::FolderListing(toolFolder);
};

TEST_F(RunUninstallTest, RemovesTheGameAfterAYes) {
    PutShortcut();
    const auto hook = AnswerBoxes([] { return IDYES; });
    EXPECT_TRUE(RunUninstall());
    EXPECT_TRUE(bench::FolderListing(Outside()).empty());
    EXPECT_FALSE(bench::ReadKey(EntryKey()));
    EXPECT_FALSE(fs::exists(Shortcut()));
    ASSERT_EQ(boxes_.size(), 2U);
    EXPECT_EQ(boxes_[0].style & (kButtonsAndIcon | MB_DEFMASK),
              UINT{MB_YESNO | MB_DEFBUTTON2 | MB_ICONWARNING});
    EXPECT_EQ(boxes_[0].caption, L"Uninstall Bench Game");
    EXPECT_THAT(boxes_[0].text, HasSubstr(L"remove Bench Game?"));
    EXPECT_THAT(boxes_[0].text, HasSubstr(L"\n" + toolFolder + L"\n"));
    EXPECT_THAT(boxes_[0].text, HasSubstr(L"3 files, 27 B"));
    EXPECT_EQ(boxes_[1].text, L"Bench Game was removed.");
    EXPECT_EQ(boxes_[1].style & kButtonsAndIcon, UINT{MB_OK | MB_ICONINFORMATION});
}

TEST_F(RunUninstallTest, RemovesNothingWithoutAYes) {
    PutShortcut();
    EXPECT_EQ(RunInVain([] { return IDNO; }), 1U);
    EXPECT_EQ(RunInVain([] { return 0; }), 1U);  // The question cannot be shown.
    EXPECT_TRUE(fs::exists(Shortcut()));
}

TEST_F(RunUninstallTest, AsksNothingIfItRefuses) {
    RegisterFolder(L"C:\\Elsewhere");
    EXPECT_EQ(RunInVain([] { return IDYES; }), 1U);
    EXPECT_EQ(boxes_[0].style & kButtonsAndIcon, UINT{MB_OK | MB_ICONERROR});
    EXPECT_EQ(boxes_[0].text,
              L"Bench Game is installed in another folder:\nC:\\Elsewhere\n\nNothing was removed.");
}

TEST_F(RunUninstallTest, RefusesWhatChangedDuringTheQuestion) {
    const fs::path named = toolFolder;
    EXPECT_EQ(RunInVain([this] {
                  Install(Outside() / L"other client");
                  return IDYES;
              }),
              2U);
    EXPECT_TRUE(fs::exists(named / L"bin" / L"start.exe"));
    EXPECT_THAT(boxes_.back().text, HasSubstr(L"\n" + named.native() + L"\n"));
    EXPECT_EQ(RunInVain([this] {
                  RegisterFolder(L"C:\\Elsewhere");
                  return IDYES;
              }),
              2U);
    EXPECT_THAT(boxes_.back().text, HasSubstr(L"Nothing was removed."));
}

TEST_F(RunUninstallTest, ReportsWhatStays) {
    const auto hook = AnswerBoxes([] { return IDYES; });
    bench::WriteFile(fs::path(toolFolder) / L"open", "x");
    bench::OpenElsewhere open(fs::path(toolFolder) / L"open", FILE_SHARE_READ);
    EXPECT_FALSE(RunUninstall());
    ASSERT_EQ(boxes_.size(), 2U);
    EXPECT_THAT(boxes_[1].text, HasSubstr(L"\n" + toolFolder + L"\\open\n"));
    EXPECT_EQ(boxes_[1].style & kButtonsAndIcon, UINT{MB_OK | MB_ICONWARNING});

    open.Close();
    const auto refuse = bench::HookCall<decltype(&::RegDeleteTreeW)>(
        bench::kAdvapi32, "RegDeleteTreeW", [](auto...) -> LSTATUS { return ERROR_ACCESS_DENIED; });
    EXPECT_FALSE(RunUninstall());
    ASSERT_EQ(boxes_.size(), 4U);
    EXPECT_EQ(boxes_[3].style & kButtonsAndIcon, UINT{MB_OK | MB_ICONWARNING});
}

}  // namespace
