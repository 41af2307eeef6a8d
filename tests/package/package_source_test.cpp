#include "package/package_source.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "bench_parts/call_hook.h"
#include "bench_parts/environment_variable.h"
#include "common/paths.h"
#include "common/windows_api.h"

namespace {

constexpr wchar_t kKernel32[] = L"kernel32.dll";

// Each test starts and ends with the defaults of a fresh start.
class PackageSource : public testing::Test {
protected:
    void SetUp() override {
        Reset();
    }
    void TearDown() override {
        Reset();
    }

private:
    static void Reset() {
        toolConfig = ToolConfig{};
        selectedPackageUrl.clear();
        primaryServerChosen = true;
    }
};

const bool kPrimaryServerAtStart = primaryServerChosen;

TEST_F(PackageSource, StartsWithThePrimaryServerAndNoSelectedUrl) {
    EXPECT_TRUE(kPrimaryServerAtStart);
    EXPECT_EQ(selectedPackageUrl, L"");
}

TEST_F(PackageSource, SelectsTheTrimmedCandidateOrTheConfiguredUrlUntrimmed) {
    toolConfig.archiveUrl = L" http://main ";
    const std::pair<std::wstring_view, std::wstring_view> rows[] = {
        {L"http://a/b", L"http://a/b"}, {L" \t\r\nhttp://a/b c \n", L"http://a/b c"},
        {L"", L" http://main "},        {L" \t\r\n", L" http://main "},
        {L"\u00A0", L"\u00A0"},         {L"\v", L"\v"},
    };
    for (const auto& [candidate, url] : rows) {
        SelectPackageUrl(candidate);
        EXPECT_EQ(selectedPackageUrl, url);
    }
}

TEST_F(PackageSource, DetectsTheArchiveKindOfTheActiveConfiguration) {
    toolConfig.archiveType = L" Auto ";
    toolConfig.archiveUrl = L"http://a/PKG.RAR";
    EXPECT_EQ(DetectArchiveKind(L""), ArchiveKind::Rar);
    selectedPackageUrl = L"http://a/pkg.zip";
    EXPECT_EQ(DetectArchiveKind(L""), ArchiveKind::Zip);
    EXPECT_EQ(FileNameExtension(MakeArchiveDownloadPath()), L".zip");
    EXPECT_EQ(DetectArchiveKind(L"other.rar"), ArchiveKind::Rar);
}

TEST_F(PackageSource, PutsProcessIdAndTimeIntoBothPathsAndCreatesNeither) {
    // After more than seven weeks the milliseconds no longer fit 32 bits.
    const auto hook = bench::HookCall<decltype(&::GetTickCount64)>(
        kKernel32, "GetTickCount64", []() -> ULONGLONG { return 0x1'0000'0005; });
    toolConfig.archiveType = L"rar";
    toolConfig.repairToolName = L"Tool.exe";
    const std::wstring processAndTime = std::to_wstring(::GetCurrentProcessId()) + L"_4294967301";
    EXPECT_EQ(FileNamePart(MakeArchiveDownloadPath()), L"Tool.exe_" + processAndTime + L".rar");
    EXPECT_EQ(FileNamePart(MakeJobTempFolder()), L"KrvBrennickRepair_" + processAndTime);
    EXPECT_FALSE(std::filesystem::exists(MakeArchiveDownloadPath()));
    EXPECT_FALSE(std::filesystem::exists(MakeJobTempFolder()));
}

TEST_F(PackageSource, UsesTheTemporaryFolderWhateverItsName) {
    const std::wstring folders[] = {
        L"C:\\temp with blanks",
        L"C:\\it's a 'temp'",
        L"C:\\T\u00E9mp \u4FEE\u7406",
        L"C:\\temp;$(x)%y%&z",
        L"C:\\",
    };
    for (const std::wstring& folder : folders) {
        SCOPED_TRACE(testing::PrintToString(folder));
        const bench::EnvironmentVariable tmp(L"TMP", folder);
        EXPECT_EQ(ParentFolder(MakeArchiveDownloadPath()), std::filesystem::path(folder));
        EXPECT_EQ(ParentFolder(MakeJobTempFolder()), std::filesystem::path(folder));
    }
    const bench::EnvironmentVariable tmp(L"TMP", L"\"C:\\a b\"");
    wchar_t folder[MAX_PATH] = {};
    ASSERT_NE(::GetTempPathW(MAX_PATH, folder), 0u);
    EXPECT_TRUE(MakeJobTempFolder().starts_with(folder)) << "quotes are Windows' matter";
}

TEST_F(PackageSource, FollowsWindowsOrderOfVariables) {
    const bench::EnvironmentVariable noTmp(L"TMP", std::nullopt);
    {
        const bench::EnvironmentVariable temp(L"TEMP", L"C:\\second");
        EXPECT_EQ(ParentFolder(MakeArchiveDownloadPath()), L"C:\\second");
    }
    const bench::EnvironmentVariable noTemp(L"TEMP", std::nullopt);
    EXPECT_EQ(ParentFolder(MakeArchiveDownloadPath()),
              std::filesystem::path(::_wgetenv(L"USERPROFILE")));
}

TEST_F(PackageSource, GivesRelativePathsWithoutATemporaryFolder) {
    const auto hook = bench::HookCall<decltype(&::GetTempPathW)>(
        kKernel32, "GetTempPathW", [](DWORD, LPWSTR) -> DWORD { return 0; });
    EXPECT_EQ(ParentFolder(MakeArchiveDownloadPath()), L"");
    EXPECT_TRUE(MakeArchiveDownloadPath().starts_with(L"KrvBrennickInstaller.exe_"));
    EXPECT_TRUE(MakeJobTempFolder().starts_with(L"KrvBrennickRepair_"));
}

TEST_F(PackageSource, UsesATemporaryFolderOfUpTo259Characters) {
    const std::wstring longest = L"C:\\" + std::wstring(255, L'x') + L"\\";
    DWORD needed = 0;
    const auto hook = bench::HookCall<decltype(&::GetTempPathW)>(
        kKernel32, "GetTempPathW", [&](DWORD size, LPWSTR buffer) -> DWORD {
            EXPECT_EQ(size, 260u);
            if (needed >= size) {
                return needed;  // As the system does when the name does not fit.
            }
            longest.copy(buffer, longest.size());
            buffer[longest.size()] = L'\0';
            return static_cast<DWORD>(longest.size());
        });
    EXPECT_TRUE(MakeJobTempFolder().starts_with(longest + L"KrvBrennickRepair_"));
    for (const DWORD tooLong : {260u, 261u, 32767u}) {
        needed = tooLong;
        EXPECT_TRUE(MakeJobTempFolder().starts_with(L"KrvBrennickRepair_"));
    }
}

}  // namespace
