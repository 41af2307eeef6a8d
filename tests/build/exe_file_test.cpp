// The built programs as files: how they are hardened and what they carry. What they import is in
// exe_imports_test.cpp.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>

#include "bench_parts/scratch_folder.h"
#include "built_exe.h"
#include "config/config_keys.h"
#include "config/config_text.h"
#include "resource_ids.h"

namespace {

using testing::HasSubstr;
using testing::Not;

class ToolFile : public testing::Test {
protected:
    [[nodiscard]] ToolConfig Config() const {
        return ParseConfigText(exe_.Data(ID_CONFIG_TEXT));
    }

    BuiltExe exe_{TOOL_PATH};
};

TEST_F(ToolFile, IsAHardenedWindowedProgramFor64Bit) {
    const IMAGE_NT_HEADERS64& headers = exe_.Headers();
    EXPECT_EQ(headers.FileHeader.Machine, IMAGE_FILE_MACHINE_AMD64);
    EXPECT_EQ(headers.OptionalHeader.Subsystem, IMAGE_SUBSYSTEM_WINDOWS_GUI);
    const WORD flags = headers.OptionalHeader.DllCharacteristics;
    EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE);
    EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA);
    EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_NX_COMPAT);
    // Without relocations the loader could not move it, whatever the flags say.
    EXPECT_FALSE(headers.FileHeader.Characteristics & IMAGE_FILE_RELOCS_STRIPPED);
    EXPECT_NE(exe_.DirectoryAddress(IMAGE_DIRECTORY_ENTRY_BASERELOC), 0u);
#ifdef __MINGW32__
    // The Microsoft linker puts a hash of the file there instead.
    EXPECT_EQ(headers.FileHeader.TimeDateStamp, 0u);
#endif
}

// Compilers differ in how they write a path: with either separator, some in lower case.
std::string ComparablePath(std::string path) {
    std::ranges::transform(path, path.begin(), [](unsigned char character) {
        return static_cast<char>(character == '\\' ? '/' : std::tolower(character));
    });
    return path;
}

TEST_F(ToolFile, IsReproducibleAndNamesNoFolderOfTheBuildMachine) {
    const std::string bytes = bench::ReadFile(TOOL_PATH);
#ifndef _DEBUG
    // The Microsoft linker's debug files carry an identifier that depends on the folders of their
    // inputs, and so does the program that they belong to.
    EXPECT_TRUE(bench::ReadFile(TOOL_AGAIN_PATH) == bytes);
#endif
    EXPECT_EQ(ComparablePath(bytes).find(ComparablePath(SOURCE_FOLDER)), std::string::npos);
}

#if defined(__MINGW32__) && defined(NDEBUG)
// A single use of a stream or of std::filesystem adds a megabyte. When the programs change in size
// for a reason, update these numbers and benchmarks/results.md.
TEST(ExeSize, IsWithinFivePercentOfWhatWasReached) {
    const struct {
        const wchar_t* path;
        double bytes;
    } programs[] = {{TOOL_PATH, 1'027'584}, {UNINSTALLER_PATH, 447'488}};
    for (const auto& [path, bytes] : programs) {
        EXPECT_NEAR(static_cast<double>(std::filesystem::file_size(path)), bytes, 0.05 * bytes)
            << path;
    }
}
#endif

TEST_F(ToolFile, ManifestAsksForWhatTheToolNeedsAndNoMore) {
    const std::string manifest(exe_.Manifest());
    EXPECT_THAT(manifest,
                HasSubstr("name=\"Microsoft.Windows.Common-Controls\" version=\"6.0.0.0\""));
    EXPECT_THAT(manifest, HasSubstr("<requestedExecutionLevel level=\"asInvoker\""));
    // Windows 10 and 11 share one identifier.
    EXPECT_THAT(manifest, HasSubstr("{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}"));
    EXPECT_THAT(manifest, HasSubstr(">true</longPathAware>"));
    // Set by the call at the start; a second place could only contradict it.
    EXPECT_THAT(manifest, Not(HasSubstr("dpiAware")));

    ACTCTXW request{};
    request.cbSize = sizeof request;
    const std::wstring path = std::filesystem::path(TOOL_PATH).make_preferred();
    request.lpSource = path.c_str();
    request.lpResourceName = MAKEINTRESOURCEW(1);
    request.dwFlags = ACTCTX_FLAG_RESOURCE_NAME_VALID;
    const HANDLE context = ::CreateActCtxW(&request);
    ASSERT_NE(context, INVALID_HANDLE_VALUE) << "not well-formed";
    ::ReleaseActCtx(context);
}

TEST_F(ToolFile, EmbedsTheBrandsFilesByteForByte) {
    const std::pair<int, const wchar_t*> files[] = {{ID_CONFIG_TEXT, L"config.txt"},
                                                    {ID_LOGO_IMAGE, L"logo.png"},
                                                    {ID_BACKGROUND_IMAGE, L"background.jpg"}};
    for (const auto& [id, name] : files) {
        EXPECT_FALSE(exe_.Data(id).empty());
        EXPECT_EQ(exe_.Data(id), bench::ReadFile(std::filesystem::path(BRAND_FOLDER) / name)) << id;
    }
    EXPECT_TRUE(exe_.Data(ID_BACKGROUND_IMAGE).starts_with("\xFF\xD8\xFF"));
    const std::string_view logo = exe_.Data(ID_LOGO_IMAGE);
    ASSERT_TRUE(logo.starts_with("\x89PNG\r\n\x1A\n"));
    EXPECT_EQ(logo.substr(16, 4), logo.substr(20, 4)) << "not square";
}

TEST_F(ToolFile, IconGroupHasTheUsualSizes) {
    // A group: reserved, type, count, then 14 bytes for each picture, its width first (0 is 256).
    const std::string_view group = exe_.Resource(RT_GROUP_ICON, ID_TOOL_ICON);
    ASSERT_GE(group.size(), 6u);
    std::set<int> widths;
    for (size_t entry = 6; entry + 14 <= group.size(); entry += 14) {
        const int width = static_cast<unsigned char>(group[entry]);
        widths.insert(width == 0 ? 256 : width);
    }
    EXPECT_THAT(widths, testing::IsSupersetOf({16, 24, 32, 48, 64, 128, 256}));
}

TEST_F(ToolFile, EmbeddedConfigurationHasEveryKeyWithACommentForOperators) {
    const std::string_view text = exe_.Data(ID_CONFIG_TEXT);
    EXPECT_TRUE(text.starts_with("format=Quellstone.v1\n"));
    for (const ConfigKey& key : ConfigKeys()) {
        const size_t line = text.find(std::string("\n").append(key.name).append("="));
        ASSERT_NE(line, std::string_view::npos) << key.name;
        const size_t lineBefore = text.rfind('\n', line - 1);
        ASSERT_NE(lineBefore, std::string_view::npos);
        EXPECT_EQ(text[lineBefore + 1], '#') << key.name;
    }
}

struct VersionRow {
    const wchar_t* name;
    std::wstring text;
};

void ExpectVersionTexts(const BuiltExe& exe, const std::wstring& language,
                        std::initializer_list<VersionRow> rows) {
    for (const VersionRow& row : rows) {
        EXPECT_EQ(exe.VersionText(language + L"\\" + row.name), row.text)
            << std::filesystem::path(row.name);
    }
}

TEST_F(ToolFile, VersionResourceHasTheBrandsRepairTexts) {
    const ToolConfig config = Config();
    ExpectVersionTexts(exe_, L"040904B0",
                       {{L"FileDescription", config.repairFileDescription},
                        {L"ProductName", config.repairProductName},
                        {L"ProductVersion", config.repairProductVersion},
                        {L"FileVersion", config.repairProductVersion},
                        {L"LegalCopyright", config.repairCopyright},
                        {L"CompanyName", config.programsPublisher},
                        {L"OriginalFilename", config.repairToolName},
                        {L"EngineVersion", ENGINE_VERSION}});
    EXPECT_EQ(exe_.VersionNumbers().dwFileVersionMS, 0x00020000u);
    EXPECT_EQ(exe_.VersionNumbers().dwFileVersionLS, 0u);
}

// The texts of odd_brand.txt could all upset the build.
TEST(OddBrand, VersionResourceHasItsTextsAsTheToolReadsThem) {
    EXPECT_EQ(std::filesystem::path(ODD_TOOL_PATH).filename(), L"Odd [brand].exe");
    const BuiltExe exe(ODD_TOOL_PATH);
    ExpectVersionTexts(exe, L"040704B0",
                       {{L"FileDescription", L"A \"quoted\"; list [x] = y"},
                        {L"ProductName", L"C:\\Odd \u00A9 \u00C4"},
                        {L"ProductVersion", L"1.08.20.3000-rc4"},
                        {L"CompanyName", L"Brennick"},
                        {L"LegalCopyright", std::wstring(kDefaultCopyright)},
                        {L"EngineVersion", ENGINE_VERSION}});
    EXPECT_EQ(exe.VersionNumbers().dwFileVersionMS, 0x00010008u);
    EXPECT_EQ(exe.VersionNumbers().dwFileVersionLS, (20u << 16) | 3000u);
}

TEST_F(ToolFile, CarriesTheUninstallerOfItsGame) {
    const std::string bytes = bench::ReadFile(UNINSTALLER_PATH);
    ASSERT_FALSE(bytes.empty());
    EXPECT_TRUE(exe_.Data(ID_UNINSTALLER) == bytes);

    const BuiltExe uninstaller(UNINSTALLER_PATH);
    EXPECT_EQ(uninstaller.Headers().FileHeader.Machine, IMAGE_FILE_MACHINE_AMD64);
    EXPECT_EQ(uninstaller.Headers().OptionalHeader.Subsystem, IMAGE_SUBSYSTEM_WINDOWS_GUI);
    EXPECT_EQ(uninstaller.Data(ID_CONFIG_TEXT), exe_.Data(ID_CONFIG_TEXT));
    const ToolConfig config = Config();
    ExpectVersionTexts(uninstaller, L"040904B0",
                       {{L"FileDescription", config.uninstallerFileDescription},
                        {L"ProductName", config.uninstallerProductName},
                        {L"ProductVersion", config.uninstallerProductVersion},
                        {L"LegalCopyright", config.uninstallerCopyright},
                        {L"OriginalFilename", L"Uninstall.exe"},
                        {L"EngineVersion", ENGINE_VERSION}});
    const std::string manifest(uninstaller.Manifest());
    EXPECT_THAT(manifest, HasSubstr("level=\"asInvoker\""));
    // It draws nothing itself, so it is sharp on every monitor.
    EXPECT_THAT(manifest, HasSubstr(">PerMonitorV2, system</dpiAwareness>"));
    EXPECT_THAT(manifest, HasSubstr(">true</dpiAware>"));
}

}  // namespace
