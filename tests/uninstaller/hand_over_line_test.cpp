// The command line of the uninstaller's copy.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/handles.h"
#include "common/shell_api.h"
#include "uninstaller/hand_over.h"

namespace {

TEST(HandOverCommandLine, IsReadBackAsItWasMeant) {
    const HandOver sent{L"C:\\Games of \u00fc\\Uninstall.exe", reinterpret_cast<HANDLE>(0x1fc)};
    const std::wstring commandLine = HandOverCommandLine(L"C:\\Temp folder\\copy.exe", sent);
    EXPECT_EQ(commandLine,
              L"\"C:\\Temp folder\\copy.exe\" /remove \"C:\\Games of \u00fc\\Uninstall.exe\" 508");
    int count = 0;
    const ArgumentList arguments(::CommandLineToArgvW(commandLine.c_str(), &count));
    const std::optional<HandOver> received =
        ParseHandOver({arguments.get(), static_cast<size_t>(count)});
    ASSERT_TRUE(received);
    EXPECT_EQ(received->uninstaller, sent.uninstaller);
    EXPECT_EQ(received->original, sent.original);
}

TEST(ParseHandOver, AcceptsNothingElse) {
    const std::vector<std::vector<const wchar_t*>> cases{
        {},
        {L"Uninstall.exe"},
        {L"Uninstall.exe", L"/remove"},
        {L"Uninstall.exe", L"/remove", L"C:\\Games\\Uninstall.exe"},
        {L"Uninstall.exe", L"/remove", L"C:\\Games\\Uninstall.exe", L""},
        {L"Uninstall.exe", L"/remove", L"C:\\Games\\Uninstall.exe", L"x"},
        {L"Uninstall.exe", L"/remove", L"C:\\Games\\Uninstall.exe", L"12x"},
        {L"Uninstall.exe", L"/remove", L"C:\\Games\\Uninstall.exe", L"12", L"more"},
        {L"Uninstall.exe", L"/Remove", L"C:\\Games\\Uninstall.exe", L"12"},
        {L"Uninstall.exe", L"/S", L"C:\\Games\\Uninstall.exe", L"12"},
    };
    for (size_t i = 0; i < cases.size(); ++i) {
        EXPECT_FALSE(ParseHandOver(cases[i])) << i;
    }
}

}  // namespace
