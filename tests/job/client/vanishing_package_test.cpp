#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "bench_parts/call_hook.h"
#include "bench_parts/file_hooks.h"
#include "job/client/client_folders.h"
#include "job/client/client_repair.h"
#include "job/progress/job_progress.h"

namespace fs = std::filesystem;

using testing::ElementsAre;

// Unpacked packages that can be read only in part. No job may succeed without all files of the
// package.

namespace {

constexpr wchar_t kUnreadablePackage[] = L"Could not read the unpacked client files.";

// The parameter: whether it is a reinstall.
class VanishingPackage : public bench::ClientTest, public testing::WithParamInterface<bool> {
protected:
    VanishingPackage() {
        bench::WriteFile(InClient(L"old.dat"), "old");
    }

    bool Run(const fs::path& package) const {
        return VerifyAndRepairClient(package, GetParam());
    }

    void ExpectUntouchedClient() const {
        EXPECT_THAT(Listing(), ElementsAre(L"RepairTool.exe", L"old.dat"));
        ExpectFailure(kUnreadablePackage);
    }
};

INSTANTIATE_TEST_SUITE_P(RepairAndReinstall, VanishingPackage, testing::Bool());

}  // namespace

TEST_P(VanishingPackage, FailsBeforeAnythingIsTouchedIfItCannotBeListed) {
    EXPECT_FALSE(Run(Scratch() / L"missing"));
    ExpectUntouchedClient();
    bench::WriteFile(InPackage(L"a.dat"), "a");
    const bench::UnreadableFolder locked(Package());
    ASSERT_TRUE(locked.Made());
    resetJobProgress();
    EXPECT_FALSE(Run(Package()));
    ExpectUntouchedClient();
}

TEST_P(VanishingPackage, FailsBeforeAnythingIsTouchedIfItsTopFolderIsListedIncompletely) {
    bench::WriteFile(InPackage(L"a.dat"), "a");
    bench::WriteFile(InPackage(L"b.dat"), "b");
    const bench::ListingHook hook([](WIN32_FIND_DATAW& entry) -> DWORD {
        return std::wstring_view(entry.cFileName) == L"b.dat" ? ERROR_CRC : ERROR_SUCCESS;
    });
    EXPECT_FALSE(Run(Package()));
    ExpectUntouchedClient();
}

TEST_P(VanishingPackage, FailsIfAFileVanishesDuringTheCopying) {
    bench::WriteFile(InPackage(L"a.dat"), "a");
    bench::WriteFile(InPackage(L"z\\b.dat"), "b");
    const auto hook = bench::HookCopy([&](const std::wstring&, const std::wstring&) -> DWORD {
        fs::remove(InPackage(L"z\\b.dat"));
        return ERROR_SUCCESS;
    });
    EXPECT_FALSE(Run(Package()));
    EXPECT_EQ(snapshot().errorMessage, kUnreadablePackage);
    EXPECT_EQ(bench::ReadFile(InClient(L"a.dat")), "a");
}

TEST_P(VanishingPackage, FailsIfItsTopFolderVanishesAfterTheCounting) {
    // No file was counted in it, so only the failed listing shows it.
    fs::create_directory(InPackage(L"empty"));
    const auto open =
        bench::RealFunction<decltype(&::FindFirstFileExW)>(L"kernel32.dll", "FindFirstFileExW");
    const std::wstring pattern = Package() / L"*";
    int listings = 0;
    const auto hook = bench::HookCall<decltype(&::FindFirstFileExW)>(
        L"kernel32.dll", "FindFirstFileExW", [&](LPCWSTR path, auto... others) -> HANDLE {
            if (path == pattern && ++listings == 2) {
                ::SetLastError(ERROR_NOT_READY);
                return INVALID_HANDLE_VALUE;
            }
            return open(path, others...);
        });
    EXPECT_FALSE(Run(Package()));
    EXPECT_EQ(listings, 2);
    EXPECT_EQ(snapshot().errorMessage, kUnreadablePackage);
}
