// A package and a client with paths that Windows refuses unless they have the extended form.

#include <gtest/gtest.h>

#include <string>

#include "bench_parts/path_limit.h"
#include "bench_parts/scratch_folder.h"
#include "job/client/client_folders.h"
#include "job/client/client_repair.h"
#include "job/progress/job_progress.h"

namespace {

using std::filesystem::path;

class LongPaths : public testing::Test {
protected:
    LongPaths() {
        bench::WriteFile(folders_.InPackage(missing_), "missing");
        bench::WriteFile(folders_.InPackage(changed_), "new");
        bench::WriteFile(folders_.InClient(changed_), "old");
        folders_.WriteToBoth(same_, "same");
        bench::WriteFile(folders_.InClient(own_), "the player's");
    }

    ~LongPaths() override {
        resetJobProgress();
    }

    static bool Run(const path& packageFolder, bool reinstall) {
        ClearForJobStart(reinstall ? JobKind::Reinstall : JobKind::Repair);
        const bench::PathLimit limit;
        return VerifyAndRepairClient(packageFolder, reinstall);
    }

    void ExpectPackage() const {
        EXPECT_EQ(bench::ReadFile(folders_.InClient(missing_)), "missing");
        EXPECT_EQ(bench::ReadFile(folders_.InClient(changed_)), "new");
        EXPECT_EQ(bench::ReadFile(folders_.InClient(same_)), "same");
    }

    const std::wstring deep_ = bench::DeepFolder({}) / L"";
    const std::wstring missing_ = deep_ + L"missing";
    const std::wstring changed_ = deep_ + L"changed";
    const std::wstring same_ = deep_ + L"same";
    const std::wstring own_ = deep_ + L"own";
    bench::ClientFolders folders_;
};

TEST_F(LongPaths, AreRepaired) {
    EXPECT_TRUE(Run(folders_.Package(), false));
    ExpectPackage();
    EXPECT_EQ(bench::ReadFile(folders_.InClient(own_)), "the player's");
    const JobState state = snapshot();
    EXPECT_EQ(state.filesTotal, 3u);
    EXPECT_EQ(state.filesRepaired, 2u);
}

TEST_F(LongPaths, ArePlainInWhatTheUserSees) {
    bench::SetReadOnly(folders_.InClient(changed_), true);
    EXPECT_FALSE(Run(folders_.Package(), false));
    bench::SetReadOnly(folders_.InClient(changed_), false);
    EXPECT_EQ(snapshot().detailLine, L"Could not repair this file: " + changed_);
}

// The temporary folder's own path may be too long to be listed.
TEST_F(LongPaths, OfThePackageFolderAreRead) {
    EXPECT_TRUE(Run(folders_.InPackage(bench::DeepFolder({})), false));
    EXPECT_EQ(bench::ReadFile(folders_.InClient(L"missing")), "missing");
    EXPECT_EQ(snapshot().filesTotal, 3u);
}

// A program gets its own path in the form in which it was started.
TEST_F(LongPaths, AreReinstalledAlsoByAToolStartedByItsExtendedPath) {
    for (const wchar_t* const prefix : {L"", L"\\\\?\\"}) {
        const bench::ToolLocation location(prefix + folders_.Client().native(),
                                           prefix + folders_.Tool().native());
        bench::WriteFile(folders_.InClient(own_), "the player's");
        EXPECT_TRUE(Run(folders_.Package(), true));
        ExpectPackage();
        EXPECT_FALSE(std::filesystem::exists(folders_.InClient(own_)));
        EXPECT_EQ(bench::ReadFile(folders_.Tool()), bench::kToolBytes);
    }
}

}  // namespace
