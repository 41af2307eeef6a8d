#include "extract/extractor_discovery.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "bench_parts/unpacker_machine.h"
#include "common/tool_instance.h"

namespace {

using bench::EnvironmentVariable;
using bench::UnpackerMachine;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr wchar_t kArchive[] = L"C:\\Temp\\package.rar";
constexpr wchar_t kStaging[] = L"C:\\Stage";

constexpr wchar_t kUnRarArguments[] = L"x -o+ \"C:\\Temp\\package.rar\" \"C:\\Stage\\\"";
constexpr wchar_t kWinRarArguments[] = L"x -ibck -o+ \"C:\\Temp\\package.rar\" \"C:\\Stage\\\"";
constexpr wchar_t kSevenZipArguments[] = L"x -y -o\"C:\\Stage\" \"C:\\Temp\\package.rar\"";

// Discovery looks at names only, so an empty file is program enough.
void PutProgram(const std::filesystem::path& program) {
    bench::WriteFile(program, "");
}

std::vector<std::wstring> FoundTools() {
    std::vector<std::wstring> tools;
    for (const ExtractorCommand& command : FindRarExtractors(kArchive, kStaging)) {
        tools.push_back(command.toolPath);
    }
    return tools;
}

std::wstring In(const std::filesystem::path& folder, const wchar_t* name) {
    return (folder / name).native();
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

TEST(RarToolArguments, AppendABackslashAlsoToAFolderThatEndsInOne) {
    EXPECT_EQ(RarToolArguments(L"unrar.exe", L"C:\\a b.rar", L"C:\\Stage\\"),
              L"x -o+ \"C:\\a b.rar\" \"C:\\Stage\\\\\"");
    EXPECT_EQ(RarToolArguments(L"winrar.exe", L"C:\\a b.rar", L"C:\\Stage\\"),
              L"x -ibck -o+ \"C:\\a b.rar\" \"C:\\Stage\\\\\"");
}

TEST(SevenZipArguments, NameTheFolderAsItIs) {
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

    EXPECT_THAT(candidates, ElementsAre(L"C:\\tool\\unrar.exe", L"C:\\tool\\unrar.exe.bak",
                                        L"C:\\tool\\unrar.ex", L"C:/tool/unrar.exe"));
}

TEST(ReadEnvironmentPath, ReadsAValueOfAnyLetters) {
    const EnvironmentVariable variable(L"BENCH_PATH", L"C:\\Gr\u00fc\u00dfe \u8aad\\x");
    EXPECT_EQ(ReadEnvironmentPath(L"BENCH_PATH"), L"C:\\Gr\u00fc\u00dfe \u8aad\\x");
}

TEST(ReadEnvironmentPath, IsEmptyForAnUnsetOrEmptyVariable) {
    const EnvironmentVariable unset(L"BENCH_UNSET", std::nullopt);
    const EnvironmentVariable empty(L"BENCH_EMPTY", L"");
    EXPECT_EQ(ReadEnvironmentPath(L"BENCH_UNSET"), L"");
    EXPECT_EQ(ReadEnvironmentPath(L"BENCH_EMPTY"), L"");
}

TEST(ReadEnvironmentPath, IsEmptyFrom4096CharactersOn) {
    const std::wstring longest(4095, L'p');
    const EnvironmentVariable fitting(L"BENCH_FITTING", longest);
    const EnvironmentVariable tooLong(L"BENCH_LONG", longest + L"p");
    const EnvironmentVariable muchTooLong(L"BENCH_LONGER", longest + longest);
    EXPECT_EQ(ReadEnvironmentPath(L"BENCH_FITTING"), longest);
    EXPECT_EQ(ReadEnvironmentPath(L"BENCH_LONG"), L"");
    EXPECT_EQ(ReadEnvironmentPath(L"BENCH_LONGER"), L"");
}

TEST(SearchProgramPath, FindsAFileInAFolderOfPath) {
    const UnpackerMachine machine;
    PutProgram(machine.SearchFolder() / L"bench tool.exe");
    EXPECT_EQ(SearchProgramPath(L"bench tool.exe"), In(machine.SearchFolder(), L"bench tool.exe"));
}

TEST(SearchProgramPath, PrefersTheCurrentFolder) {
    const UnpackerMachine machine;
    PutProgram(machine.SearchFolder() / L"bench tool.exe");
    PutProgram(machine.CurrentFolder() / L"bench tool.exe");
    EXPECT_EQ(SearchProgramPath(L"bench tool.exe"), In(machine.CurrentFolder(), L"bench tool.exe"));
}

TEST(SearchProgramPath, IsEmptyWhenThereIsNone) {
    const UnpackerMachine machine;
    PutProgram(machine.SearchFolder() / L"bench_tool.exe");
    EXPECT_EQ(SearchProgramPath(L"bench_tool"), L"");
    EXPECT_EQ(SearchProgramPath(L""), L"");
}

TEST(SearchProgramPath, IsEmptyFor260CharactersAndMore) {
    const UnpackerMachine machine;
    const size_t room = 259 - machine.SearchFolder().native().size() - 1;
    const std::wstring fitting = std::wstring(room - 4, L'p') + L".exe";
    const std::wstring tooLong = L"p" + fitting;
    PutProgram(machine.SearchFolder() / fitting);
    PutProgram(machine.SearchFolder() / tooLong);
    EXPECT_EQ(SearchProgramPath(fitting), In(machine.SearchFolder(), fitting.c_str()));
    EXPECT_EQ(SearchProgramPath(tooLong), L"");
}

TEST(FindRarExtractors, IsEmptyOnAMachineWithoutPrograms) {
    const UnpackerMachine machine;
    EXPECT_THAT(FindRarExtractors(kArchive, kStaging), IsEmpty());
}

TEST(FindRarExtractors, ListsRarProgramsThenSevenZipEachInItsOrder) {
    const UnpackerMachine machine;
    // Made in an order that has nothing to do with the expected one.
    PutProgram(machine.SearchFolder() / L"7za.exe");
    PutProgram(machine.SearchFolder() / L"7z.exe");
    PutProgram(machine.SearchFolder() / L"WinRAR.exe");
    PutProgram(machine.SearchFolder() / L"unrar.exe");
    for (const auto& folder : {machine.ProgramFolder32(), machine.ProgramFolder64()}) {
        PutProgram(folder / L"7-Zip" / L"7z.exe");
        PutProgram(folder / L"WinRAR" / L"WinRAR.exe");
        PutProgram(folder / L"WinRAR" / L"UnRAR.exe");
    }
    PutProgram(machine.ToolFolder() / L"7za.exe");
    PutProgram(machine.ToolFolder() / L"7z.exe");
    PutProgram(machine.ToolFolder() / L"unrar.exe");

    EXPECT_THAT(
        FoundTools(),
        ElementsAre(In(machine.ToolFolder(), L"unrar.exe"),
                    In(machine.ProgramFolder64(), L"WinRAR\\UnRAR.exe"),
                    In(machine.ProgramFolder64(), L"WinRAR\\WinRAR.exe"),
                    In(machine.ProgramFolder32(), L"WinRAR\\UnRAR.exe"),
                    In(machine.ProgramFolder32(), L"WinRAR\\WinRAR.exe"),
                    In(machine.SearchFolder(), L"unrar.exe"),
                    In(machine.SearchFolder(), L"WinRAR.exe"), In(machine.ToolFolder(), L"7z.exe"),
                    In(machine.ToolFolder(), L"7za.exe"),
                    In(machine.ProgramFolder64(), L"7-Zip\\7z.exe"),
                    In(machine.ProgramFolder32(), L"7-Zip\\7z.exe"),
                    In(machine.SearchFolder(), L"7z.exe"), In(machine.SearchFolder(), L"7za.exe")));
}

TEST(FindRarExtractors, GivesEachProgramTheArgumentsOfItsStyle) {
    const UnpackerMachine machine;
    PutProgram(machine.ToolFolder() / L"unrar.exe");
    PutProgram(machine.ToolFolder() / L"7z.exe");
    PutProgram(machine.ProgramFolder64() / L"WinRAR" / L"WinRAR.exe");

    const std::vector<ExtractorCommand> commands = FindRarExtractors(kArchive, kStaging);

    ASSERT_EQ(commands.size(), 3u);
    EXPECT_EQ(commands[0].arguments, kUnRarArguments);
    EXPECT_EQ(commands[1].arguments, kWinRarArguments);
    EXPECT_EQ(commands[2].arguments, kSevenZipArguments);
}

TEST(FindRarExtractors, PutsTheProgramBesideTheToolBeforeAnInstalledWinRar) {
    const UnpackerMachine machine;
    PutProgram(machine.ToolFolder() / L"UnRAR.exe");
    PutProgram(machine.ProgramFolder64() / L"WinRAR" / L"UnRAR.exe");
    PutProgram(machine.ProgramFolder64() / L"WinRAR" / L"WinRAR.exe");
    const EnvironmentVariable path(L"PATH", In(machine.ProgramFolder64(), L"WinRAR"));

    const std::vector<ExtractorCommand> commands = FindRarExtractors(kArchive, kStaging);

    // Both spellings of the first name one file; the search finds nothing new.
    ASSERT_EQ(commands.size(), 3u);
    EXPECT_EQ(commands[0].toolPath, In(machine.ToolFolder(), L"unrar.exe"));
    EXPECT_EQ(commands[0].arguments, kUnRarArguments);
    EXPECT_EQ(commands[1].toolPath, In(machine.ProgramFolder64(), L"WinRAR\\UnRAR.exe"));
    EXPECT_EQ(commands[1].arguments, kUnRarArguments);
    EXPECT_EQ(commands[2].toolPath, In(machine.ProgramFolder64(), L"WinRAR\\WinRAR.exe"));
    EXPECT_EQ(commands[2].arguments, kWinRarArguments);
}

TEST(FindRarExtractors, ListsAProgramFoundTwiceAtItsFirstPlace) {
    const UnpackerMachine machine;
    PutProgram(machine.ProgramFolder64() / L"7-Zip" / L"7z.exe");
    PutProgram(machine.ProgramFolder32() / L"7-Zip" / L"7z.exe");
    const EnvironmentVariable path(L"PATH", In(machine.ProgramFolder64(), L"7-ZIP"));

    EXPECT_THAT(FoundTools(), ElementsAre(In(machine.ProgramFolder64(), L"7-Zip\\7z.exe"),
                                          In(machine.ProgramFolder32(), L"7-Zip\\7z.exe")));
}

TEST(FindRarExtractors, PassesOverFolders) {
    const UnpackerMachine machine;
    std::filesystem::create_directories(machine.ToolFolder() / L"7z.exe");
    std::filesystem::create_directories(machine.SearchFolder() / L"unrar.exe");
    EXPECT_THAT(FoundTools(), IsEmpty());
}

TEST(FindRarExtractors, LooksFromTheCurrentFolderWithoutProgramFolders) {
    const UnpackerMachine machine;
    const EnvironmentVariable programs64(L"ProgramFiles", std::nullopt);
    const EnvironmentVariable programs32(L"ProgramFiles(x86)", std::nullopt);
    PutProgram(machine.CurrentFolder() / L"WinRAR" / L"UnRAR.exe");
    PutProgram(machine.CurrentFolder() / L"WinRAR" / L"WinRAR.exe");
    PutProgram(machine.CurrentFolder() / L"7-Zip" / L"7z.exe");

    // Once each: both variables leave the same relative path.
    EXPECT_THAT(FoundTools(),
                ElementsAre(L"WinRAR\\UnRAR.exe", L"WinRAR\\WinRAR.exe", L"7-Zip\\7z.exe"));
}

TEST(FindRarExtractors, TakesBareNamesWhenTheToolsFolderIsUnknown) {
    const UnpackerMachine machine;
    toolExePath = L"repair.exe";
    PutProgram(machine.CurrentFolder() / L"unrar.exe");
    PutProgram(machine.CurrentFolder() / L"7za.exe");

    // The platform's search names the same files in full.
    EXPECT_THAT(FoundTools(), ElementsAre(L"unrar.exe", In(machine.CurrentFolder(), L"unrar.exe"),
                                          L"7za.exe", In(machine.CurrentFolder(), L"7za.exe")));
}

}  // namespace
