// Whole jobs in client folders with a difficult path: signs that mean something to a command line,
// a shell or a URL, other alphabets, and a path not far below the system's limit.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "bench_parts/game_machine.h"
#include "bench_parts/registry_entry.h"
#include "common/tool_instance.h"
#include "config/tool_config.h"
#include "job/job_flow.h"

namespace fs = std::filesystem;

namespace {

constexpr wchar_t kRar[] = L"rar5_plain.rar";

class OddClientFolder : public bench::GameMachine {
protected:
    void Install(const fs::path& folder) {
        folder_ = folder;
        bench::WriteFile(folder_ / L"repair.exe", kToolBytes);
        bench::WriteFile(folder_ / L"client.exe", "old");
        bench::WriteFile(folder_ / L"settings.ini", "mine");
        machine_.PutSevenZip(folder_ / L"7z.exe");
        toolFolder = folder_;
        toolExePath = folder_ / L"repair.exe";
    }

    // The folder without what the job and the tool itself bring along.
    [[nodiscard]] bench::Contents Contents() const {
        bench::Contents contents = bench::FolderContents(folder_);
        EXPECT_EQ(contents[L"repair.exe"], kToolBytes);
        for (const wchar_t* const name : {L"repair.exe", L"Uninstall.exe", L"7z.exe", L"7z.dll"}) {
            contents.erase(name);
        }
        return contents;
    }

    void ExpectRegistered() const {
        const auto entry = bench::ReadKey(kEntryKey);
        ASSERT_TRUE(entry);
        EXPECT_EQ(entry->at(L"InstallLocation"), bench::StoredText(folder_.native()));
        EXPECT_EQ(entry->at(L"UninstallString"),
                  bench::StoredText(L"\"" + folder_.native() + L"\\Uninstall.exe\""));
        EXPECT_EQ(entry->at(L"DisplayIcon"),
                  bench::StoredText(folder_.native() + L"\\client.exe,0"));
    }

    fs::path folder_;
};

TEST_F(OddClientFolder, IsRepairedWithAProgramBesideTheToolAndReinstalled) {
    fs::path longFolder = machine_.Root() / L"l";
    // The package's longest name fits in below 260.
    longFolder += std::wstring(215 - longFolder.native().size(), L'l');
    for (const fs::path& folder :
         {machine_.Root() / L"%TEMP% O'Brien's 'Spiele' & 100% [a] (b) {c}, d;e=f+g!h #$^~@`",
          machine_.Root() / L"\u00dcb\u00e4r \u00df\\\u6f22\u5b57 \u30b2\u30fc\u30e0 \U0001f3ae",
          longFolder}) {
        SCOPED_TRACE(folder);
        Install(folder);
        toolConfig.archiveUrl = PackageUrl(kRar);
        RunJob(JobKind::Repair);
        ExpectSuccess(kRepairSuccess);
        bench::Contents expected = bench::PackageContents(kRar);
        expected[L"settings.ini"] = "mine";
        EXPECT_EQ(bench::FirstDifference(expected, Contents()), "");
        ExpectRegistered();
        resetForRetry();

        toolConfig.archiveUrl = PackageUrl(kZip);
        RunJob(JobKind::Reinstall);
        ExpectSuccess(L"Reinstall complete.");
        EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), Contents()), "");
        ExpectRegistered();
        resetForRetry();
    }
}

}  // namespace
