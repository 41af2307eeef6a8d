// The rules of unpacking that are functions of texts and bytes.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "extract/archive_extraction.h"
#include "extract/extraction_samples.h"
#include "extract/extractor_discovery.h"

namespace {

using bench::kArchive;
using bench::kSevenZipArguments;
using bench::kStaging;
using bench::kUnRarArguments;
using bench::kWinRarArguments;
using bench::RarFailed;

TEST(SignatureOf, GoesByTheFirstBytes) {
    using enum PackageSignature;
    const std::pair<std::string_view, PackageSignature> rows[] = {
        {{"PK\x03\x04", 4}, Zip},
        {{"PK\x05\x06", 4}, Zip},
        {{"PK\x07\x08", 4}, Zip},
        {{"PK\x03\x06", 4}, Zip},
        {{"PK\x03\x08", 4}, Zip},
        {{"PK\x05\x04", 4}, Zip},
        {{"PK\x07\x04", 4}, Zip},
        {{"PK\x03\x04\x14\x00\x00\x00", 8}, Zip},
        {{"PK\x01\x02", 4}, Unknown},
        {{"PK\x03\x05", 4}, Unknown},
        {{"PK\x04\x04", 4}, Unknown},
        {{"pk\x03\x04", 4}, Unknown},
        {{"MK\x03\x04", 4}, Unknown},
        {{"PK\x03", 3}, Unknown},
        {{}, Unknown},
        {{"Rar!\x1a\x07\x00", 7}, Rar},
        {{"Rar!\x1a\x07\x01", 7}, Rar},
        {{"Rar!\x1a\x07\x01\x00", 8}, Rar},
        {{"Rar!\x1a\x07\x02", 7}, Unknown},
        {{"Rar!\x1a\x07", 6}, Unknown},
        {{"Rar!\x1a\x08\x00", 7}, Unknown},
        {{"Rar!\x1b\x07\x00", 7}, Unknown},
        {{"rar!\x1a\x07\x00", 7}, Unknown},
        {{"RE~^\x1a\x07\x00", 7}, Unknown},
        {{"<!DOCTYP", 8}, Unknown},
        {{"MZ\x90\x00\x03\x00\x00\x00", 8}, Unknown},
    };
    for (const auto& [bytes, signature] : rows) {
        EXPECT_EQ(SignatureOf(std::as_bytes(std::span(bytes))), signature)
            << testing::PrintToString(bytes);
    }
}

TEST(QuoteForPowerShell, DoublesEverySingleQuote) {
    const std::pair<const wchar_t*, const wchar_t*> rows[] = {
        {L"", L""},
        {L"C:\\Games\\Client", L"C:\\Games\\Client"},
        {L"C:\\Games\\O'Brien", L"C:\\Games\\O''Brien"},
        {L"'", L"''"},
        {L"''", L"''''"},
        {L"'a'", L"''a''"},
        {L"\u2019 \" ` $x", L"\u2019 \" ` $x"},
    };
    for (const auto& [text, quoted] : rows) {
        EXPECT_EQ(QuoteForPowerShell(text), quoted) << text;
    }
}

TEST(CommandLine, QuotesProgramAndPaths) {
    EXPECT_EQ(TarCommandLine(L"C:\\Temp\\a b.zip", L"C:\\Temp\\Job 1"),
              L"tar.exe -xf \"C:\\Temp\\a b.zip\" -C \"C:\\Temp\\Job 1\"");
    EXPECT_EQ(PowerShellCommandLine(L"C:\\O'Brien\\a.zip", L"C:\\Games\\O'Brien"),
              L"powershell.exe -NoProfile -ExecutionPolicy Bypass -Command \"Expand-Archive "
              L"-LiteralPath 'C:\\O''Brien\\a.zip' -DestinationPath 'C:\\Games\\O''Brien' "
              L"-Force\"");
    EXPECT_EQ(
        ExtractorCommandLine({L"C:\\Program Files\\7-Zip\\7z.exe", L"x -y -o\"C:\\S\" \"a\""}),
        L"\"C:\\Program Files\\7-Zip\\7z.exe\" x -y -o\"C:\\S\" \"a\"");
    EXPECT_EQ(ExtractorCommandLine({L"WinRAR\\UnRAR.exe", L"x"}), L"\"WinRAR\\UnRAR.exe\" x");
}

TEST(RarFailureMessage, NamesProgramAndUnsignedExitCode) {
    EXPECT_EQ(RarFailureMessage(L"7z.exe", 2), RarFailed(L"7z.exe exit code 2"));
    EXPECT_EQ(RarFailureMessage(L"unrar.exe", 0), RarFailed(L"unrar.exe exit code 0"));
    EXPECT_EQ(RarFailureMessage(L"WinRAR.exe", 0xFFFFFFFF),
              RarFailed(L"WinRAR.exe exit code 4294967295"));
}

TEST(RarToolArguments, FollowTheProgramName) {
    struct Row {
        const wchar_t* toolPath;
        const wchar_t* expected;
    };
    const Row rows[] = {
        {L"C:\\Tools\\unrar.exe", kUnRarArguments},
        {L"C:\\Tools\\UnRAR.exe", kUnRarArguments},
        {L"C:\\Tools\\WinRAR.exe", kWinRarArguments},
        {L"C:\\Tools\\WINRAR.EXE", kWinRarArguments},
        {L"C:/Tools/winrar.exe", kWinRarArguments},
        {L"winrar.exe", kWinRarArguments},
        {L"C:\\WinRAR.exe\\unrar.exe", kUnRarArguments},
        {L"C:\\Tools\\xwinrar.exe", kUnRarArguments},
        {L"C:\\Tools\\winrar.exe.exe", kUnRarArguments},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(RarToolArguments(row.toolPath, kArchive, kStaging), row.expected) << row.toolPath;
    }
}

TEST(RarToolArguments, AppendABackslashEvenToATrailingOne) {
    EXPECT_EQ(RarToolArguments(L"unrar.exe", L"C:\\a b.rar", L"C:\\Stage\\"),
              L"x -o+ \"C:\\a b.rar\" \"C:\\Stage\\\\\"");
    EXPECT_EQ(RarToolArguments(L"winrar.exe", L"C:\\a b.rar", L"C:\\Stage\\"),
              L"x -ibck -o+ \"C:\\a b.rar\" \"C:\\Stage\\\\\"");
}

TEST(SevenZipArguments, UseTheFolderUnchanged) {
    EXPECT_EQ(SevenZipArguments(kArchive, kStaging), kSevenZipArguments);
    EXPECT_EQ(SevenZipArguments(L"C:\\a b.rar", L"C:\\Stage\\"),
              L"x -y -o\"C:\\Stage\\\" \"C:\\a b.rar\"");
}

TEST(JoinUnderBase, JoinsUnlessOneSideIsEmpty) {
    struct Row {
        const wchar_t* base;
        const wchar_t* relative;
        const wchar_t* expected;
    };
    const Row rows[] = {
        {L"C:\\Programs", L"WinRAR\\UnRAR.exe", L"C:\\Programs\\WinRAR\\UnRAR.exe"},
        {L"C:\\Programs\\", L"7-Zip\\7z.exe", L"C:\\Programs\\7-Zip\\7z.exe"},
        {L"C:\\", L"7z.exe", L"C:\\7z.exe"},
        {L"", L"WinRAR\\UnRAR.exe", L"WinRAR\\UnRAR.exe"},
        {L"C:\\Programs", L"", L"C:\\Programs"},
        {L"", L"", L""},
        {L"C:\\Programs", L"D:\\7z.exe", L"D:\\7z.exe"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(JoinUnderBase(row.base, row.relative), row.expected)
            << row.base << " and " << row.relative;
    }
}

TEST(AddUniqueCandidate, AddsWhatIsNeitherEmptyNorListed) {
    std::vector<std::wstring> candidates;
    AddUniqueCandidate(candidates, L"C:\\tool\\unrar.exe");
    AddUniqueCandidate(candidates, L"");
    AddUniqueCandidate(candidates, L"C:\\Tool\\UnRAR.EXE");
    AddUniqueCandidate(candidates, L"C:\\tool\\unrar.exe.bak");
    AddUniqueCandidate(candidates, L"C:\\tool\\unrar.ex");
    AddUniqueCandidate(candidates, L"C:/tool/unrar.exe");

    EXPECT_THAT(candidates, testing::ElementsAre(L"C:\\tool\\unrar.exe", L"C:\\tool\\unrar.exe.bak",
                                                 L"C:\\tool\\unrar.ex", L"C:/tool/unrar.exe"));
}

}  // namespace
