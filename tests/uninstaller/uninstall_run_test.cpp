#include "uninstaller/uninstall_run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "bench_parts/import_hook.h"
#include "installed_game_test.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

struct Box {
    std::wstring text;
    std::wstring caption;
    UINT style;
};
std::vector<Box> boxes;
// Called while the question is on the screen; what it returns is the user's answer.
std::function<int()> answer;

int WINAPI AnswerBox(HWND, LPCWSTR text, LPCWSTR caption, UINT style) {
    boxes.push_back({text, caption, style});
    return (style & MB_TYPEMASK) == MB_YESNO ? answer() : IDOK;
}

class RunUninstallTest : public InstalledGameTest {
protected:
    RunUninstallTest() {
        boxes.clear();
        answer = [] {
            return IDYES;
        };
        before_ = bench::FolderListing(Outside());
    }

    void SetUp() override {
        ASSERT_TRUE(hook_.Installed());
    }

    void ExpectNothingRemoved() const {
        EXPECT_EQ(bench::FolderListing(Outside()), before_);
    }

private:
    bench::ImportHook hook_{L"user32.dll", "MessageBoxW", reinterpret_cast<void*>(&AnswerBox)};
    std::vector<std::wstring> before_;
};

TEST_F(RunUninstallTest, RemovesTheGameAfterAYes) {
    PutShortcut();
    EXPECT_TRUE(RunUninstall());
    EXPECT_TRUE(bench::FolderListing(Outside()).empty());
    EXPECT_FALSE(bench::ReadKey(EntryKey()));
    EXPECT_FALSE(fs::exists(Shortcut()));
    ASSERT_EQ(boxes.size(), 2U);
    EXPECT_EQ(boxes[1].text, L"Bench Game was removed.");
    EXPECT_EQ(boxes[1].style & MB_ICONMASK, UINT{MB_ICONINFORMATION});
}

TEST_F(RunUninstallTest, AsksWithNoAsTheDefault) {
    RunUninstall();
    ASSERT_FALSE(boxes.empty());
    EXPECT_EQ(boxes[0].style & (MB_TYPEMASK | MB_DEFMASK | MB_ICONMASK),
              UINT{MB_YESNO | MB_DEFBUTTON2 | MB_ICONWARNING});
    EXPECT_EQ(boxes[0].caption, L"Uninstall Bench Game");
    EXPECT_THAT(boxes[0].text, HasSubstr(L"remove Bench Game?"));
    EXPECT_THAT(boxes[0].text, HasSubstr(L"\n" + toolFolder.native() + L"\n"));
    EXPECT_THAT(boxes[0].text, HasSubstr(L"3 files, 27 B"));
}

TEST_F(RunUninstallTest, RemovesNothingAfterANo) {
    PutShortcut();
    const auto entry = bench::ReadKey(EntryKey());
    answer = [] {
        return IDNO;
    };
    EXPECT_FALSE(RunUninstall());
    ExpectNothingRemoved();
    EXPECT_EQ(bench::ReadKey(EntryKey()), entry);
    EXPECT_TRUE(fs::exists(Shortcut()));
    EXPECT_EQ(boxes.size(), 1U);
}

TEST_F(RunUninstallTest, RemovesNothingWhenTheQuestionCannotBeShown) {
    answer = [] {
        return 0;
    };
    EXPECT_FALSE(RunUninstall());
    ExpectNothingRemoved();
}

TEST_F(RunUninstallTest, DoesNotEvenAskWhenItRefuses) {
    RegisterFolder(L"C:\\Elsewhere");
    EXPECT_FALSE(RunUninstall());
    ExpectNothingRemoved();
    ASSERT_EQ(boxes.size(), 1U);
    EXPECT_EQ(boxes[0].style & (MB_TYPEMASK | MB_ICONMASK), UINT{MB_OK | MB_ICONERROR});
    EXPECT_EQ(boxes[0].text,
              L"Bench Game is installed in another folder:\nC:\\Elsewhere\n\nNothing was removed.");
}

TEST_F(RunUninstallTest, RefusesWhatChangedBehindTheQuestion) {
    answer = [this] {
        RegisterFolder(L"C:\\Elsewhere");
        return IDYES;
    };
    EXPECT_FALSE(RunUninstall());
    ExpectNothingRemoved();
    ASSERT_EQ(boxes.size(), 2U);
    EXPECT_THAT(boxes[1].text, HasSubstr(L"Nothing was removed."));
}

TEST_F(RunUninstallTest, RemovesNoOtherClientThanTheQuestionNamed) {
    const fs::path named = toolFolder;
    answer = [this] {
        Install(Outside() / L"other client");
        return IDYES;
    };
    EXPECT_FALSE(RunUninstall());
    EXPECT_TRUE(fs::exists(named / L"bin" / L"start.exe"));
    EXPECT_TRUE(fs::exists(toolFolder / L"bin" / L"start.exe"));
    ASSERT_EQ(boxes.size(), 2U);
    EXPECT_THAT(boxes[1].text, HasSubstr(L"\n" + named.native() + L"\n"));
}

TEST_F(RunUninstallTest, ReportsWhatStays) {
    bench::WriteFile(toolFolder / L"open", "x");
    const bench::OpenElsewhere open(toolFolder / L"open", FILE_SHARE_READ);
    EXPECT_FALSE(RunUninstall());
    ASSERT_EQ(boxes.size(), 2U);
    EXPECT_THAT(boxes[1].text, HasSubstr(L"\n" + toolFolder.native() + L"\\open\n"));
    EXPECT_EQ(boxes[1].style & MB_ICONMASK, UINT{MB_ICONWARNING});
}

TEST_F(RunUninstallTest, SaysThatItCouldNotBeStarted) {
    ReportFailedStart();
    ASSERT_EQ(boxes.size(), 1U);
    EXPECT_EQ(boxes[0].text,
              L"The uninstaller could not be started from the temporary folder.\n\n"
              L"Nothing was removed.");
    EXPECT_EQ(boxes[0].caption, L"Uninstall Bench Game");
    EXPECT_EQ(boxes[0].style & (MB_TYPEMASK | MB_ICONMASK), UINT{MB_OK | MB_ICONERROR});
    ExpectNothingRemoved();
}

}  // namespace
