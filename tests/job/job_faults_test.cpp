// Jobs on a machine where other programs interfere.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

#include "bench_parts/file_hooks.h"
#include "bench_parts/game_machine.h"
#include "config/tool_config.h"

namespace fs = std::filesystem;

namespace {

using testing::SizeIs;

class JobFaultTest : public bench::GameMachine {
protected:
    // Runs a repair in which a virus scanner opens the package, and keeps it open, before the first
    // file is copied.
    void RunRepairWithTheScanner() {
        std::unique_ptr<bench::OpenElsewhere> scanner;
        const auto hook = bench::HookCopy([&](const std::wstring&, const std::wstring&) -> DWORD {
            if (!scanner) {
                scanner = std::make_unique<bench::OpenElsewhere>(
                    fs::temp_directory_path() / PackageName(), FILE_SHARE_READ);
            }
            return ERROR_SUCCESS;
        });
        RunJob(JobKind::Repair);
        EXPECT_TRUE(scanner);
    }

    // The package in the temp folder.
    [[nodiscard]] std::wstring PackageName() const {
        for (const std::wstring& name : TempFolder()) {
            if (name.ends_with(L".zip")) {
                return name;
            }
        }
        return {};
    }

    // All that is left in the temp folder.
    void ExpectOnlyThePackage() const {
        EXPECT_THAT(TempFolder(), SizeIs(1));
        EXPECT_NE(PackageName(), L"");
    }
};

TEST_F(JobFaultTest, AnOpenPackageDoesNotPreventTheSuccess) {
    RunRepairWithTheScanner();
    ExpectSuccess(kRepairSuccess);
    ExpectOnlyThePackage();
}

TEST_F(JobFaultTest, AnOpenPackageDoesNotReplaceTheFailure) {
    bench::WriteFile(Client() / L"data" / L"maps" / L"a.map", "broken");
    bench::SetReadOnly(Client() / L"data" / L"maps" / L"a.map", true);
    RunRepairWithTheScanner();
    ExpectFailure(L"Could not repair this file: data\\maps\\a.map");
    ExpectOnlyThePackage();
}

TEST_F(JobFaultTest, ClientIsCompleteAfterAnUnpackerThatFailedHalfWay) {
    machine_.PutRecorder(machine_.CurrentFolder() / L"tar.exe",
                         "leave Client/readme.txt leave Client/data/maps/b.map exit 1");
    machine_.PutPowerShell();
    RunJob(JobKind::Repair);
    ExpectSuccess(kRepairSuccess);
    EXPECT_EQ(machine_.Runs().size(), 1U);
    EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
}

}  // namespace
