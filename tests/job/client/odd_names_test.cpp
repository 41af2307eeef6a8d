#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "job/client/client_folders.h"
#include "job/client/client_repair.h"
#include "job/progress/job_progress.h"

namespace fs = std::filesystem;

using testing::ElementsAre;

// Names that Windows changes unless the path has the extended form: it drops a blank or dot at the
// end, and takes NUL or AUX for a device.

namespace {

fs::path Extended(const fs::path& path) {
    return L"\\\\?\\" + path.native();
}

class OddNames : public bench::ClientTest {};

// The end of the client folder's name, and whether the tool was started by its extended path, which
// a name that ends in a dot needs.
struct OddEnd {
    const char* name;
    const wchar_t* end;
    bool extended;
};

void PrintTo(const OddEnd& end, std::ostream* out) {
    *out << end.name;
}

// A client folder that ends in a blank or dot, beside another folder of the same name without it.
class OddEndOfFolder : public OddNames, public testing::WithParamInterface<OddEnd> {
protected:
    void SetUp() override {
        ASSERT_TRUE(::CreateDirectoryW(extended_.c_str(), nullptr));
        bench::WriteFile(extended_ / L"tool.exe", bench::kToolBytes);
        bench::WriteFile(extended_ / L"old.dat", "old");
        bench::WriteFile(InClient(L"mine.txt"), "mine");
        bench::WriteFile(InPackage(L"data\\a.dat"), "a");
    }

    [[nodiscard]] std::vector<std::wstring> OddListing() const {
        return bench::FolderListing(Client().native() + GetParam().end);
    }

    void ExpectTheOtherFolderUntouched() const {
        EXPECT_THAT(Listing(), ElementsAre(L"RepairTool.exe", L"mine.txt"));
    }

    fs::path extended_ = Extended(Client().native() + GetParam().end);
    fs::path started_ =
        GetParam().extended ? extended_ : fs::path(Client().native() + GetParam().end);
    bench::ToolLocation location_{started_, started_ / L"tool.exe"};
};

constexpr OddEnd kOddEnds[] = {
    {"Blank", L" ", false}, {"BlankExtended", L" ", true}, {"DotExtended", L".", true}};

INSTANTIATE_TEST_SUITE_P(Each, OddEndOfFolder, testing::ValuesIn(kOddEnds),
                         testing::PrintToStringParamName());

TEST_P(OddEndOfFolder, IsRepaired) {
    EXPECT_TRUE(VerifyAndRepairClient(Package(), false));
    EXPECT_THAT(OddListing(), ElementsAre(L"data/", L"data/a.dat", L"old.dat", L"tool.exe"));
    ExpectTheOtherFolderUntouched();
}

TEST_P(OddEndOfFolder, IsReinstalledOrRefused) {
    if (VerifyAndRepairClient(Package(), true)) {
        EXPECT_THAT(OddListing(), ElementsAre(L"data/", L"data/a.dat", L"tool.exe"));
    } else {
        EXPECT_NE(snapshot().errorMessage, L"");
        EXPECT_THAT(OddListing(), ElementsAre(L"old.dat", L"tool.exe"));
    }
    ExpectTheOtherFolderUntouched();
}

TEST_F(OddNames, APackageFileWithAnOddNameIsCopiedOrReported) {
    for (const std::wstring name : {L"NUL.txt", L"aux.lua", L"a.dat.", L"b.dat "}) {
        const fs::path source = Extended(InPackage(name));
        bench::WriteFile(source, "bytes");
        for (const bool reinstall : {false, true}) {
            resetJobProgress();
            jobProgress.running = true;
            if (VerifyAndRepairClient(Package(), reinstall)) {
                EXPECT_EQ(bench::ReadFile(Extended(InClient(name))), "bytes");
            } else {
                ExpectFailureOf(name);
            }
        }
        ASSERT_TRUE(::DeleteFileW(source.c_str()));
    }
}

}  // namespace
