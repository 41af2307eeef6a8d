// The words of a command line, without starting the program.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "bench_parts/scratch_folder.h"
#include "common/text.h"
#include "kit/command_line.h"
#include "kit/errors.h"

namespace {

namespace fs = std::filesystem;

using bench::ScratchFolder;
using testing::ElementsAre;
using testing::HasSubstr;

// What throws WrongUsage with this message.
template <auto Read>
std::string UsageError(const CommandSyntax& syntax, const std::vector<std::wstring>& words) {
    try {
        static_cast<void>(Read(SortWords(syntax, words)));
    } catch (const WrongUsage& error) {
        return error.what();
    }
    return "accepted";
}

TEST(CommandLine, RefusesOutputInsideWhatIsOnlyRead) {
    const ScratchFolder scratch;
    const std::wstring brand = (scratch.Path() / L"Brand").native();
    fs::create_directories(brand);
    const bool linked = bench::MakeFolderLink(scratch.Path() / L"link", brand);
    const auto build = [&](const std::wstring& output) {
        return UsageError<ReadBuildArguments>(kBuildSyntax, {brand, L"-o", output});
    };
    EXPECT_THAT(build(brand), HasSubstr("inside BRAND"));
    EXPECT_THAT(build(brand + L"\\new\\folder"), HasSubstr("inside BRAND"));
    EXPECT_THAT(build(LowerCase(brand)), HasSubstr("inside BRAND"));
    EXPECT_THAT(build(brand + L"\\..\\Brand\\."), HasSubstr("inside BRAND"));
    if (linked) {
        EXPECT_THAT(build((scratch.Path() / L"link" / L"out").native()), HasSubstr("inside BRAND"));
    }
    EXPECT_EQ(build(brand + L"2"), "accepted");
    EXPECT_EQ(build(brand + L"\\..\\out"), "accepted");
    const auto pack = [&](const std::wstring& output) {
        return UsageError<ReadPackArguments>(
            kPackSyntax, {scratch.Path().native(), L"-o", output, L"--brand", brand});
    };
    EXPECT_THAT(pack((scratch.Path() / L"a.zip").native()), HasSubstr("inside CLIENT"));
    EXPECT_EQ(pack(scratch.Path().native() + L".zip"), "accepted");
    EXPECT_THAT(UsageError<ReadPreviewArguments>(kPreviewSyntax, {brand, L"-o", brand}),
                HasSubstr("inside BRAND"));
}

TEST(CommandLine, RefusesValuesThatMeanNothing) {
    const auto pack = [](const std::vector<std::wstring>& options) {
        std::vector<std::wstring> words{L"Z:\\no client", L"-o", L"Z:\\a.zip"};
        words.insert(words.end(), options.begin(), options.end());
        return UsageError<ReadPackArguments>(kPackSyntax, words);
    };
    EXPECT_EQ(pack({L"--level", L"9", L"--threads=256", L"--exclude", L"a", L"--exclude=b"}),
              "accepted");
    for (const wchar_t* level : {L"0", L"10", L"x", L"1x", L"99999999999"}) {
        EXPECT_THAT(pack({L"--level", level}), HasSubstr("from 1 to 9"));
    }
    EXPECT_THAT(pack({L"--threads", L"0"}), HasSubstr("from 1 to 256"));
    for (const wchar_t* name : {L"client.rar", L"client-1.0.7Z", L"client.tar.gz"}) {
        EXPECT_THAT(UsageError<ReadPackArguments>(kPackSyntax, {L"Z:\\c", L"-o", name}),
                    HasSubstr("ends in .zip"))
            << name;
    }
    for (const wchar_t* name : {L"client", L"client.zip", L"rar", L"client.pak"}) {
        EXPECT_EQ(UsageError<ReadPackArguments>(kPackSyntax, {L"Z:\\c", L"-o", name}), "accepted");
    }
    EXPECT_THAT(pack({L"--threads", L"257"}), HasSubstr("from 1 to 256"));
    EXPECT_THAT(UsageError<ReadBuildArguments>(kBuildSyntax,
                                               {L"Z:\\b", L"-o", L"Z:\\o", L"--sign", L"sign it"}),
                HasSubstr("{file}"));
    EXPECT_THAT(UsageError<ReadBuildArguments>(kBuildSyntax, {L"Z:\\b"}), HasSubstr("-o FOLDER"));
    EXPECT_THAT(UsageError<ReadPreviewArguments>(
                    kPreviewSyntax, {L"Z:\\b", L"-o", L"Z:\\o", L"--state", L"sleeping"}),
                HasSubstr("ready, download"));
}

TEST(CommandLine, TakesOptionsAnywhereAndNamesThatBeginWithADash) {
    const CheckArguments check = ReadCheckArguments(
        SortWords(kCheckSyntax,
                  std::vector<std::wstring>{L"--strict", L"--package=-p.zip", L"--", L"-brand"}));
    EXPECT_EQ(check.brand, L"-brand");
    EXPECT_EQ(check.package, L"-p.zip");
    EXPECT_TRUE(check.strict);
    EXPECT_FALSE(check.output.json);
    EXPECT_EQ(SortWords(kCheckSyntax, std::vector<std::wstring>{L"--package=--x", L"--", L"--help"})
                  .Value(L"--package"),
              L"--x");
    for (const wchar_t* name : {L"-h", L"/?"}) {
        const CommandWords words =
            SortWords(kNewSyntax, std::vector<std::wstring>{L"x", L"--name", name});
        EXPECT_FALSE(words.asksForHelp);
        EXPECT_EQ(words.Value(L"--name"), name);
    }
    const PreviewArguments preview = ReadPreviewArguments(SortWords(
        kPreviewSyntax, std::vector<std::wstring>{L"Z:\\b", L"-o", L"Z:\\o", L"--state", L"servers",
                                                  L"--state", L"ready", L"--state", L"ready"}));
    EXPECT_THAT(preview.states, ElementsAre("ready", "servers"));
}

}  // namespace
