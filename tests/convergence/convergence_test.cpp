// The promise of the tool: whatever interrupted an earlier job, the next one makes the client agree
// with the package.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <ostream>
#include <string>
#include <vector>

#include "bench_parts/fault_server_client.h"
#include "bench_parts/package_contents.h"
#include "bench_parts/registry_entry.h"
#include "bench_parts/unpacker_machine.h"
#include "convergence/broken_client.h"
#include "convergence/job_process.h"
#include "convergence/kill_points.h"
#include "package/package_hash.h"

namespace fs = std::filesystem;

namespace {

// The place of the default configuration's entry.
constexpr wchar_t kEntryKey[] =
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Quellstone.Karvoth";

struct Scene {
    const wchar_t* package;
    bool hasLoneFolder;
    JobKind kind;
    unsigned seed;
    unsigned rounds;  // How many killed jobs, or pairs of them.
};

// What Google Test prints of it.
void PrintTo(const Scene& scene, std::ostream* out) {
    *out << (scene.kind == JobKind::Reinstall ? "Reinstall" : "Repair") << " from "
         << fs::path(scene.package).string() << ", seed " << scene.seed;
}

std::string SceneName(const testing::TestParamInfo<Scene>& scene) {
    return std::string(scene.param.kind == JobKind::Reinstall ? "Reinstall" : "Repair") + "_" +
           fs::path(scene.param.package).stem().string() + "_" + std::to_string(scene.param.seed);
}

std::wstring DigestOf(const std::wstring& packageName) {
    std::wstring digest;
    EXPECT_TRUE(ComputeFileSha256(bench::PackagePath(packageName), digest));
    return digest;
}

// The entry has the same bytes and the same time in both.
void ExpectSame(const FolderState& expected, const FolderState& actual, const std::wstring& path) {
    const auto found = actual.find(path);
    EXPECT_TRUE(found != actual.end() && found->second == expected.at(path)) << path;
}

// Without the date, which may change during a test.
bench::StoredValues ReadEntry() {
    bench::StoredValues values = bench::ReadKey(kEntryKey).value_or(bench::StoredValues());
    values.erase(L"InstallDate");
    return values;
}

class KilledJob : public testing::TestWithParam<Scene> {
protected:
    KilledJob()
        : order_{GetParam().kind, server_.Url(std::wstring(L"archive/") + GetParam().package),
                 DigestOf(GetParam().package)} {
        const bench::Contents all = bench::PackageContents(GetParam().package);
        package_ = GetParam().hasLoneFolder ? bench::Below(L"Client", all) : all;
        machine_.PutTar();
        machine_.PutSevenZip(machine_.SearchFolder() / L"7z.exe");
        bench::RemoveKey(kEntryKey);
    }

    ~KilledJob() override {
        bench::RemoveKey(kEntryKey);
    }

    // Runs the job undisturbed. Its result is the reference for all others.
    void SetUp() override {
        const BrokenClient client(machine_.Root(), package_, packageTime_);
        const JobOutcome outcome = RunJob(client.Tool(), client.TempFolder(), order_);
        ASSERT_EQ(outcome.exitCode, kJobSucceeded) << outcome.detail;
        EXPECT_EQ(bench::FirstDifference(ExpectedContents(client), ContentsOf(client)), "");
        calls_ = outcome.calls;
        reference_ = StateOf(client.Folder());
        packageTime_ = reference_.at(L"client.exe").writeTime;
        ExpectPackageTime();
        referenceEntry_ = ReadEntry();
        EXPECT_EQ(referenceEntry_.size(), 9U);
        bench::RemoveKey(kEntryKey);
        EXPECT_EQ(calls_.size(), 7U + (GetParam().hasLoneFolder ? 1U : 0U) +
                                     (GetParam().kind == JobKind::Reinstall ? 1U : 0U));
    }

    // All files of the test packages are of one time.
    void ExpectPackageTime() const {
        constexpr uint64_t kThreeSeconds = 30'000'000;
        for (const auto& [path, bytes] : package_) {
            if (!path.ends_with(L'/') && path != kToolName) {
                const uint64_t time = reference_.at(path).writeTime;
                EXPECT_LT(std::max(time, packageTime_) - std::min(time, packageTime_),
                          kThreeSeconds)
                    << path;
            }
        }
    }

    static bench::Contents ContentsOf(const BrokenClient& client) {
        return bench::FolderContents(client.Folder());
    }

    // The package's files, the tool, the uninstaller, and in a repair what the player added.
    bench::Contents ExpectedContents(const BrokenClient& client) const {
        bench::Contents expected = package_;
        if (GetParam().kind == JobKind::Repair) {
            for (const auto& [path, entry] : client.Additional()) {
                expected[path] = entry.bytes;
            }
        }
        expected[kToolName] = client.Initial().at(kToolName).bytes;
        expected[kUninstallerName] = bench::ReadFile(client.Folder() / kUninstallerName);
        return expected;
    }

    void Kill(const BrokenClient& client, const Strike& strike) const {
        const JobOutcome outcome = RunJob(client.Tool(), client.TempFolder(), order_, strike);
        // The network and the unpacking program decide how many calls these take.
        const bool varies = strike.phase == Phase::Download || strike.phase == Phase::Unpacking;
        EXPECT_THAT(outcome.exitCode, testing::AnyOf(kKilled, varies ? kKilledLate : kKilled));
    }

    // A client that is partly repaired takes fewer calls.
    void KillAgain(const BrokenClient& client, const Strike& strike) const {
        const JobOutcome outcome = RunJob(client.Tool(), client.TempFolder(), order_, strike);
        EXPECT_THAT(outcome.exitCode, testing::AnyOf(kKilled, kKilledLate));
    }

    // Must hold at whatever moment the process ended.
    void ExpectNothingLost(const BrokenClient& client, Phase phase) const {
        const FolderState state = StateOf(client.Folder());
        if (phase < Phase::CleanOut) {
            EXPECT_EQ(FirstDifference(client.Initial(), state), "");
        }
        ExpectSame(client.Initial(), state, kToolName);
        if (GetParam().kind == JobKind::Repair) {
            ExpectAdditionalUntouched(client, state);
        }
    }

    static void ExpectAdditionalUntouched(const BrokenClient& client, const FolderState& state) {
        for (const auto& [path, entry] : client.Additional()) {
            if (path.ends_with(L'/')) {
                EXPECT_TRUE(state.contains(path)) << path;
            } else {
                ExpectSame(client.Additional(), state, path);
            }
        }
    }

    void ExpectConvergence(const BrokenClient& client) const {
        const std::vector<std::wstring> leftBehind = bench::FolderListing(client.TempFolder());
        const JobOutcome outcome = RunJob(client.Tool(), client.TempFolder(), order_);
        EXPECT_EQ(outcome.exitCode, kJobSucceeded) << outcome.detail;
        EXPECT_EQ(bench::FirstDifference(ExpectedContents(client), ContentsOf(client)), "");
        const FolderState state = StateOf(client.Folder());
        ExpectReferenceFiles(state);
        ExpectSame(client.Initial(), state, kToolName);
        if (GetParam().kind == JobKind::Repair) {
            ExpectAdditionalUntouched(client, state);
        }
        EXPECT_EQ(bench::FolderListing(client.TempFolder()), leftBehind);
        ExpectReferenceEntry();
    }

    // Bytes and times as an undisturbed job leaves them.
    void ExpectReferenceFiles(const FolderState& state) const {
        for (const auto& [path, bytes] : package_) {
            if (!path.ends_with(L'/') && path != kToolName) {
                ExpectSame(reference_, state, path);
            }
        }
        EXPECT_EQ(state.at(kUninstallerName).bytes, reference_.at(kUninstallerName).bytes);
    }

    void ExpectReferenceEntry() const {
        EXPECT_TRUE(ReadEntry() == referenceEntry_);
        bench::RemoveKey(kEntryKey);
    }

    bench::UnpackerMachine machine_;
    bench::FaultServer server_;
    JobOrder order_;
    bench::Contents package_;
    PhaseCalls calls_;
    FolderState reference_;
    uint64_t packageTime_ = 0;
    bench::StoredValues referenceEntry_;
};

TEST_P(KilledJob, ConvergesWhenItIsRunAgain) {
    KillPoints killPoints(calls_, GetParam().seed);
    for (unsigned i = 0; i < GetParam().rounds && !HasFailure(); ++i) {
        const Strike strike = killPoints.Next();
        SCOPED_TRACE(Description(strike));
        const BrokenClient client(machine_.Root(), package_, packageTime_);
        Kill(client, strike);
        ExpectNothingLost(client, strike.phase);
        ExpectConvergence(client);
    }
    std::printf("Kill points of seed %u:\n", GetParam().seed);
    killPoints.PrintSpread();
}

constexpr wchar_t kZip[] = L"zip_small_client.zip";
constexpr wchar_t kLoneZip[] = L"zip_small_client_lone_folder.zip";
constexpr wchar_t kRar[] = L"rar5_small_client.rar";
constexpr wchar_t kLoneRar[] = L"rar5_small_client_lone_folder.rar";

constexpr unsigned kFewRounds = 6;
constexpr unsigned kManyRounds = 13;

// In the usual run few of each, so that none takes long.
INSTANTIATE_TEST_SUITE_P(Some, KilledJob,
                         testing::Values(Scene{kZip, false, JobKind::Repair, 1001, kFewRounds},
                                         Scene{kLoneRar, true, JobKind::Repair, 1004, kFewRounds},
                                         Scene{kLoneZip, true, JobKind::Reinstall, 1006,
                                               kFewRounds},
                                         Scene{kRar, false, JobKind::Reinstall, 1007, kFewRounds}),
                         SceneName);
INSTANTIATE_TEST_SUITE_P(
    Slow, KilledJob,
    testing::Values(Scene{kZip, false, JobKind::Repair, 1001, kManyRounds},
                    Scene{kLoneZip, true, JobKind::Repair, 1002, kManyRounds},
                    Scene{kRar, false, JobKind::Repair, 1003, kManyRounds},
                    Scene{kLoneRar, true, JobKind::Repair, 1004, kManyRounds},
                    Scene{kZip, false, JobKind::Reinstall, 1005, kManyRounds},
                    Scene{kLoneZip, true, JobKind::Reinstall, 1006, kManyRounds},
                    Scene{kRar, false, JobKind::Reinstall, 1007, kManyRounds},
                    Scene{kLoneRar, true, JobKind::Reinstall, 1008, kManyRounds},
                    Scene{kZip, false, JobKind::Repair, 1009, kManyRounds},
                    Scene{kLoneZip, true, JobKind::Repair, 1010, kManyRounds},
                    Scene{kRar, false, JobKind::Repair, 1011, kManyRounds},
                    Scene{kLoneRar, true, JobKind::Repair, 1012, kManyRounds},
                    Scene{kZip, false, JobKind::Reinstall, 1013, kManyRounds},
                    Scene{kLoneZip, true, JobKind::Reinstall, 1014, kManyRounds},
                    Scene{kRar, false, JobKind::Reinstall, 1015, kManyRounds},
                    Scene{kLoneRar, true, JobKind::Reinstall, 1016, kManyRounds}),
    SceneName);

class JobWithManyDeaths : public KilledJob {};

TEST_P(JobWithManyDeaths, ConvergesWhenItIsKilledTwice) {
    KillPoints killPoints(calls_, GetParam().seed);
    for (unsigned i = 0; i < GetParam().rounds && !HasFailure(); ++i) {
        const Strike first = killPoints.Next();
        const Strike second = killPoints.Next();
        SCOPED_TRACE(Description(first) + "; " + Description(second));
        const BrokenClient client(machine_.Root(), package_, packageTime_);
        Kill(client, first);
        KillAgain(client, second);
        ExpectNothingLost(client, std::max(first.phase, second.phase));
        ExpectConvergence(client);
    }
    std::printf("Kill points of seed %u:\n", GetParam().seed);
    killPoints.PrintSpread();
}

// The nastiest case: a file with its full size but not its content.
TEST_P(JobWithManyDeaths, ConvergesAfterEachHalfOfACopy) {
    const unsigned copies = calls_.at(Phase::Copying).at(L"CopyFileW");
    for (unsigned number = 1; number <= copies && !HasFailure(); ++number) {
        const auto death = number % 3 == 0 ? Intervention::DieHalfWay : Intervention::DieStretched;
        const Strike strike{death, Phase::Copying, L"CopyFileW", number};
        SCOPED_TRACE(Description(strike));
        const BrokenClient client(machine_.Root(), package_, packageTime_);
        Kill(client, strike);
        ExpectNothingLost(client, strike.phase);
        ExpectConvergence(client);
    }
    std::printf("Copies that were cut short: %u\n", copies);
}

INSTANTIATE_TEST_SUITE_P(Repair, JobWithManyDeaths,
                         testing::Values(Scene{kLoneZip, true, JobKind::Repair, 2001, 4}),
                         SceneName);
INSTANTIATE_TEST_SUITE_P(Slow, JobWithManyDeaths,
                         testing::Values(Scene{kLoneZip, true, JobKind::Repair, 2001, 8},
                                         Scene{kLoneZip, true, JobKind::Reinstall, 2002, 8}),
                         SceneName);

class KilledReinstall : public KilledJob {};

// The player tries the other button.
TEST_P(KilledReinstall, IsCompletedByARepair) {
    KillPoints killPoints(calls_, GetParam().seed);
    const JobOrder repair{JobKind::Repair, order_.url, order_.digest};
    for (unsigned i = 0; i < GetParam().rounds && !HasFailure(); ++i) {
        const Strike strike = killPoints.Next();
        SCOPED_TRACE(Description(strike));
        const BrokenClient client(machine_.Root(), package_, packageTime_);
        Kill(client, strike);
        EXPECT_EQ(RunJob(client.Tool(), client.TempFolder(), repair).exitCode, kJobSucceeded);
        ExpectReferenceFiles(StateOf(client.Folder()));
    }
    std::printf("Kill points of seed %u:\n", GetParam().seed);
    killPoints.PrintSpread();
}

INSTANTIATE_TEST_SUITE_P(Some, KilledReinstall,
                         testing::Values(Scene{kZip, false, JobKind::Reinstall, 3002, 3}),
                         SceneName);
INSTANTIATE_TEST_SUITE_P(Slow, KilledReinstall,
                         testing::Values(Scene{kRar, false, JobKind::Reinstall, 3001, 12}),
                         SceneName);

}  // namespace
