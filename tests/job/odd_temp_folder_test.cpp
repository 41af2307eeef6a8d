// Whole jobs with a temporary folder that is missing, relative, too long or oddly named. A name
// that is too long is ignored, and the job then uses the current folder, which can be the
// client's: a reinstall that deleted its own package there would leave an empty client.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "bench_parts/current_folder.h"
#include "bench_parts/game_machine.h"
#include "job/job_flow.h"

namespace fs = std::filesystem;

namespace {

using testing::IsEmpty;

constexpr std::wstring_view kUnsafe =
    L"Safety check failed. Reinstall can only run from inside the game client folder.";
constexpr std::wstring_view kNoDownloadFile = L"Could not create the temporary download file.";

struct TempSetting {
    std::optional<std::wstring> value;  // Of TMP and TEMP; none removes both.
    bool startedInClient = false;       // Which folder is current: the client's or another one.
    std::wstring_view repairFailure{};  // Empty for a success.
    std::wstring_view reinstallFailure{};
};

// What the system takes for the temporary folder when no variable names one.
fs::path ProfileFolder() {
    std::wstring folder(MAX_PATH, L'\0');
    folder.resize(::GetEnvironmentVariableW(L"USERPROFILE", folder.data(), MAX_PATH));
    return folder;
}

class OddTempFolder : public bench::GameMachine {
protected:
    void RunJobWithTempFolder(JobKind kind, const std::optional<std::wstring>& folder) {
        const bench::EnvironmentVariable tmp(L"TMP", folder);
        const bench::EnvironmentVariable temp(L"TEMP", folder);
        const bench::EnvironmentVariable path(L"PATH", machine_.CurrentFolder().native());
        RunJob(kind);
    }

    // The job's own files, wherever this setting may have put them.
    [[nodiscard]] std::vector<fs::path> LeftBehind() const {
        std::vector<fs::path> left;
        for (const fs::path& folder : {fs::current_path(), fs::current_path() / L"temp", Client(),
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
};

TEST_F(OddTempFolder, JobsAreCompleteOrFailWithNothingLost) {
    const TempSetting settings[] = {
        {.value = std::nullopt},
        {.value = L"C:\\no such folder\\temp",
         .repairFailure = kNoDownloadFile,
         .reinstallFailure = kNoDownloadFile},
        {.value = L"temp"},
        {.value = L"temp", .startedInClient = true, .reinstallFailure = kUnsafe},
        {.value = L"C:\\" + std::wstring(300, L'x')},
        {.value = L"C:\\" + std::wstring(300, L'x'),
         .startedInClient = true,
         .reinstallFailure = kUnsafe},
    };
    for (const TempSetting& setting : settings) {
        SCOPED_TRACE(testing::PrintToString(setting.value) +
                     (setting.startedInClient ? " in the client" : ""));
        const bench::CurrentFolder current(setting.startedInClient ? Client()
                                                                   : machine_.CurrentFolder());
        fs::create_directory(fs::current_path() / L"temp");
        bench::WriteFile(Client() / L"client.exe", "old");
        bench::WriteFile(Client() / L"data" / L"settings.ini", "mine");
        bench::Contents expected = ClientContents();
        for (const auto& [kind, failure] : {std::pair{JobKind::Repair, setting.repairFailure},
                                            {JobKind::Reinstall, setting.reinstallFailure}}) {
            RunJobWithTempFolder(kind, setting.value);
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
}

}  // namespace
