// The program from outside: exit codes, stdout and stderr.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "bench_parts/environment_variable.h"
#include "bench_parts/scratch_folder.h"
#include "brand_corpus.h"
#include "kit/command_line.h"
#include "kit/picture_header.h"
#include "kit/utf8.h"
#include "kit_process.h"

namespace {

namespace fs = std::filesystem;

using bench::FolderListing;
using bench::ScratchFolder;
using bench::WriteFile;
using kit_test::ConfigText;
using kit_test::KitRun;
using kit_test::RunRepairKit;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

std::wstring Quoted(const fs::path& path) {
    return L"\"" + path.native() + L"\"";
}

// A brand that the kit has made, with this configuration.
fs::path MakeBrandFolder(const fs::path& folder, const std::string& configText) {
    EXPECT_EQ(RunRepairKit(L"new --quiet " + Quoted(folder)).exitCode, 0U);
    WriteFile(folder / L"config.txt", configText);
    return folder;
}

size_t LineCount(const std::string& text) {
    return static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
}

TEST(RepairKit, AnswersWrongUsageWithOneLine) {
    const ScratchFolder scratch;
    const std::wstring inFolder = Quoted(scratch.Path());
    const struct {
        std::wstring arguments;
        const char* message;
    } rows[] = {
        {L"", "command is missing"},
        {L"chekc x", "unknown command chekc"},
        {L"check", "BRAND is missing"},
        {L"check --json", "BRAND is missing"},
        {L"check \"\"", "BRAND is empty"},
        {L"check a b", "one word too many"},
        {L"check a --bogus", "unknown option --bogus"},
        {L"check a --package", "--package needs a value"},
        {L"check a --package=", "--package needs a value"},
        {L"check a --package --json", "--package needs a value"},
        {L"check a --package x --package y", "--package is given twice"},
        {L"check a --package --jsn", "--package needs a value"},
        {L"check -- --help x", "one word too many"},
        {L"--version --bogus", "leave out --bogus"},
        {L"check a --json=yes", "--json takes no value"},
        {L"check a --download", "--online"},
        {L"check a -x", "unknown option -x"},
        {L"new a --json", "unknown option --json"},
        {L"new a --name \"a\nb\"", "control character"},
        {L"new a --name a\u007Fb", "control character"},
        {L"new a --name a\u0085b", "control character"},
        {L"new a --name a\u202Eb", "control character"},
    };
    for (const auto& row : rows) {
        const KitRun run = RunRepairKit(row.arguments);
        EXPECT_EQ(run.exitCode, 2U) << row.message;
        EXPECT_THAT(run.out, IsEmpty()) << row.message;
        EXPECT_THAT(run.error, StartsWith("repair_kit: "));
        EXPECT_THAT(run.error, HasSubstr(row.message));
        EXPECT_EQ(LineCount(run.error), 1U) << run.error;
    }
}

TEST(RepairKit, ExplainsItselfOnStdout) {
    for (const wchar_t* arguments : {L"--help", L"-h", L"/?", L"check --help", L"check --bogus -h",
                                     L"new x --help", L"new x --name --help"}) {
        const KitRun run = RunRepairKit(arguments);
        EXPECT_EQ(run.exitCode, 0U);
        EXPECT_THAT(run.out, StartsWith("usage: repair_kit "));
        EXPECT_THAT(run.error, IsEmpty());
    }
    EXPECT_THAT(RunRepairKit(L"check --help").out, HasSubstr("example:\n  repair_kit check "));
    EXPECT_THAT(RunRepairKit(L"pack --help").out,
                HasSubstr("(default: " + std::to_string(kDefaultPackLevel) + ")"));
    EXPECT_EQ(RunRepairKit(L"--version").out, "repair_kit " ENGINE_VERSION "\n");
}

TEST(RepairKit, CheckEndsWithOneForErrorsOnly) {
    const ScratchFolder scratch;
    const std::wstring clean = Quoted(MakeBrandFolder(scratch.Path() / L"clean", ConfigText({})));
    const std::wstring warning =
        Quoted(MakeBrandFolder(scratch.Path() / L"warning", ConfigText({"color=red"})));
    const std::wstring noDigest =
        Quoted(MakeBrandFolder(scratch.Path() / L"digest", ConfigText({"-archiveSha256"})));
    EXPECT_EQ(RunRepairKit(L"check --strict " + clean).exitCode, 0U);
    EXPECT_EQ(RunRepairKit(L"check " + clean).out, "No findings.\n");
    EXPECT_EQ(RunRepairKit(L"check --quiet " + clean).out, "");
    EXPECT_EQ(RunRepairKit(L"check " + warning).exitCode, 0U);
    EXPECT_EQ(RunRepairKit(L"check --strict " + warning).exitCode, 1U);
    EXPECT_EQ(RunRepairKit(L"check " + noDigest).exitCode, 1U);
    EXPECT_EQ(RunRepairKit(L"check --no-digest " + noDigest).exitCode, 0U);
    const KitRun quiet = RunRepairKit(L"check --quiet " + warning);
    EXPECT_THAT(quiet.out, StartsWith("warning config.txt:6: "));
    EXPECT_EQ(LineCount(quiet.out), 2U) << quiet.out;
    EXPECT_THAT(quiet.error, IsEmpty());
}

TEST(RepairKit, QuietLeavesFindingsAndErrorsOnly) {
    const ScratchFolder scratch;
    const auto at = [&](const wchar_t* name) {
        return Quoted(scratch.Path() / name);
    };
    MakeBrandFolder(scratch.Path() / L"brand", ConfigText({"color=red"}));
    WriteFile(scratch.Path() / L"client" / L"game.exe", "the game");
    WriteFile(scratch.Path() / L"bad" / L"tar.exe", "no program of the game");
    const std::wstring pack = L"pack --quiet -o " + at(L"a.zip") + L" ";
    const std::wstring build = L"build --quiet -o " + at(L"release") + L" ";
    const std::vector<std::string> warning{"[config.unknown-key]"};
    const struct {
        std::wstring arguments;
        DWORD exitCode;
        std::vector<std::string> rules;  // Of the findings, each of which has two lines.
        const char* error;
    } rows[] = {
        {L"new --quiet " + at(L"new"), 0, {}, ""},
        {L"new --quiet " + at(L"new"), 1, {}, "is not empty"},
        {pack + at(L"client"), 0, {}, ""},
        {pack + at(L"bad"), 1, {"[package.holds-unpacker]"}, ""},
        {L"check --quiet " + at(L"brand") + L" --package " + at(L"a.zip"),
         1,
         {"[config.unknown-key]", "[package.no-startup]", "[package.digest]"},
         ""},
        {L"preview --quiet --state ready -o " + at(L"pictures") + L" " + at(L"brand"), 0, {}, ""},
        {L"preview --quiet -o " + at(L"pictures") + L" " + at(L"none"), 4, {}, "cannot find"},
        {build + at(L"brand"), 0, warning, ""},
        {build + at(L"brand") + L" --strict", 1, warning, "nothing was built"},
    };
    for (const auto& row : rows) {
        const KitRun run = RunRepairKit(row.arguments);
        EXPECT_EQ(run.exitCode, row.exitCode) << run.error;
        std::vector<std::string> rules;
        std::istringstream lines(run.out);
        for (std::string line, hint; std::getline(lines, line); std::getline(lines, hint)) {
            rules.push_back(line.substr(std::min(line.rfind('['), line.size())));
        }
        EXPECT_EQ(rules, row.rules) << run.out;
        EXPECT_THAT(run.error, HasSubstr(row.error));
        EXPECT_EQ(run.error.empty(), *row.error == '\0') << run.error;
    }
}

TEST(RepairKit, JudgesValuesWithoutTheBlanksAroundThem) {
    const ScratchFolder scratch;
    const fs::path package = scratch.Path() / L"client-1.zip";
    WriteFile(scratch.Path() / L"client" / L"game.exe", "the game");
    ASSERT_EQ(
        RunRepairKit(L"pack " + Quoted(scratch.Path() / L"client") + L" -o " + Quoted(package))
            .exitCode,
        0U);
    const fs::path brand = MakeBrandFolder(scratch.Path() / L"brand",
                                           ConfigText({"startupExe=game.exe ", "-archiveSha256"}));
    const KitRun run =
        RunRepairKit(L"check --no-digest " + Quoted(brand) + L" --package " + Quoted(package));
    EXPECT_THAT(run.out, HasSubstr("[config.outer-blank]"));
    EXPECT_THAT(run.out, HasSubstr("\n1 error, 0 warnings, 0 notes.\n"));
}

TEST(RepairKit, SaysWhatCannotBeReadAndLeavesStdoutEmpty) {
    const ScratchFolder scratch;
    const fs::path file = scratch.Path() / L"file";
    WriteFile(file, "x");
    const fs::path oddBrand = scratch.Path() / L"odd";
    fs::create_directories(oddBrand / L"config.txt");
    const fs::path lockedBrand = MakeBrandFolder(scratch.Path() / L"locked", ConfigText({}));
    const bench::OpenElsewhere user(lockedBrand / L"logo.png", 0);
    const fs::path hugeBrand = MakeBrandFolder(scratch.Path() / L"huge", ConfigText({}));
    bench::MakeSparseFile(hugeBrand / L"config.txt", 5ULL << 30);
    const fs::path hugePicture = MakeBrandFolder(scratch.Path() / L"picture", ConfigText({}));
    bench::MakeSparseFile(hugePicture / L"logo.png", (256ULL << 20) + 1);
    const std::wstring good = Quoted(MakeBrandFolder(scratch.Path() / L"good", ConfigText({})));
    const struct {
        std::wstring arguments;
        const char* reason;
    } rows[] = {
        {Quoted(scratch.Path() / L"missing"), "cannot find the folder"},
        {Quoted(file), "which is a file"},
        {Quoted(oddBrand), "which is a folder"},
        {Quoted(lockedBrand), "(code 32)"},
        {Quoted(hugeBrand), "config.txt, which is larger than 4 MiB"},
        {Quoted(hugePicture), "logo.png, which is larger than 256 MiB"},
        {good + L" --package " + Quoted(oddBrand), "which is a folder; give the package file"},
        {good + L" --package " + Quoted(scratch.Path() / L"none"), "cannot read the package"},
    };
    for (const auto& row : rows) {
        const KitRun run = RunRepairKit(L"check --json " + row.arguments);
        EXPECT_EQ(run.exitCode, 4U) << row.reason;
        EXPECT_THAT(run.out, IsEmpty());
        EXPECT_THAT(run.error, HasSubstr(row.reason));
        EXPECT_THAT(run.error, HasSubstr("(code "));
        EXPECT_EQ(LineCount(run.error), 1U);
    }
}

TEST(RepairKit, ReadsOnlyTheFilesOfTheBrandThatItNeeds) {
    const ScratchFolder scratch;
    const fs::path client = scratch.Path() / L"client";
    WriteFile(client / L"game.exe", "the game");
    const fs::path brand = MakeBrandFolder(scratch.Path() / L"brand", ConfigText({}));
    bench::MakeSparseFile(brand / L"tool.ico", 300ULL << 20);
    const KitRun painted = RunRepairKit(L"preview --state ready " + Quoted(brand) + L" -o " +
                                        Quoted(scratch.Path() / L"pictures"));
    EXPECT_EQ(painted.exitCode, 0U) << painted.error;
    const bench::OpenElsewhere user(brand / L"logo.png", 0);
    const std::wstring preview =
        L"preview --state ready " + Quoted(brand) + L" -o " + Quoted(scratch.Path() / L"hidden");
    EXPECT_EQ(RunRepairKit(preview).exitCode, 4U);
    WriteFile(brand / L"config.txt", ConfigText({"showLogo=0"}));
    EXPECT_EQ(RunRepairKit(preview).exitCode, 0U);
    const KitRun packed =
        RunRepairKit(L"pack --quiet " + Quoted(client) + L" -o " +
                     Quoted(scratch.Path() / L"a.zip") + L" --brand " + Quoted(brand));
    EXPECT_EQ(packed.exitCode, 0U) << packed.error;
    EXPECT_THAT(packed.out, IsEmpty());
}

TEST(RepairKit, PackLeavesStdoutEmptyWhenSomethingOutsideFails) {
    const ScratchFolder scratch;
    const KitRun run = RunRepairKit(L"pack --json " + Quoted(scratch.Path() / L"missing") +
                                    L" -o " + Quoted(scratch.Path() / L"a.zip"));
    EXPECT_EQ(run.exitCode, 4U);
    EXPECT_THAT(run.out, IsEmpty());
    EXPECT_THAT(run.error, HasSubstr("(code "));
}

TEST(RepairKit, ReportsThatItsOutputCannotBeWritten) {
    const ScratchFolder scratch;
    const fs::path file = scratch.Path() / L"file";
    WriteFile(file, "x");
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    const auto readOnly = AdoptHandle<KernelHandle>(::CreateFileW(
        file.c_str(), GENERIC_READ, FILE_SHARE_READ, &inheritable, OPEN_EXISTING, 0, nullptr));
    const KitRun run = RunRepairKit(L"--help", readOnly.get());
    EXPECT_EQ(run.exitCode, 4U);
    EXPECT_THAT(run.error, HasSubstr("cannot write the output"));
}

TEST(RepairKit, TakesUnicodeNamesAndLongPaths) {
    const ScratchFolder scratch;
    fs::path folder = scratch.Path() / L"\u00E4\u4E2D\U0001F600";
    for (int i = 0; i < 5; ++i) {
        folder /= std::wstring(60, L'd');
    }
    const KitRun made = RunRepairKit(L"new " + Quoted(folder) + L" --name \"Spiel \u00DF\"");
    EXPECT_EQ(made.exitCode, 0U) << made.error;
    EXPECT_THAT(made.out, HasSubstr(WideToUtf8(folder.native())));
    const KitRun checked = RunRepairKit(L"check --no-digest " + Quoted(folder));
    EXPECT_EQ(checked.exitCode, 1U) << checked.error;
    EXPECT_THAT(checked.out, HasSubstr("[url.missing]\n"));
    EXPECT_THAT(checked.out, HasSubstr("\n1 error, 0 warnings, 0 notes.\n"));
    const KitRun refused = RunRepairKit(L"new " + Quoted(folder));
    EXPECT_EQ(refused.exitCode, 1U);
    EXPECT_THAT(refused.error, HasSubstr("is not empty"));
}

TEST(RepairKit, ShowsControlCharactersEscaped) {
    const ScratchFolder scratch;
    const std::string evil = "\x1B[2J\x07\x7F\xC2\x9B\xE2\x80\xAE";
    const fs::path brand =
        MakeBrandFolder(scratch.Path() / L"b",
                        ConfigText({evil + "=1", "websiteUrl=" + evil, "accentHex=" + evil}));
    for (const wchar_t* option : {L"check ", L"check --json "}) {
        const KitRun run = RunRepairKit(option + Quoted(brand));
        EXPECT_EQ(run.exitCode, 1U);
        EXPECT_THAT(run.out, Not(HasSubstr("\x1B")));
        EXPECT_THAT(run.out, Not(HasSubstr("\x7F")));
        EXPECT_THAT(run.out, Not(HasSubstr("\xC2\x9B")));
        EXPECT_THAT(run.out, Not(HasSubstr("\xE2\x80\xAE")));
        EXPECT_THAT(run.out, HasSubstr("[2J"));
    }
    const KitRun usage = RunRepairKit(L"\x1B[2J\u202E");
    EXPECT_EQ(usage.exitCode, 2U);
    EXPECT_THAT(usage.error, HasSubstr("\\x1B[2J\\u202E"));
}

TEST(RepairKit, NewWritesTheDefaultBrandWithAnotherName) {
    const ScratchFolder scratch;
    const fs::path plain = scratch.Path() / L"plain";
    const fs::path named = scratch.Path() / L"named";
    EXPECT_EQ(RunRepairKit(L"new " + Quoted(plain)).exitCode, 0U);
    EXPECT_EQ(RunRepairKit(L"new " + Quoted(named) + L" --name \"My Game\"").exitCode, 0U);
    EXPECT_THAT(FolderListing(named),
                ElementsAre(L"background.jpg", L"config.txt", L"logo.png", L"tool.ico"));
    for (const wchar_t* name : {L"background.jpg", L"config.txt", L"logo.png", L"tool.ico"}) {
        EXPECT_TRUE(bench::ReadFile(plain / name) ==
                    bench::ReadFile(fs::path(DEFAULT_BRAND) / name));
    }
    const std::string text = bench::ReadFile(named / L"config.txt");
    for (const char* line :
         {"\ndownloaderName=My Game\n", "\nshortcutName=My Game\n",
          "\nprogramsDisplayName=My Game\n", "\nrepairToolName=My Game Repair.exe\n",
          "\nrepairProductName=My Game Repair\n",
          "\nuninstallerProductName=My Game Uninstaller\n"}) {
        EXPECT_THAT(text, HasSubstr(line));
    }
    EXPECT_THAT(text, HasSubstr("\nrepairCopyright=\u00A9 2026 Brennick. My Game and "));
    EXPECT_THAT(text, HasSubstr("\nuninstallerCopyright=\u00A9 2026 Brennick. My Game and "));
    EXPECT_EQ(LineCount(text), LineCount(bench::ReadFile(plain / L"config.txt")));
    EXPECT_EQ(RunRepairKit(L"new " + Quoted(plain / L"config.txt")).exitCode, 1U);
}

TEST(RepairKit, NamesOfAnyKindGiveABrandWithoutFurtherFindings) {
    const ScratchFolder scratch;
    int number = 0;
    for (const wchar_t* name : {L"Back\\\\slash: 2", L"Dots...", L"...", L"CON", L"a=b"}) {
        const fs::path folder = scratch.Path() / std::to_wstring(number++);
        ASSERT_EQ(RunRepairKit(L"new " + Quoted(folder) + L" --name \"" + name + L"\"").exitCode,
                  0U);
        EXPECT_THAT(RunRepairKit(L"check " + Quoted(folder)).out,
                    HasSubstr("\n2 errors, 0 warnings, 0 notes.\n"))
            << name;
    }
}

TEST(RepairKit, PreviewPaintsTheChosenStatesAndAContactSheet) {
    const ScratchFolder scratch;
    const fs::path pictures = scratch.Path() / L"new" / L"pictures";
    WriteFile(pictures / L"failed.png", "an older picture");
    const KitRun run = RunRepairKit(
        L"preview \"" DEFAULT_BRAND L"\" --state failed --state ready -o " + Quoted(pictures));
    EXPECT_EQ(run.exitCode, 0U) << run.error;
    EXPECT_THAT(FolderListing(pictures),
                ElementsAre(L"contact-sheet.png", L"failed.png", L"ready.png"));
    for (const wchar_t* name : {L"failed.png", L"ready.png"}) {
        const auto size = ReadPictureSize(bench::ReadFile(pictures / name));
        ASSERT_TRUE(size);
        EXPECT_EQ(size->width, 860U);
        EXPECT_EQ(size->height, 560U);
    }
    const KitRun all =
        RunRepairKit(L"preview --quiet \"" DEFAULT_BRAND L"\" -o " + Quoted(pictures));
    EXPECT_EQ(all.exitCode, 0U) << all.error;
    EXPECT_THAT(all.out, IsEmpty());
    EXPECT_THAT(
        FolderListing(pictures),
        ElementsAre(L"contact-sheet.png", L"done.png", L"download.png", L"failed.png", L"files.png",
                    L"ready.png", L"servers.png", L"unpack.png", L"verify.png"));
    const KitRun noBrand =
        RunRepairKit(L"preview " + Quoted(pictures) + L" -o " + Quoted(scratch.Path() / L"other"));
    EXPECT_EQ(noBrand.exitCode, 4U);
    EXPECT_THAT(noBrand.error, HasSubstr("config.txt"));
    EXPECT_FALSE(fs::exists(scratch.Path() / L"other"));
}

}  // namespace
