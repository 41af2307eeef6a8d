#include "extract/extractor_discovery.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "bench_parts/unpacker_machine.h"
#include "common/tool_instance.h"
#include "extract/extraction_samples.h"

namespace {

using bench::EnvironmentVariable;
using bench::UnpackerMachine;
using testing::ElementsAre;
using testing::IsEmpty;

// Discovery looks at names only, so an empty file is enough.
void PutProgram(const std::filesystem::path& program) {
    bench::WriteFile(program, "");
}

std::vector<std::wstring> FoundTools() {
    std::vector<std::wstring> tools;
    for (const ExtractorCommand& command : FindRarExtractors(bench::kArchive, bench::kStaging)) {
        tools.push_back(command.toolPath);
    }
    return tools;
}

std::wstring In(const std::filesystem::path& folder, const wchar_t* name) {
    return (folder / name).native();
}

TEST(ReadEnvironmentPath, ReadsUpTo4095Characters) {
    const std::wstring longest(4095, L'p');
    struct Row {
        std::optional<std::wstring> value;
        std::wstring path;
    };
    const Row rows[] = {
        {L"C:\\Gr\u00fc\u00dfe \u8aad\\x", L"C:\\Gr\u00fc\u00dfe \u8aad\\x"},
        {std::nullopt, L""},
        {L"", L""},
        {longest, longest},
        {longest + L"p", L""},
        {longest + longest, L""},
    };
    for (const Row& row : rows) {
        const EnvironmentVariable variable(L"BENCH_PATH", row.value);
        EXPECT_EQ(ReadEnvironmentPath(L"BENCH_PATH"), row.path);
    }
}

TEST(SearchProgramPath, LooksInTheCurrentFolderThenInPath) {
    const UnpackerMachine machine;
    EXPECT_EQ(SearchProgramPath(L"bench tool.exe"), L"");
    PutProgram(machine.SearchFolder() / L"bench tool.exe");
    EXPECT_EQ(SearchProgramPath(L"bench tool.exe"), In(machine.SearchFolder(), L"bench tool.exe"));
    PutProgram(machine.CurrentFolder() / L"bench tool.exe");
    EXPECT_EQ(SearchProgramPath(L"bench tool.exe"), In(machine.CurrentFolder(), L"bench tool.exe"));
    EXPECT_EQ(SearchProgramPath(L"bench tool"), L"");
    EXPECT_EQ(SearchProgramPath(L""), L"");
}

TEST(SearchProgramPath, FindsUpTo259Characters) {
    const UnpackerMachine machine;
    const size_t room = 259 - machine.SearchFolder().native().size() - 1;
    const std::wstring fitting = std::wstring(room - 4, L'p') + L".exe";
    const std::wstring tooLong = L"p" + fitting;
    PutProgram(machine.SearchFolder() / fitting);
    PutProgram(machine.SearchFolder() / tooLong);
    EXPECT_EQ(SearchProgramPath(fitting), In(machine.SearchFolder(), fitting.c_str()));
    EXPECT_EQ(SearchProgramPath(tooLong), L"");
}

TEST(FindRarExtractors, FindsNothingWithoutProgramsAndIgnoresFolders) {
    const UnpackerMachine machine;
    EXPECT_THAT(FoundTools(), IsEmpty());
    std::filesystem::create_directories(machine.ToolFolder() / L"7z.exe");
    std::filesystem::create_directories(machine.SearchFolder() / L"unrar.exe");
    EXPECT_THAT(FoundTools(), IsEmpty());
}

TEST(FindRarExtractors, ListsRarProgramsThenSevenZipEachInItsOrder) {
    const UnpackerMachine machine;
    // In another order than the expected one.
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

    struct Row {
        std::filesystem::path folder;
        const wchar_t* name;
        const wchar_t* arguments;
    };
    const Row rows[] = {
        {machine.ToolFolder(), L"unrar.exe", bench::kUnRarArguments},
        {machine.ProgramFolder64(), L"WinRAR\\UnRAR.exe", bench::kUnRarArguments},
        {machine.ProgramFolder64(), L"WinRAR\\WinRAR.exe", bench::kWinRarArguments},
        {machine.ProgramFolder32(), L"WinRAR\\UnRAR.exe", bench::kUnRarArguments},
        {machine.ProgramFolder32(), L"WinRAR\\WinRAR.exe", bench::kWinRarArguments},
        {machine.SearchFolder(), L"unrar.exe", bench::kUnRarArguments},
        {machine.SearchFolder(), L"WinRAR.exe", bench::kWinRarArguments},
        {machine.ToolFolder(), L"7z.exe", bench::kSevenZipArguments},
        {machine.ToolFolder(), L"7za.exe", bench::kSevenZipArguments},
        {machine.ProgramFolder64(), L"7-Zip\\7z.exe", bench::kSevenZipArguments},
        {machine.ProgramFolder32(), L"7-Zip\\7z.exe", bench::kSevenZipArguments},
        {machine.SearchFolder(), L"7z.exe", bench::kSevenZipArguments},
        {machine.SearchFolder(), L"7za.exe", bench::kSevenZipArguments},
    };
    const std::vector<ExtractorCommand> commands =
        FindRarExtractors(bench::kArchive, bench::kStaging);
    ASSERT_EQ(commands.size(), std::size(rows));
    for (size_t i = 0; i < commands.size(); ++i) {
        EXPECT_EQ(commands[i].toolPath, In(rows[i].folder, rows[i].name));
        EXPECT_EQ(commands[i].arguments, rows[i].arguments);
    }
}

TEST(FindRarExtractors, ListsAProgramBesideTheToolOnceUnderItsFirstSpelling) {
    const UnpackerMachine machine;
    PutProgram(machine.ToolFolder() / L"UnRAR.exe");
    EXPECT_THAT(FoundTools(), ElementsAre(In(machine.ToolFolder(), L"unrar.exe")));
}

TEST(FindRarExtractors, ListsAProgramFoundTwiceAtItsFirstPlace) {
    const UnpackerMachine machine;
    PutProgram(machine.ProgramFolder64() / L"7-Zip" / L"7z.exe");
    PutProgram(machine.ProgramFolder32() / L"7-Zip" / L"7z.exe");
    const EnvironmentVariable path(L"PATH", In(machine.ProgramFolder64(), L"7-ZIP"));

    EXPECT_THAT(FoundTools(), ElementsAre(In(machine.ProgramFolder64(), L"7-Zip\\7z.exe"),
                                          In(machine.ProgramFolder32(), L"7-Zip\\7z.exe")));
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
