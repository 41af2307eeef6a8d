#include <gtest/gtest.h>

#include <string>

#include "bench_parts/call_hook.h"
#include "common/files.h"
#include "job/client/client_folders.h"
#include "job/client/client_repair.h"
#include "job/progress/job_progress.h"

namespace fs = std::filesystem;

// Times that some disks cannot store (FAT begins in 1980). A file's time alone never counts as
// damage, so the second of two repairs finds everything clean.

namespace {

using bench::kKernel32;

// In 100 ns steps since 1601.
constexpr uint64_t kDay = 864'000'000'000;
constexpr uint64_t kYear1902 = 110'000 * kDay;
constexpr uint64_t kYear1970 = 134'774 * kDay;
constexpr uint64_t kYear1980 = 138'426 * kDay;
constexpr uint64_t kYear2010 = 149'384 * kDay;

// The parameter is the time.
class OldTimes : public testing::TestWithParam<uint64_t>, protected bench::ClientFolders {
protected:
    void ExpectRepair(uint64_t filesRepaired) const {
        EXPECT_TRUE(VerifyAndRepairClient(Package(), false));
        EXPECT_EQ(snapshot().filesRepaired, filesRepaired);
        EXPECT_EQ(snapshot().detailLine, filesRepaired == 0
                                             ? L"All files are already clean."
                                             : L"Fixed or updated missing/mismatched files.");
    }
};

// The file system of the bench begins in 1901; what it makes of an earlier time is as good.
INSTANTIATE_TEST_SUITE_P(Each, OldTimes,
                         testing::Values(1, kYear1902, kYear1970 - 1, kYear1980 - kDay));

TEST_P(OldTimes, ComeAlongOnceAndAreCleanAfterwards) {
    bench::WriteFile(InPackage(L"missing.dat"), "a");
    WriteToBoth(L"good.dat", "b");
    bench::SetWriteTime(InPackage(L"missing.dat"), GetParam());
    bench::SetWriteTime(InPackage(L"good.dat"), GetParam());
    bench::SetWriteTime(InClient(L"good.dat"), kYear2010);
    ExpectRepair(1);
    for (const wchar_t* name : {L"missing.dat", L"good.dat"}) {
        EXPECT_EQ(bench::GetWriteTime(InClient(name)), bench::GetWriteTime(InPackage(name)));
    }
    ExpectRepair(0);
}

TEST_P(OldTimes, AreNoEndlessMismatchOnADiskThatBeginsIn1980) {
    bench::WriteFile(InPackage(L"a.dat"), "a");
    bench::SetWriteTime(InPackage(L"a.dat"), GetParam());
    unsigned copies = 0;
    const auto copy = bench::HookCall<decltype(&::CopyFileW)>(
        kKernel32, "CopyFileW", [&](auto, LPCWSTR target, auto) -> BOOL {
            ++copies;
            bench::WriteFile(target, "a");
            bench::SetWriteTime(target, kYear1980);
            return TRUE;
        });
    const auto setTime = bench::HookCall<decltype(&::SetFileTime)>(
        kKernel32, "SetFileTime",
        [](HANDLE file, const FILETIME* created, const FILETIME* used,
           const FILETIME* written) -> BOOL {
            if (JoinFileTime(*written) < kYear1980) {
                ::SetLastError(ERROR_INVALID_PARAMETER);
                return FALSE;
            }
            return bench::RealFunction<decltype(&::SetFileTime)>(kKernel32, "SetFileTime")(
                file, created, used, written);
        });
    ExpectRepair(1);
    EXPECT_EQ(bench::ReadFile(InClient(L"a.dat")), "a");
    ExpectRepair(0);
    EXPECT_EQ(copies, 1U);
}

}  // namespace
