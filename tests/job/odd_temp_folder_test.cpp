// Whole jobs with a temporary folder that is missing, relative, too long or oddly named. A name
// that is too long is ignored, and the job then uses the current folder, which can be the
// client's: a reinstall that deleted its own package there would leave an empty client.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "bench_parts/game_machine.h"
#include "job/job_flow.h"

namespace fs = std::filesystem;

namespace {

using testing::IsEmpty;

constexpr std::wstring_view kUnsafe =
    L"Safety check failed. Reinstall can only run from inside the game client folder.";
constexpr std::wstring_view kNoDownloadFile = L"Could not create the temporary download file.";
constexpr std::wstring_view kSuccess;

struct TempSetting {
    const char* name;
    std::optional<std::wstring> value;  // Of TMP and TEMP; none removes both.
    bool startedInClient;               // Which folder is current: the client's or another one.
    std::wstring_view repairFailure;    // Empty for a success.
    std::wstring_view reinstallFailure;
};

void PrintTo(const TempSetting& setting, std::ostream* out) {
    *out << setting.name;
}

// What the system takes for the temporary folder when no variable names one.
fs::path ProfileFolder() {
    std::wstring folder(MAX_PATH, L'\0');
    folder.resize(::GetEnvironmentVariableW(L"USERPROFILE", folder.data(), MAX_PATH));
    return folder;
}

class OddTempFolder : public bench::GameMachine, public testing::WithParamInterface<TempSetting> {
protected:
    void SetUp() override {
        bench::WriteFile(Client() / L"client.exe", "old");
        bench::WriteFile(Client() / L"data" / L"settings.ini", "mine");
        fs::create_directory(StartFolder() / L"temp");
        before_ = ClientContents();
        fs::current_path(StartFolder());
    }

    // Not all of these folders are emptied between the tests.
    void TearDown() override {
        for (const fs::path& path : LeftBehind()) {
            fs::remove_all(path);
        }
    }

    void RunJobWithTempFolder(JobKind kind) {
        const bench::EnvironmentVariable tmp(L"TMP", GetParam().value);
        const bench::EnvironmentVariable temp(L"TEMP", GetParam().value);
        const bench::EnvironmentVariable path(L"PATH", machine_.CurrentFolder().native());
        RunJob(kind);
    }

    [[nodiscard]] fs::path StartFolder() const {
        return GetParam().startedInClient ? Client() : machine_.CurrentFolder();
    }

    // The job's own files, wherever this setting may have put them.
    [[nodiscard]] std::vector<fs::path> LeftBehind() const {
        std::vector<fs::path> left;
        for (const fs::path& folder : {StartFolder(), StartFolder() / L"temp", Client(),
                                       fs::temp_directory_path(), ProfileFolder()}) {
            std::error_code ignored;
            for (const fs::directory_entry& entry : fs::directory_iterator(folder, ignored)) {
                if (entry.path().filename().native().starts_with(L"KrvBrennick")) {
                    left.push_back(entry.path());
                }
            }
        }
        return left;
    }

    bench::Contents before_;
};

const TempSetting kSettings[] = {
    {"NoVariable", std::nullopt, false, kSuccess, kSuccess},
    {"MissingFolder", L"C:\\no such folder\\temp", false, kNoDownloadFile, kNoDownloadFile},
    {"Relative", L"temp", false, kSuccess, kSuccess},
    {"RelativeInTheClient", L"temp", true, kSuccess, kUnsafe},
    {"TooLong", L"C:\\" + std::wstring(300, L'x'), false, kSuccess, kSuccess},
    {"TooLongInTheClient", L"C:\\" + std::wstring(300, L'x'), true, kSuccess, kUnsafe},
};

INSTANTIATE_TEST_SUITE_P(Each, OddTempFolder, testing::ValuesIn(kSettings),
                         testing::PrintToStringParamName());

TEST_P(OddTempFolder, JobsAreCompleteOrFailWithNothingLost) {
    bench::Contents expected = before_;
    for (const auto& [kind, failure] : {std::pair{JobKind::Repair, GetParam().repairFailure},
                                        {JobKind::Reinstall, GetParam().reinstallFailure}}) {
        RunJobWithTempFolder(kind);
        if (!failure.empty()) {
            ExpectFailure(std::wstring(failure));
        } else if (kind == JobKind::Repair) {
            ExpectSuccess(kRepairSuccess);
            expected.merge(LoneFolderPackage());
            expected[L"client.exe"] = LoneFolderPackage()[L"client.exe"];
        } else {
            ExpectSuccess(L"Reinstall complete.");
            expected = LoneFolderPackage();
        }
        EXPECT_EQ(bench::FirstDifference(expected, ClientContents()), "");
        EXPECT_THAT(LeftBehind(), IsEmpty());
        resetForRetry();
    }
}

class OddTempFolderForPowerShell : public bench::GameMachine {};

// The fallback after tar.exe. Apostrophes are its quotes.
TEST_F(OddTempFolderForPowerShell, RepairsAndReinstalls) {
    machine_.PutRecorder(machine_.CurrentFolder() / L"tar.exe", "exit 1");
    machine_.PutPowerShell();
    const fs::path folder = machine_.Root() / L"O'Brien's ''Temp'' & %TEMP%";
    fs::create_directory(folder);
    for (const JobKind kind : {JobKind::Repair, JobKind::Reinstall}) {
        const bench::EnvironmentVariable tmp(L"TMP", folder.native());
        RunJob(kind);
        ExpectSuccess(kind == JobKind::Repair ? kRepairSuccess : L"Reinstall complete.");
        EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
        EXPECT_TRUE(fs::is_empty(folder));
        resetForRetry();
    }
}

}  // namespace
