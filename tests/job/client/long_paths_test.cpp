// A package and a client with paths that Windows refuses unless they have the extended form.

#include <gtest/gtest.h>

#include <string>

#include "bench_parts/path_limit.h"
#include "job/client/client_folders.h"
#include "job/client/client_repair.h"
#include "job/progress/job_progress.h"

namespace {

using std::filesystem::path;

class LongPaths : public bench::ClientTest {
protected:
    LongPaths() {
        bench::WriteFile(InPackage(missing_), "missing");
        bench::WriteFile(InPackage(changed_), "new");
        bench::WriteFile(InClient(changed_), "old");
        WriteToBoth(same_, "same");
        bench::WriteFile(InClient(own_), "the player's");
    }

    static bool Run(const path& packageFolder, bool reinstall) {
        const bench::PathLimit limit;
        return VerifyAndRepairClient(packageFolder, reinstall);
    }

    void ExpectPackage() const {
        EXPECT_EQ(bench::ReadFile(InClient(missing_)), "missing");
        EXPECT_EQ(bench::ReadFile(InClient(changed_)), "new");
        EXPECT_EQ(bench::ReadFile(InClient(same_)), "same");
    }

    const std::wstring deep_ = bench::DeepFolder({}) / L"";
    const std::wstring missing_ = deep_ + L"missing";
    const std::wstring changed_ = deep_ + L"changed";
    const std::wstring same_ = deep_ + L"same";
    const std::wstring own_ = deep_ + L"own";
};

TEST_F(LongPaths, AreRepaired) {
    EXPECT_TRUE(Run(Package(), false));
    ExpectPackage();
    EXPECT_EQ(bench::ReadFile(InClient(own_)), "the player's");
    ExpectCounters(3, 3, 2);
}

TEST_F(LongPaths, ArePlainInWhatTheUserSees) {
    bench::SetReadOnly(InClient(changed_), true);
    EXPECT_FALSE(Run(Package(), false));
    bench::SetReadOnly(InClient(changed_), false);
    ExpectFailureOf(changed_);
}

// The temporary folder's own path may be too long to be listed.
TEST_F(LongPaths, OfThePackageFolderAreRead) {
    EXPECT_TRUE(Run(InPackage(deep_), false));
    EXPECT_EQ(bench::ReadFile(InClient(L"missing")), "missing");
    EXPECT_EQ(snapshot().filesTotal, 3u);
}

// A program gets its own path in the form in which it was started.
TEST_F(LongPaths, AreReinstalledAlsoByAToolStartedByItsExtendedPath) {
    for (const wchar_t* const prefix : {L"", L"\\\\?\\"}) {
        const bench::ToolLocation location(prefix + Client().native(), prefix + Tool().native());
        bench::WriteFile(InClient(own_), "the player's");
        EXPECT_TRUE(Run(Package(), true));
        ExpectPackage();
        EXPECT_FALSE(std::filesystem::exists(InClient(own_)));
        EXPECT_EQ(bench::ReadFile(Tool()), bench::kToolBytes);
    }
}

}  // namespace
