// `repair_kit pack` on real folders.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "bench_parts/scratch_folder.h"
#include "bench_parts/skipping.h"
#include "kit/content_digest.h"
#include "kit/errors.h"
#include "kit/exit_codes.h"
#include "kit/output_file.h"
#include "kit/utf8.h"
#include "kit/zip/block_pipeline.h"
#include "kit/zip/client_listing.h"
#include "kit/zip/package_check.h"
#include "kit/zip/package_writer.h"
#include "kit/zip/random_access_file.h"
#include "kit/zip/zip_directory.h"
#include "kit_process.h"

namespace {

namespace fs = std::filesystem;

using bench::ReadFile;
using bench::WriteFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Pack : public testing::Test {
protected:
    Pack() {
        WriteFile(client_ / L"game.exe", "the game");
        console_.SetMode({true, false});
    }

    kit_test::KitRun RunKit() {
        std::wstring command = L"pack \"" + client_.native() + L"\" -o \"" + package_.native() +
                               L"\" --quiet " + options_;
        if (!brand_.empty()) {
            command += L" --brand \"" + brand_.native() + L"\"";
        }
        return kit_test::RunRepairKit(command);
    }

    ExitCode Run() {
        return static_cast<ExitCode>(RunKit().exitCode);
    }

    // What stderr says when something outside fails.
    std::string FailureOfRun() {
        const kit_test::KitRun run = RunKit();
        EXPECT_EQ(static_cast<ExitCode>(run.exitCode), ExitCode::OutsideFailure) << run.out;
        return run.error;
    }

    [[nodiscard]] std::vector<std::string> PackedNames() const {
        const RandomAccessFile file(package_);
        std::vector<std::string> names;
        for (const ZipEntry& entry : ReadZipDirectory(file).entries) {
            names.emplace_back(entry.name);
        }
        return names;
    }

    void MakeBrand(const std::string& config) {
        brand_ = scratch_.Path() / L"brand";
        WriteFile(brand_ / L"config.txt", config);
    }

    // What listing the client finds.
    std::vector<std::string> RefusedRules() {
        Findings findings;
        static_cast<void>(ListClient(client_, {L"tool.exe", {}}, findings));
        std::vector<std::string> rules;
        for (const Finding& finding : findings.List()) {
            rules.push_back(std::string(finding.rule->id) + "@" + finding.place.text);
        }
        return rules;
    }

    bench::ScratchFolder scratch_;
    fs::path client_ = scratch_.Path() / L"client";
    fs::path package_ = scratch_.Path() / L"out" / L"package.zip";
    fs::path brand_;  // Empty: none.
    std::wstring options_;
    Console console_;
};

TEST_F(Pack, LeavesOutToolUninstallerAndWhatIsExcluded) {
    for (const wchar_t* name : {L"MyTool.EXE", L"uninstall.exe", L"KrvBrennickInstaller.exe",
                                L"bin\\MyTool.exe", L"bin\\Uninstall.exe", L"logs\\a.txt",
                                L"data\\a.log", L"data\\keep.txt", L"tmp\\a.tmp"}) {
        WriteFile(client_ / name, "x");
    }
    MakeBrand("repairToolName=mytool.exe\n");
    options_ = L"--exclude *.LOG --exclude logs --exclude tmp/**";
    EXPECT_EQ(Run(), ExitCode::Done);
    EXPECT_THAT(PackedNames(),
                ElementsAre("KrvBrennickInstaller.exe", "bin/MyTool.exe", "bin/Uninstall.exe",
                            "data/keep.txt", "game.exe", "tmp/"));
}

TEST_F(Pack, LeavesOutTheDefaultToolWithoutABrand) {
    WriteFile(client_ / L"krvbrennickinstaller.exe", "x");
    EXPECT_EQ(Run(), ExitCode::Done);
    EXPECT_THAT(PackedNames(), ElementsAre("game.exe"));
}

TEST_F(Pack, RefusesWhatWouldBeAnErrorAndWritesNothing) {
    WriteFile(client_ / L"tar.exe", "x");
    EXPECT_EQ(Run(), ExitCode::Refused);
    EXPECT_FALSE(fs::exists(package_.parent_path()));
    fs::remove(client_ / L"tar.exe");
    fs::remove(client_ / L"game.exe");
    EXPECT_EQ(Run(), ExitCode::Refused);
    WriteFile(client_ / L"Game" / L"GAME" / L"a", "x");
    EXPECT_EQ(Run(), ExitCode::Refused);
    EXPECT_FALSE(fs::exists(package_.parent_path()));
}

TEST_F(Pack, RefusesLinks) {
    fs::create_directories(scratch_.Path() / L"elsewhere");
    SKIP_ON_WINDOWS_WITHOUT(
        bench::MakeFolderLink(client_ / L"link", scratch_.Path() / L"elsewhere"),
        "the right to make links");
    EXPECT_THAT(RefusedRules(), ElementsAre("package.link@link"));
    EXPECT_EQ(Run(), ExitCode::Refused);
    options_ = L"--exclude link";
    EXPECT_EQ(Run(), ExitCode::Done);
}

TEST_F(Pack, SetsTheDigestInTheBrand) {
    MakeBrand("\xEF\xBB\xBFx=1\r\narchiveSha256=old\r\n# end");
    EXPECT_EQ(Run(), ExitCode::Done);
    Findings findings;
    PackageFacts facts;
    CheckPackage(package_, {}, findings, facts, console_);
    EXPECT_EQ(ReadFile(brand_ / L"config.txt"),
              "\xEF\xBB\xBFx=1\r\narchiveSha256=" + facts.sha256.value_or("") + "\r\n# end");
    EXPECT_THAT(bench::FolderListing(brand_), ElementsAre(L"config.txt"));
}

TEST_F(Pack, SaysWhatItHasWritten) {
    MakeBrand("archiveSha256=old\n");
    const kit_test::KitRun run =
        kit_test::RunRepairKit(L"pack \"" + client_.native() + L"\" -o \"" + package_.native() +
                               L"\" --brand \"" + brand_.native() + L"\"");
    EXPECT_THAT(run.out, HasSubstr("Wrote " + WideToUtf8(package_.native()) + "\n"));
    EXPECT_THAT(run.out, HasSubstr("Set archiveSha256 in " +
                                   WideToUtf8((brand_ / L"config.txt").native()) + "\n"));
}

TEST_F(Pack, NamesTheLongestPathAsTheCheckDoes) {
    WriteFile(client_ / L"of-13-letters", "");
    fs::create_directories(client_ / L"sub" / L"of-length");
    options_ = L"--json";
    const kit_test::KitRun run = RunKit();
    EXPECT_THAT(run.out, HasSubstr("\"longestPath\": \"of-13-letters\""));
    Findings findings;
    PackageFacts facts;
    CheckPackage(package_, {}, findings, facts, console_);
    EXPECT_EQ(facts.longestPath, "of-13-letters");
}

TEST_F(Pack, SaysThatTheBrandWasPackedWithTheClient) {
    brand_ = client_ / L"tools" / L"brand";
    WriteFile(brand_ / L"config.txt", "archiveSha256=old\n");
    WriteFile(client_ / L"config.txt", "the game's own");
    const std::wstring command = L"pack \"" + client_.native() + L"\" -o \"" + package_.native() +
                                 L"\" --brand \"" + brand_.native() + L"\"";
    constexpr char kNotice[] = "the brand is in the client folder and was packed with it";
    for (const wchar_t* option : {L"", L" --json", L" --quiet"}) {
        EXPECT_THAT(kit_test::RunRepairKit(command + option).error, HasSubstr(kNotice));
    }
    EXPECT_EQ(kit_test::RunRepairKit(command + L" --exclude brand").error, "");
}

TEST_F(Pack, KeepsThePackageWhenTheBrandCannotBeWritten) {
    MakeBrand("archiveSha256=old\n");
    const bench::OpenElsewhere lock(brand_ / L"config.txt", FILE_SHARE_READ);
    const std::string failure = FailureOfRun();
    EXPECT_THAT(failure, HasSubstr("archiveSha256=" + DigestOfFile(package_) + " "));
    EXPECT_THAT(failure, HasSubstr("config.txt: "));
    EXPECT_THAT(PackedNames(), ElementsAre("game.exe"));
    EXPECT_EQ(ReadFile(brand_ / L"config.txt"), "archiveSha256=old\n");
}

TEST_F(Pack, NeedsTheBrandsConfiguration) {
    brand_ = scratch_.Path() / L"brand";
    fs::create_directories(brand_);
    EXPECT_THAT(FailureOfRun(), HasSubstr("config.txt"));
    EXPECT_FALSE(fs::exists(package_.parent_path()));
}

TEST_F(Pack, FailsForAFileThatIsBeingWrittenAndLeavesNothing) {
    WriteFile(client_ / L"log.txt", "x");
    const bench::OpenElsewhere writer(client_ / L"log.txt", FILE_SHARE_READ | FILE_SHARE_WRITE,
                                      GENERIC_WRITE);
    EXPECT_THAT(FailureOfRun(), HasSubstr("log.txt"));
    EXPECT_FALSE(fs::exists(package_.parent_path()));
}

TEST_F(Pack, FailsForAFileThatHasChangedSinceItWasListed) {
    for (const wchar_t* name : {L"game.exe", L"empty"}) {
        WriteFile(client_ / L"empty", "");
        Findings findings;
        const ClientListing listing = ListClient(client_, {}, findings);
        WriteFile(client_ / name, "it has grown");
        OutputFile output(package_);
        EXPECT_THROW(WritePackage(client_, listing.entries, 6, 1, output, [](uint64_t) {}),
                     OutsideFailure)
            << name;
    }
}

TEST_F(Pack, KeepsATargetThatIsInUse) {
    WriteFile(package_, "the old package");
    const bench::OpenElsewhere reader(package_, FILE_SHARE_READ);
    EXPECT_THAT(FailureOfRun(), HasSubstr("package.zip"));
    EXPECT_EQ(ReadFile(package_), "the old package");
    EXPECT_THAT(bench::FolderListing(package_.parent_path()), ElementsAre(L"package.zip"));
}

TEST_F(Pack, FailsForAFolderThatCannotBeListed) {
    WriteFile(client_ / L"data" / L"a", "x");
    const bench::UnreadableFolder folder(client_ / L"data");
    SKIP_ON_WINDOWS_WITHOUT(folder.Made(), "unreadable folders");
    EXPECT_THAT(FailureOfRun(), HasSubstr("data"));
}

TEST_F(Pack, FailsWithoutAClientFolder) {
    client_ /= L"game.exe";
    EXPECT_THAT(FailureOfRun(), HasSubstr("game.exe"));
    client_ = scratch_.Path() / L"missing";
    EXPECT_THAT(FailureOfRun(), HasSubstr("missing"));
}

TEST_F(Pack, PacksPathsBeyond260Characters) {
    fs::path folder = L"\\\\?\\" + client_.native();
    std::string name;
    for (int i = 0; i < 4; ++i) {
        const std::wstring part(90, static_cast<wchar_t>(L'a' + i));
        folder /= part;
        name += std::string(90, static_cast<char>('a' + i)) + "/";
    }
    WriteFile(folder / L"deep.txt", "deep");
    EXPECT_EQ(Run(), ExitCode::Done);
    EXPECT_THAT(PackedNames(), ElementsAre(name + "deep.txt", "game.exe"));
}

TEST_F(Pack, MakesPackagesThatTheCheckAccepts) {
    std::mt19937 random(1);
    std::string noise(2'500'000, '\0');
    for (char& each : noise) {
        each = static_cast<char>(random());
    }
    WriteFile(client_ / L"noise.bin", noise);
    WriteFile(client_ / L"mixed.bin", noise.substr(0, 1'500'000) + std::string(3'000'000, 'm'));
    WriteFile(client_ / L"empty.txt", "");
    EXPECT_EQ(Run(), ExitCode::Done);
    Findings findings;
    PackageFacts facts;
    CheckPackage(package_, {}, findings, facts, console_);
    EXPECT_THAT(findings.List(), IsEmpty());
    EXPECT_EQ(facts.files, 4U);
    EXPECT_EQ(facts.largestFile, "mixed.bin");
}

TEST_F(Pack, CompressesAtTheDocumentedLevelByDefault) {
    std::string text;
    for (int i = 0; i < 20'000; ++i) {
        text += std::to_string(i * i % 9'973) + (i % 3 == 0 ? " and " : ", ");
    }
    WriteFile(client_ / L"text.txt", text);
    std::vector<std::string> packages;
    for (const wchar_t* options : {L"", L"--level 5", L"--level 6", L"--level 7"}) {
        options_ = options;
        EXPECT_EQ(Run(), ExitCode::Done);
        packages.push_back(ReadFile(package_));
    }
    EXPECT_TRUE(packages[0] == packages[2]);
    EXPECT_FALSE(packages[0] == packages[1]);
    EXPECT_FALSE(packages[0] == packages[3]);
}

TEST_F(Pack, TakesAtMostAThousandFilesAtATime) {
    Findings findings;
    const ClientEntry entry = ListClient(client_, {}, findings).entries.at(0);
    const std::vector<ClientEntry> entries(2'500, entry);
    BlockPipeline pipeline(client_, entries, 6, 1);
    std::vector<size_t> counts;
    for (PackedBatch batch; pipeline.Next(batch);) {
        counts.push_back(batch.blocks.size());
    }
    EXPECT_THAT(counts, ElementsAre(1'000, 1'000, 500));
}

}  // namespace
