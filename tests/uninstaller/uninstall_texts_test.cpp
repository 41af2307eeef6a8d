#include "uninstaller/uninstall_texts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using testing::Not;

ToolConfig Game() {
    ToolConfig config;
    config.programsDisplayName = L" Bench: Game ";
    return config;
}

TEST(UninstallTexts, NameTheGame) {
    EXPECT_EQ(CaptionText(Game()), L"Uninstall Bench: Game");
}

TEST(UninstallTexts, AskWithGameFolderAndAmount) {
    EXPECT_EQ(QuestionText(Game(), L"D:\\Games\\Bench", {1234, 5'000'000'000}),
              L"Do you want to remove Bench: Game?\n\n"
              L"This folder will be deleted with everything in it, also what you put there "
              L"yourself:\nD:\\Games\\Bench\n\n1234 files, 4.7 GB. This cannot be undone.");
    EXPECT_THAT(QuestionText(Game(), L"D:\\Games\\Bench", {1, 0}), HasSubstr(L"\n\n1 file, 0 B."));
}

TEST(UninstallTexts, SayWhyNothingWasRemoved) {
    const struct {
        Refusal refusal;
        std::wstring reason;
    } cases[] = {
        {Refusal::NotRegistered, L"Bench: Game is not in your list of installed programs."},
        {Refusal::UnresolvedFolder,
         L"Windows cannot tell which drive and folder this path leads to:\nE:\\Elsewhere"},
        {Refusal::RegisteredElsewhere,
         L"Bench: Game is installed in another folder:\nE:\\Elsewhere"},
        {Refusal::UnsafeFolder,
         L"Safety check failed. The uninstaller can only remove the game client folder that "
         L"contains it."},
        {Refusal::SharedFolder,
         L"Safety check failed. This folder also holds other things than Bench: Game."},
        {Refusal::OtherProgram,
         L"Mod Loader is also installed in this folder:\nE:\\Elsewhere\n"
         L"Uninstall it first, then try again."},
        {Refusal::StartupProgramMissing,
         L"The startup program of Bench: Game is not in this folder."},
        {Refusal::InUse, L"Bench: Game or its repair tool is running. Close it and try again."},
        {Refusal::Changed,
         L"This folder was moved or changed while the question was open:\nE:\\Elsewhere\n"
         L"Start the uninstaller again."},
    };
    for (const auto& [refusal, reason] : cases) {
        EXPECT_EQ(RefusalText(Game(), {refusal, {}, L"E:\\Elsewhere", L"Mod Loader"}),
                  reason + L"\n\nNothing was removed.");
    }
}

TEST(UninstallTexts, ReportACompleteRemoval) {
    EXPECT_EQ(ReportText(Game(), RemovalResult{}), L"Bench: Game was removed.");
}

TEST(UninstallTexts, ReportWhatStaysAndWhatToDo) {
    EXPECT_EQ(ReportText(Game(), {{L"D:\\Games\\a", L"D:\\Games\\b"}, true, true, false}),
              L"Bench: Game could not be removed completely. This is still there:\n\n"
              L"D:\\Games\\a\nD:\\Games\\b\n\n"
              L"Close the programs that use it and start the uninstaller again.");
    EXPECT_EQ(ReportText(Game(), {{L"D:\\Games\\a"}, true, true, true}),
              L"Bench: Game could not be removed completely. This is still there:\n\n"
              L"D:\\Games\\a\n\n"
              L"Your Windows account is not allowed to delete it. Ask an administrator to give "
              L"your account full control of the game's folder, then start the uninstaller "
              L"again.");
    EXPECT_EQ(ReportText(Game(), {{L"D:\\Games\\a"}, true, false, false}),
              L"Bench: Game was removed. This could not be deleted:\n\nD:\\Games\\a\n\n"
              L"Its entry in your list of installed programs could not be deleted.");
}

TEST(UninstallTexts, ShowTenPathsAtMost) {
    RemovalResult result;
    for (int i = 0; i < 10; ++i) {
        result.remaining.emplace_back(L"D:\\file" + std::to_wstring(i));
    }
    EXPECT_THAT(ReportText(Game(), result), Not(HasSubstr(L" more")));
    result.remaining.insert(result.remaining.end(), {L"D:\\hidden", L"D:\\hidden too"});
    const std::wstring text = ReportText(Game(), result);
    EXPECT_THAT(text, HasSubstr(L"D:\\file9\nand 2 more"));
    EXPECT_THAT(text, Not(HasSubstr(L"hidden")));
}

}  // namespace
