// The rules of unpacking that are functions of texts and bytes.

#include <gtest/gtest.h>

#include <span>
#include <string>
#include <string_view>

#include "bench_parts/scratch_folder.h"
#include "extract/archive_extraction.h"

namespace {

std::wstring RarFailed(const std::wstring& nameAndCode) {
    return L"RAR extraction failed with " + nameAndCode +
           L".\nCheck that the CDN file is a complete, non-password-protected .rar archive. If it "
           L"still fails, install 7-Zip or place 7z.exe beside this tool.";
}

TEST(SignatureOf, GoesByTheFirstBytes) {
    struct Row {
        std::string_view bytes;
        PackageSignature expected;
    };
    using enum PackageSignature;
    const Row rows[] = {
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
    for (const Row& row : rows) {
        EXPECT_EQ(SignatureOf(std::as_bytes(std::span(row.bytes))), row.expected)
            << testing::PrintToString(row.bytes);
    }
}

TEST(SniffPackageSignature, ReadsTheFile) {
    struct Row {
        std::string_view bytes;
        PackageSignature expected;
    };
    const Row rows[] = {
        {{"PK\x03\x04 and so on"}, PackageSignature::Zip},
        {{"PK\x05\x06", 4}, PackageSignature::Zip},
        {{"Rar!\x1a\x07\x01\x00 and so on", 18}, PackageSignature::Rar},
        {{"Rar!\x1a\x07\x00", 7}, PackageSignature::Rar},
        {{"PK\x03", 3}, PackageSignature::Unknown},
        {{"Rar!\x1a\x07", 6}, PackageSignature::Unknown},
        {{}, PackageSignature::Unknown},
        {{"\r\nPK\x03\x04", 6}, PackageSignature::Unknown},
    };
    const bench::ScratchFolder folder;
    const std::filesystem::path archive = folder.Path() / L"package.bin";
    for (const Row& row : rows) {
        bench::WriteFile(archive, row.bytes);
        EXPECT_EQ(SniffPackageSignature(archive), row.expected)
            << testing::PrintToString(row.bytes);
    }
}

TEST(SniffPackageSignature, IsUnknownForWhatCannotBeRead) {
    const bench::ScratchFolder folder;
    const std::filesystem::path archive = folder.Path() / L"package.zip";
    EXPECT_EQ(SniffPackageSignature(archive), PackageSignature::Unknown);
    EXPECT_EQ(SniffPackageSignature(folder.Path()), PackageSignature::Unknown);
    bench::WriteFile(archive, "PK\x03\x04 and so on");
    const bench::OpenElsewhere lock(archive, 0);
    EXPECT_EQ(SniffPackageSignature(archive), PackageSignature::Unknown);
}

TEST(QuoteForPowerShell, DoublesEverySingleQuote) {
    struct Row {
        const wchar_t* text;
        const wchar_t* expected;
    };
    const Row rows[] = {
        {L"", L""},
        {L"C:\\Games\\Client", L"C:\\Games\\Client"},
        {L"C:\\Games\\O'Brien", L"C:\\Games\\O''Brien"},
        {L"'", L"''"},
        {L"''", L"''''"},
        {L"'a'", L"''a''"},
        {L"\u2019 \" ` $x", L"\u2019 \" ` $x"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(QuoteForPowerShell(row.text), row.expected) << row.text;
    }
}

TEST(TarCommandLine, QuotesBothPaths) {
    EXPECT_EQ(TarCommandLine(L"C:\\Temp\\a b.zip", L"C:\\Temp\\Job 1"),
              L"tar.exe -xf \"C:\\Temp\\a b.zip\" -C \"C:\\Temp\\Job 1\"");
}

TEST(PowerShellCommandLine, QuotesBothPathsInsideTheQuotedCommand) {
    EXPECT_EQ(PowerShellCommandLine(L"C:\\O'Brien\\a.zip", L"C:\\Games\\O'Brien"),
              L"powershell.exe -NoProfile -ExecutionPolicy Bypass -Command \"Expand-Archive "
              L"-LiteralPath 'C:\\O''Brien\\a.zip' -DestinationPath 'C:\\Games\\O''Brien' "
              L"-Force\"");
}

TEST(ExtractorCommandLine, QuotesTheProgramAndKeepsTheArguments) {
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

}  // namespace
