#include "package/package_source.h"

#include <gtest/gtest.h>

#include <optional>
#include <regex>
#include <vector>

#include "bench_parts/call_hook.h"
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

// Sets or, given none, removes an environment variable of this program.
class ScopedVariable {
public:
    ScopedVariable(const wchar_t* name, std::optional<std::wstring> value) : name_(name) {
        former_ = Value(name);
        ::SetEnvironmentVariableW(name, value ? value->c_str() : nullptr);
    }
    ~ScopedVariable() {
        ::SetEnvironmentVariableW(name_, former_.c_str());
    }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

    static std::wstring Value(const wchar_t* name) {
        std::wstring value(::GetEnvironmentVariableW(name, nullptr, 0), L'\0');
        value.resize(
            ::GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
        return value;
    }

private:
    const wchar_t* name_;
    std::wstring former_;
};

ToolConfig ConfigWithServers(bool multiRepairTool, std::vector<std::wstring> mirrors) {
    ToolConfig config;
    config.multiRepairTool = multiRepairTool;
    config.archiveUrl = L"main";
    config.archiveMirrorUrls = std::move(mirrors);
    return config;
}

TEST_F(PackageSource, BeginsWithThePrimaryServerAndNoSelectedUrl) {
    EXPECT_TRUE(primaryServerChosen);
    EXPECT_EQ(selectedPackageUrl, L"");
}

TEST_F(PackageSource, ChoosesTheFirstMirrorOnlyForTheSecondOfSeveralServers) {
    struct Row {
        bool multiRepairTool;
        std::vector<std::wstring> mirrors;
        bool primaryServer;
        bool severalServers;
        std::wstring url;
    };
    const Row rows[] = {
        {true, {L"m1", L"m2"}, true, true, L"main"},
        {true, {L"m1", L"m2"}, false, true, L"m1"},
        {true, {L"m1"}, false, true, L"m1"},
        {true, {L""}, false, true, L""},
        {true, {}, true, false, L"main"},
        {true, {}, false, false, L"main"},
        {false, {L"m1"}, true, false, L"main"},
        {false, {L"m1"}, false, false, L"main"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message()
                     << row.multiRepairTool << row.mirrors.size() << row.primaryServer);
        const ToolConfig config = ConfigWithServers(row.multiRepairTool, row.mirrors);
        EXPECT_EQ(HasSeveralServers(config), row.severalServers);
        EXPECT_EQ(ChoosePackageUrl(config, row.primaryServer), row.url);
    }
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

TEST_F(PackageSource, JobTakesTheSelectedUrlOrTheConfiguredOneIfItBeginsWithAnHttpScheme) {
    struct Row {
        std::wstring_view selected;
        std::wstring archiveUrl;
        std::optional<std::wstring> url;
    };
    const Row rows[] = {
        {L"http://", L"", L"http://"},
        {L"https://", L"", L"https://"},
        {L" https://host/a b.zip\n", L"http://main", L"https://host/a b.zip"},
        {L" \t\r\n", L"http://main ", L"http://main "},
        {L"", L" http://main", std::nullopt},
        {L"", L"", std::nullopt},
        {L"ftp://host", L"http://main", std::nullopt},
        {L"http:/", L"", std::nullopt},
        {L"http:/host", L"", std::nullopt},
        {L"https:/", L"", std::nullopt},
        {L"HTTP://host", L"", std::nullopt},
        {L"Https://host", L"", std::nullopt},
        {L"xhttp://host", L"", std::nullopt},
        {L"httpx://host", L"", std::nullopt},
        {L"file:///c:/http://", L"", std::nullopt},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(JobPackageUrl(row.selected, row.archiveUrl), row.url)
            << std::wstring(row.selected) << L"|" << row.archiveUrl;
    }
}

TEST_F(PackageSource, ReadsTheArchiveKindFromTheType) {
    struct Row {
        std::wstring type;
        ArchiveKind kind;
    };
    const Row rows[] = {
        {L"rar", ArchiveKind::Rar},        {L"RAR", ArchiveKind::Rar},
        {L" \tRar\r\n", ArchiveKind::Rar}, {L"zip", ArchiveKind::Zip},
        {L"ZIP", ArchiveKind::Zip},        {L"7z", ArchiveKind::Zip},
        {L"tar", ArchiveKind::Zip},        {L"", ArchiveKind::Zip},
        {L" ", ArchiveKind::Zip},          {L".rar", ArchiveKind::Zip},
        {L"rar5", ArchiveKind::Zip},       {L"r ar", ArchiveKind::Zip},
        {L"\u00A0rar", ArchiveKind::Zip},  {L"automatic", ArchiveKind::Zip},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.type));
        // A URL that says otherwise does not matter then.
        EXPECT_EQ(ArchiveKindFor(row.type, L"", L"", L"http://a/x.rar"), row.kind);
        EXPECT_EQ(ArchiveKindFor(row.type, L"", L"", L"http://a/x.zip"), row.kind);
    }
}

TEST_F(PackageSource, FindsRarAnywhereInTheUrlForTypeAuto) {
    struct Row {
        std::wstring url;
        ArchiveKind kind;
    };
    const Row rows[] = {
        {L"http://a/pkg.rar", ArchiveKind::Rar},
        {L"http://a/PKG.RAR", ArchiveKind::Rar},
        {L"http://a/pkg.zip?mirror=x.rar", ArchiveKind::Rar},
        {L"http://a/get?file=pkg.rar&x=1", ArchiveKind::Rar},
        {L"http://a/files.rar/pkg.zip", ArchiveKind::Rar},
        {L"http://a/pkg.part.rarx", ArchiveKind::Rar},
        {L".rar", ArchiveKind::Rar},
        {L"http://a/pkg.zip", ArchiveKind::Zip},
        {L"http://a/pkg.7z", ArchiveKind::Zip},
        {L"http://a/pkg", ArchiveKind::Zip},
        {L"http://a/pkgrar", ArchiveKind::Zip},
        {L"http://a/pkg.ra", ArchiveKind::Zip},
        {L"", ArchiveKind::Zip},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.url));
        EXPECT_EQ(ArchiveKindFor(L" Auto ", L"", L"", row.url), row.kind);
    }
}

TEST_F(PackageSource, LooksAtHintThenSelectedUrlThenArchiveUrlForTypeAuto) {
    struct Row {
        std::wstring hint;
        std::wstring selected;
        std::wstring archiveUrl;
        ArchiveKind kind;
    };
    const Row rows[] = {
        {L"x.rar", L"x.zip", L"x.zip", ArchiveKind::Rar},
        {L"x.zip", L"x.rar", L"x.rar", ArchiveKind::Zip},
        {L" ", L"x.rar", L"x.rar", ArchiveKind::Zip},
        {L"", L"x.rar", L"x.zip", ArchiveKind::Rar},
        {L"", L"x.zip", L"x.rar", ArchiveKind::Zip},
        {L"", L" \t\r\n", L"x.rar", ArchiveKind::Rar},
        {L"", L"", L"x.rar", ArchiveKind::Rar},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.hint + L"|" + row.selected));
        EXPECT_EQ(ArchiveKindFor(L"auto", row.hint, row.selected, row.archiveUrl), row.kind);
    }
}

TEST_F(PackageSource, DetectsTheArchiveKindOfTheActiveConfiguration) {
    toolConfig.archiveType = L" Auto ";
    toolConfig.archiveUrl = L"http://a/PKG.RAR";
    EXPECT_EQ(DetectArchiveKind(L""), ArchiveKind::Rar);
    selectedPackageUrl = L"http://a/pkg.zip";
    EXPECT_EQ(DetectArchiveKind(L""), ArchiveKind::Zip);
    EXPECT_EQ(DetectArchiveKind(L"other.rar"), ArchiveKind::Rar);
}

TEST_F(PackageSource, NamesTheArchiveAfterTheTool) {
    struct Row {
        std::wstring toolName;
        std::wstring base;
    };
    const Row rows[] = {
        {L"KrvBrennickInstaller.exe", L"KrvBrennickInstaller.exe"},
        {L"a:b|c.exe", L"a_b_c.exe"},
        {L"\\/:*?\"<>|", L"_________"},
        {L" \tRepair Tool.exe\r\n", L"Repair Tool.exe"},
        {L"", L"KrvBrennickInstaller"},
        {L" \t\r\n", L"KrvBrennickInstaller"},
        {L"R\u00E9paration \u4FEE.exe", L"R\u00E9paration \u4FEE.exe"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(ArchiveFileName(row.toolName, 4312, 91234567, ArchiveKind::Zip),
                  row.base + L"_4312_91234567.zip");
    }
    EXPECT_EQ(ArchiveFileName(L"t", 0, 0, ArchiveKind::Rar), L"t_0_0.rar");
    EXPECT_EQ(ArchiveFileName(L"t", 4294967295, 18446744073709551615u, ArchiveKind::Zip),
              L"t_4294967295_18446744073709551615.zip");
}

TEST_F(PackageSource, NamesTheJobFolderByProcessAndTime) {
    EXPECT_EQ(JobFolderName(4312, 91234590), L"KrvBrennickRepair_4312_91234590");
}

// Splits "NAME_PID_TICK.EXT" and checks process id and a time of now.
void ExpectNameOfNow(const std::wstring& name, const std::wstring& start, const std::wstring& end,
                     uint64_t earliest) {
    const std::wregex form(start + L"([0-9]+)_([0-9]+)" + end);
    std::wsmatch parts;
    ASSERT_TRUE(std::regex_match(name, parts, form)) << testing::PrintToString(name);
    EXPECT_EQ(std::stoul(parts[1].str()), ::GetCurrentProcessId());
    const uint64_t time = std::stoull(parts[2].str());
    EXPECT_GE(time, earliest);
    EXPECT_LE(time, ::GetTickCount64());
}

TEST_F(PackageSource, PutsProcessIdAndTimeIntoBothPaths) {
    toolConfig.archiveType = L"rar";
    toolConfig.repairToolName = L"Tool.exe";
    const uint64_t earliest = ::GetTickCount64();
    ExpectNameOfNow(MakeArchiveDownloadPath().filename().native(), L"Tool\\.exe_", L"\\.rar",
                    earliest);
    ExpectNameOfNow(MakeJobTempFolder().filename().native(), L"KrvBrennickRepair_", L"", earliest);
}

TEST_F(PackageSource, TakesTheTimeOfASystemThatHasRunForMoreThanSevenWeeks) {
    constexpr ULONGLONG kMilliseconds = 0x1'0000'0005;
    const auto hook = bench::HookCall<decltype(&::GetTickCount64)>(kKernel32, "GetTickCount64",
                                                                   [] { return kMilliseconds; });
    EXPECT_TRUE(MakeArchiveDownloadPath().native().ends_with(L"_4294967301.zip"));
    EXPECT_TRUE(MakeJobTempFolder().native().ends_with(L"_4294967301"));
}

TEST_F(PackageSource, UsesTheSelectedUrlForTheArchivesExtension) {
    toolConfig.archiveType = L"auto";
    toolConfig.archiveUrl = L"http://a/pkg.zip";
    selectedPackageUrl = L"http://b/pkg.rar";
    EXPECT_EQ(MakeArchiveDownloadPath().extension(), L".rar");
}

TEST_F(PackageSource, CreatesNeitherFileNorFolder) {
    EXPECT_EQ(::GetFileAttributesW(MakeArchiveDownloadPath().c_str()), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(::GetFileAttributesW(MakeJobTempFolder().c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST_F(PackageSource, TakesTheUsersTemporaryFolderWhateverItsName) {
    const std::wstring folders[] = {
        L"C:\\temp with blanks",
        L"C:\\it's a 'temp'",
        L"C:\\T\u00E9mp \u4FEE\u7406",
        L"C:\\temp;$(x)%y%&z",
        L"C:\\",
    };
    for (const std::wstring& folder : folders) {
        SCOPED_TRACE(testing::PrintToString(folder));
        const ScopedVariable tmp(L"TMP", folder);
        EXPECT_EQ(MakeArchiveDownloadPath().parent_path(), std::filesystem::path(folder));
        EXPECT_EQ(MakeJobTempFolder().parent_path(), std::filesystem::path(folder));
    }
}

TEST_F(PackageSource, TakesWhatTheSystemMakesOfAQuotedVariable) {
    const ScopedVariable tmp(L"TMP", L"\"C:\\a b\"");
    wchar_t systemsAnswer[MAX_PATH] = {};
    ASSERT_NE(::GetTempPathW(MAX_PATH, systemsAnswer), 0u);
    EXPECT_TRUE(MakeJobTempFolder().native().starts_with(systemsAnswer));
}

TEST_F(PackageSource, FollowsTheSystemsOrderOfVariables) {
    const ScopedVariable noTmp(L"TMP", std::nullopt);
    {
        const ScopedVariable temp(L"TEMP", L"C:\\second");
        EXPECT_EQ(MakeArchiveDownloadPath().parent_path(), L"C:\\second");
    }
    const ScopedVariable noTemp(L"TEMP", std::nullopt);
    EXPECT_EQ(MakeArchiveDownloadPath().parent_path(),
              std::filesystem::path(ScopedVariable::Value(L"USERPROFILE")));
}

TEST_F(PackageSource, GivesRelativePathsWhenThereIsNoTemporaryFolder) {
    const auto hook = bench::HookCall<decltype(&::GetTempPathW)>(
        kKernel32, "GetTempPathW", [](DWORD, LPWSTR) -> DWORD { return 0; });
    EXPECT_EQ(MakeArchiveDownloadPath().parent_path(), L"");
    EXPECT_TRUE(MakeArchiveDownloadPath().native().starts_with(L"KrvBrennickInstaller.exe_"));
    EXPECT_TRUE(MakeJobTempFolder().native().starts_with(L"KrvBrennickRepair_"));
}

TEST_F(PackageSource, TakesATemporaryFolderOfUpTo259Characters) {
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
    EXPECT_TRUE(MakeJobTempFolder().native().starts_with(longest + L"KrvBrennickRepair_"));
    for (const DWORD tooLong : {260u, 261u, 32767u}) {
        needed = tooLong;
        EXPECT_TRUE(MakeJobTempFolder().native().starts_with(L"KrvBrennickRepair_"));
    }
}

}  // namespace
