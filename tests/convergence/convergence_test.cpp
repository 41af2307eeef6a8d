// The promise of the tool: whatever interrupted an earlier job, the next one makes the client agree
// with the package.

#include <gtest/gtest.h>

#include <cstdio>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "bench_parts/fault_server_client.h"
#include "bench_parts/package_contents.h"
#include "bench_parts/registry_entry.h"
#include "bench_parts/unpacker_machine.h"
#include "convergence/broken_client.h"
#include "convergence/job_process.h"
#include "package/package_hash.h"

namespace {

// The place of the default configuration's entry.
constexpr wchar_t kEntryKey[] =
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Quellstone.Karvoth";

constexpr wchar_t kZip[] = L"zip_small_client.zip";
constexpr wchar_t kLoneZip[] = L"zip_small_client_lone_folder.zip";
constexpr wchar_t kRar[] = L"rar5_small_client.rar";
constexpr wchar_t kLoneRar[] = L"rar5_small_client_lone_folder.rar";

constexpr JobKind kRepair = JobKind::Repair;
constexpr JobKind kReinstall = JobKind::Reinstall;

struct Scene {
    const char* name;
    const wchar_t* package;
    JobKind kind;
    unsigned first;       // The first change at which a job is killed,
    unsigned step;        // and the distance of the others; no multiple of 3, so that deaths vary.
    unsigned again = 0;   // Where the next job is killed too; 0 if it is not.
    JobKind last = kind;  // The job that is left alone.
    const wchar_t* function = kAnyFunction;  // What counts as a change.
};

void PrintTo(const Scene& scene, std::ostream* out) {
    *out << scene.name;
}

std::wstring DigestOf(const std::wstring& packageName) {
    std::wstring digest;
    EXPECT_TRUE(ComputeFileSha256(bench::PackagePath(packageName), digest));
    return digest;
}

// Without the date, which may change during a test.
bench::StoredValues ReadEntry() {
    bench::StoredValues values = bench::ReadKey(kEntryKey).value_or(bench::StoredValues());
    values.erase(L"InstallDate");
    return values;
}

// The entries of `all` that `wanted` has too.
bench::Contents Among(const bench::Contents& wanted, bench::Contents all) {
    std::erase_if(all, [&](const auto& entry) { return !wanted.contains(entry.first); });
    return all;
}

class KilledJob : public testing::TestWithParam<Scene> {
protected:
    KilledJob() {
        machine_.PutTar();
        machine_.PutSevenZip(machine_.SearchFolder() / L"7z.exe");
        bench::RemoveKey(kEntryKey);
    }

    ~KilledJob() override {
        bench::RemoveKey(kEntryKey);
    }

    // Runs the job undisturbed. Its result is the reference for all others.
    void SetUp() override {
        const BrokenClient client(machine_.Root(), package_);
        ASSERT_EQ(Run(GetParam().kind, client), kJobSucceeded);
        reference_ = StateOf(client.Folder());
        packageTime_ = bench::GetWriteTime(client.Folder() / L"client.exe");
        referenceEntry_ = ReadEntry();
        EXPECT_EQ(referenceEntry_.size(), 9U);
        bench::RemoveKey(kEntryKey);

        const bench::Contents actual = bench::FolderContents(client.Folder());
        bench::Contents expected = package_;
        expected[kToolName] = bench::ReadFile(client.Tool());  // Not the package's.
        expected[kUninstallerName] = bench::ReadFile(client.Folder() / kUninstallerName);
        EXPECT_EQ(bench::FirstDifference(expected, Among(expected, actual)), "");
        EXPECT_EQ(actual.size(), expected.size() + Kept(client).size() - 1) << "with the tool once";
        ExpectKept(client);
    }

    int Run(JobKind kind, const BrokenClient& client,
            const std::optional<Strike>& strike = std::nullopt) const {
        const std::wstring url = server_.Url(std::wstring(L"archive/") + GetParam().package);
        return RunJob(client.Tool(), client.TempFolder(), {kind, url, digest_}, strike);
    }

    // What no job may change: the tool and, in a repair, the player's own files and folders.
    [[nodiscard]] bench::Contents Kept(const BrokenClient& client) const {
        bench::Contents kept = client.Initial();
        std::erase_if(kept, [&](const auto& entry) {
            return entry.first != kToolName &&
                   (GetParam().kind == JobKind::Reinstall || package_.contains(entry.first));
        });
        return kept;
    }

    // Must hold at whatever moment a job ended.
    void ExpectKept(const BrokenClient& client) const {
        const bench::Contents kept = Kept(client);
        EXPECT_EQ(bench::FirstDifference(kept, Among(kept, StateOf(client.Folder()))), "");
    }

    void ExpectConvergence(const BrokenClient& client) const {
        const std::vector<std::wstring> leftBehind = bench::FolderListing(client.TempFolder());
        EXPECT_EQ(Run(GetParam().last, client), kJobSucceeded);
        // A repair leaves what the reinstall did not come to remove, and counts its size.
        const bool isSameKind = GetParam().last == GetParam().kind;
        const bench::Contents state = StateOf(client.Folder());
        EXPECT_EQ(bench::FirstDifference(reference_, isSameKind ? state : Among(reference_, state)),
                  "");
        EXPECT_EQ(bench::FolderListing(client.TempFolder()), leftBehind);
        EXPECT_TRUE(ReadEntry() == referenceEntry_ || !isSameKind);
        bench::RemoveKey(kEntryKey);
    }

    bench::UnpackerMachine machine_;
    bench::FaultServer server_;
    std::wstring digest_ = DigestOf(GetParam().package);
    bench::Contents package_ = PackageOf(GetParam().package);
    uint64_t packageTime_ = 0;
    bench::Contents reference_;
    bench::StoredValues referenceEntry_;

private:
    // As it is in the client.
    static bench::Contents PackageOf(const std::wstring& name) {
        const bench::Contents all = bench::PackageContents(name);
        return name.find(L"lone_folder") == std::wstring::npos ? all : bench::Below(L"Client", all);
    }
};

TEST_P(KilledJob, ConvergesWhenItIsRunAgain) {
    const Scene& scene = GetParam();
    unsigned kills = 0;
    unsigned secondKills = 0;
    std::set<int> ends;
    for (unsigned number = scene.first; !HasFailure(); number += scene.step) {
        SCOPED_TRACE(number);
        const BrokenClient client(machine_.Root(), package_, packageTime_);
        const Death death =
            scene.function == kAnyFunction ? static_cast<Death>(number % 3) : Death::Stretched;
        const int end = Run(scene.kind, client, Strike{death, scene.function, number});
        if (end == kJobSucceeded) {
            break;  // It has fewer changes.
        }
        ++kills;
        ends.insert(end);
        ASSERT_GE(end, kKilled);
        if (end < kKilled + static_cast<int>(JobStage::Finishing)) {
            EXPECT_EQ(bench::FirstDifference(client.Initial(), StateOf(client.Folder())), "");
        }
        ExpectKept(client);
        if (scene.again != 0) {
            const int secondEnd =
                Run(scene.kind, client, Strike{death, scene.function, scene.again});
            EXPECT_NE(secondEnd, kJobFailed);
            secondKills += secondEnd >= kKilled ? 1 : 0;
            ExpectKept(client);
        }
        ExpectConvergence(client);
    }
    std::printf("Killed jobs: %u\n", kills);
    EXPECT_GE(kills, 3U);
    EXPECT_TRUE(scene.again == 0 || secondKills > 0);
    EXPECT_TRUE(ends.contains(kKilled + static_cast<int>(JobStage::Finishing)));
}

// In the usual run few jobs of each, so that none takes long. The nastiest case is a file with its
// full size but not its content.
INSTANTIATE_TEST_SUITE_P(
    Some, KilledJob,
    testing::Values(Scene{"RepairZip", kZip, kRepair, 2, 13},
                    Scene{"RepairLoneRar", kLoneRar, kRepair, 7, 16},
                    Scene{"ReinstallLoneZip", kLoneZip, kReinstall, 5, 22},
                    Scene{"ReinstallRar", kRar, kReinstall, 9, 25},
                    Scene{"RepairKilledTwice", kLoneZip, kRepair, 16, 16, 40},
                    Scene{"ReinstallAndRepair", kZip, kReinstall, 14, 32, 0, kRepair},
                    Scene{"RepairCopies", kLoneZip, kRepair, 1, 1, 0, kRepair, L"CopyFileW"}),
    testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(
    Slow, KilledJob,
    testing::Values(
        Scene{"RepairZip", kZip, kRepair, 1, 4}, Scene{"RepairLoneZip", kLoneZip, kRepair, 2, 4},
        Scene{"RepairRar", kRar, kRepair, 3, 4}, Scene{"RepairLoneRar", kLoneRar, kRepair, 4, 4},
        Scene{"ReinstallZip", kZip, kReinstall, 1, 5},
        Scene{"ReinstallLoneZip", kLoneZip, kReinstall, 2, 5},
        Scene{"ReinstallRar", kRar, kReinstall, 3, 5},
        Scene{"ReinstallLoneRar", kLoneRar, kReinstall, 4, 5},
        Scene{"RepairKilledTwice", kLoneZip, kRepair, 8, 10, 30},
        Scene{"ReinstallKilledTwice", kLoneZip, kReinstall, 8, 16, 60},
        Scene{"ReinstallAndRepair", kRar, kReinstall, 5, 10, 0, kRepair},
        Scene{"ReinstallCopies", kLoneZip, kReinstall, 1, 1, 0, kReinstall, L"CopyFileW"}),
    testing::PrintToStringParamName());

}  // namespace
