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

using bench::kKernel32;

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
    const bench::EnvironmentVariable tmp(L"TMP", L"C:\\T\u00E9mp;$(x)'%y%&z \u4FEE\u7406");
    // After more than seven weeks the milliseconds no longer fit 32 bits.
    const auto hook = bench::HookCall<decltype(&::GetTickCount64)>(
        kKernel32, "GetTickCount64", []() -> ULONGLONG { return 0x1'0000'0005; });
    toolConfig.archiveType = L"rar";
    toolConfig.repairToolName = L"Tool.exe";
    const std::wstring processAndTime = std::to_wstring(::GetCurrentProcessId()) + L"_4294967301";
    const std::wstring folder = L"C:\\T\u00E9mp;$(x)'%y%&z \u4FEE\u7406\\";
    EXPECT_EQ(MakeArchiveDownloadPath(), folder + L"Tool.exe_" + processAndTime + L".rar");
    EXPECT_EQ(MakeJobTempFolder(), folder + L"KrvBrennickRepair_" + processAndTime);
    EXPECT_FALSE(std::filesystem::exists(MakeArchiveDownloadPath()));
    EXPECT_FALSE(std::filesystem::exists(MakeJobTempFolder()));
}

TEST_F(PackageSource, UsesATemporaryFolderOfUpTo259CharactersOrTheCurrentFolder) {
    const std::wstring longest = L"C:\\" + std::wstring(255, L'x') + L"\\";
    std::optional<DWORD> result;  // A failure, or as the system returns when the name is too long.
    const auto hook = bench::HookCall<decltype(&::GetTempPathW)>(
        kKernel32, "GetTempPathW", [&](DWORD size, LPWSTR buffer) -> DWORD {
            EXPECT_EQ(size, 260u);
            if (result) {
                return *result;
            }
            longest.copy(buffer, longest.size());
            buffer[longest.size()] = L'\0';
            return static_cast<DWORD>(longest.size());
        });
    EXPECT_TRUE(MakeJobTempFolder().starts_with(longest + L"KrvBrennickRepair_"));
    for (const DWORD failure : {0u, 260u, 261u, 32767u}) {
        result = failure;
        EXPECT_TRUE(MakeJobTempFolder().starts_with(L"KrvBrennickRepair_")) << failure;
        EXPECT_TRUE(MakeArchiveDownloadPath().starts_with(L"KrvBrennickInstaller.exe_")) << failure;
    }
}

}  // namespace
