// What the built exe is, seen as a file: how it is hardened, what it carries. What it imports is in
// exe_imports_test.cpp.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "common/handles.h"
#include "common/resources.h"
#include "config/config_keys.h"
#include "config/config_text.h"
#include "resource_ids.h"

namespace {

using testing::HasSubstr;
using testing::Not;

std::vector<char> ReadAll(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::stringstream content;
    content << file.rdbuf();
    const std::string text = content.str();
    return {text.begin(), text.end()};
}

struct FreeLibraryHandle {
    void operator()(HMODULE module) const noexcept {
        ::FreeLibrary(module);
    }
};
using Library = std::unique_ptr<std::remove_pointer_t<HMODULE>, FreeLibraryHandle>;

// The exe mapped as data: its resources can be read, nothing of it runs.
class ToolFile : public testing::Test {
protected:
    void SetUp() override {
        bytes_ = ReadAll(TOOL_PATH);
        ASSERT_GT(bytes_.size(), sizeof(IMAGE_DOS_HEADER));
        module_.reset(::LoadLibraryExW(std::filesystem::path(TOOL_PATH).make_preferred().c_str(),
                                       nullptr,
                                       LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE));
        ASSERT_TRUE(module_);
    }

    const IMAGE_NT_HEADERS64& Headers() const {
        const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(bytes_.data());
        return *reinterpret_cast<const IMAGE_NT_HEADERS64*>(bytes_.data() + dos->e_lfanew);
    }

    std::string_view Resource(const wchar_t* type, int id) const {
        const HRSRC entry = ::FindResourceW(module_.get(), MAKEINTRESOURCEW(id), type);
        if (entry == nullptr) {
            return {};
        }
        return {static_cast<const char*>(::LockResource(::LoadResource(module_.get(), entry))),
                ::SizeofResource(module_.get(), entry)};
    }

    std::string_view Data(int id) const {
        const auto bytes = EmbeddedData(module_.get(), id);
        return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
    }

    std::vector<char> bytes_;
    Library module_;
};

TEST_F(ToolFile, IsA64BitWindowedProgram) {
    EXPECT_EQ(Headers().FileHeader.Machine, IMAGE_FILE_MACHINE_AMD64);
    EXPECT_EQ(Headers().OptionalHeader.Subsystem, IMAGE_SUBSYSTEM_WINDOWS_GUI);
}

TEST_F(ToolFile, IsHardened) {
    const WORD flags = Headers().OptionalHeader.DllCharacteristics;
    EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE);
    EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA);
    EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_NX_COMPAT);
    // Without relocations the loader could not move it, whatever the flags say.
    EXPECT_FALSE(Headers().FileHeader.Characteristics & IMAGE_FILE_RELOCS_STRIPPED);
    EXPECT_NE(
        Headers().OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_BASERELOC].VirtualAddress, 0u);
}

#ifdef __MINGW32__
// The Microsoft linker puts a hash of the file there instead.
TEST_F(ToolFile, CarriesNoTimeStamp) {
    EXPECT_EQ(Headers().FileHeader.TimeDateStamp, 0u);
}
#endif

#ifndef _DEBUG
// The Microsoft linker's debug files carry an identifier that depends on the folders of their
// inputs, and so does the program that they belong to.
TEST_F(ToolFile, LinkedTwiceFromTheSameInputsHasTheSameBytes) {
    const std::vector<char> again = ReadAll(TOOL_AGAIN_PATH);
    EXPECT_FALSE(again.empty());
    EXPECT_TRUE(again == bytes_);
}
#endif

// Compilers differ in how they write a path: with either separator, some in lower case.
std::string ComparablePath(std::string path) {
    for (char& character : path) {
        character = character == '\\'
                        ? '/'
                        : static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    }
    return path;
}

TEST_F(ToolFile, NamesNoFolderOfTheBuildMachine) {
    const std::string content = ComparablePath({bytes_.begin(), bytes_.end()});
    EXPECT_EQ(content.find(ComparablePath(SOURCE_FOLDER)), std::string::npos);
}

TEST_F(ToolFile, ManifestAsksForWhatTheToolNeedsAndNoMore) {
    const std::string manifest(Resource(RT_MANIFEST, 1));
    EXPECT_THAT(manifest,
                HasSubstr("name=\"Microsoft.Windows.Common-Controls\" version=\"6.0.0.0\""));
    EXPECT_THAT(manifest, HasSubstr("<requestedExecutionLevel level=\"asInvoker\""));
    // Windows 10 and 11 share one identifier.
    EXPECT_THAT(manifest, HasSubstr("{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}"));
    EXPECT_THAT(manifest, HasSubstr(">true</longPathAware>"));
    // Set by the call at the start; a second place could only contradict it.
    EXPECT_THAT(manifest, Not(HasSubstr("dpiAware")));
}

TEST_F(ToolFile, ManifestIsWellFormed) {
    const std::string manifest(Resource(RT_MANIFEST, 1));
    ACTCTXW request{};
    request.cbSize = sizeof request;
    const std::wstring path = std::filesystem::path(TOOL_PATH).make_preferred();
    request.lpSource = path.c_str();
    request.lpResourceName = MAKEINTRESOURCEW(1);
    request.dwFlags = ACTCTX_FLAG_RESOURCE_NAME_VALID;
    const HANDLE context = ::CreateActCtxW(&request);
    ASSERT_NE(context, INVALID_HANDLE_VALUE);
    ::ReleaseActCtx(context);
}

TEST_F(ToolFile, EmbedsTheBrandsFilesByteForByte) {
    const std::pair<int, const wchar_t*> files[] = {{ID_CONFIG_TEXT, L"config.txt"},
                                                    {ID_LOGO_IMAGE, L"logo.png"},
                                                    {ID_BACKGROUND_IMAGE, L"background.jpg"}};
    for (const auto& [id, name] : files) {
        const std::vector<char> file = ReadAll(std::filesystem::path(BRAND_FOLDER) / name);
        ASSERT_FALSE(file.empty());
        EXPECT_EQ(Data(id), std::string_view(file.data(), file.size())) << id;
    }
}

TEST_F(ToolFile, PicturesAreWhatTheirNamesSay) {
    EXPECT_TRUE(Data(ID_BACKGROUND_IMAGE).starts_with("\xFF\xD8\xFF"));
    EXPECT_TRUE(Data(ID_LOGO_IMAGE).starts_with("\x89PNG\r\n\x1A\n"));
}

TEST_F(ToolFile, LogoIsSquare) {
    const std::string_view logo = Data(ID_LOGO_IMAGE);
    ASSERT_GT(logo.size(), 24u);
    EXPECT_EQ(logo.substr(16, 4), logo.substr(20, 4));
}

TEST_F(ToolFile, IconGroupHasTheUsualSizes) {
    // A group: reserved, type, count, then 14 bytes for each picture, its width first (0 is 256).
    const std::string_view group = Resource(RT_GROUP_ICON, ID_TOOL_ICON);
    ASSERT_GE(group.size(), 6u);
    std::set<int> widths;
    for (size_t entry = 6; entry + 14 <= group.size(); entry += 14) {
        const int width = static_cast<unsigned char>(group[entry]);
        widths.insert(width == 0 ? 256 : width);
    }
    for (const int width : {16, 24, 32, 48, 64, 128, 256}) {
        EXPECT_TRUE(widths.contains(width)) << width;
    }
}

TEST_F(ToolFile, EmbeddedConfigurationNamesEveryKeyWithACommentForOperators) {
    const std::string_view text = Data(ID_CONFIG_TEXT);
    EXPECT_TRUE(text.starts_with("format=Quellstone.v1\n"));
    for (const ConfigKey& key : ConfigKeys()) {
        const size_t line = text.find(std::string("\n").append(key.name).append("="));
        ASSERT_NE(line, std::string_view::npos) << key.name;
        const size_t lineBefore = text.rfind('\n', line - 1);
        ASSERT_NE(lineBefore, std::string_view::npos);
        EXPECT_EQ(text[lineBefore + 1], '#') << key.name;
    }
}

std::wstring VersionText(const std::vector<char>& block, const std::wstring& name) {
    const wchar_t* text = nullptr;
    UINT length = 0;
    const std::wstring path = std::wstring(L"\\StringFileInfo\\").append(name);
    if (!::VerQueryValueW(block.data(), path.c_str(),
                          reinterpret_cast<void**>(const_cast<wchar_t**>(&text)), &length)) {
        return L"(missing)";
    }
    return text;
}

std::vector<char> VersionResource(const wchar_t* path) {
    DWORD ignored = 0;
    std::vector<char> block(::GetFileVersionInfoSizeW(path, &ignored));
    EXPECT_TRUE(::GetFileVersionInfoW(path, 0, static_cast<DWORD>(block.size()), block.data()));
    return block;
}

VS_FIXEDFILEINFO VersionNumbers(const std::vector<char>& block) {
    VS_FIXEDFILEINFO* numbers = nullptr;
    UINT length = 0;
    EXPECT_TRUE(::VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&numbers), &length));
    return numbers == nullptr ? VS_FIXEDFILEINFO{} : *numbers;
}

TEST_F(ToolFile, VersionResourceTellsTheBrandsRepairTexts) {
    const std::vector<char> block = VersionResource(TOOL_PATH);
    const ToolConfig config = ParseConfigText(Data(ID_CONFIG_TEXT));
    EXPECT_EQ(VersionText(block, L"040904B0\\FileDescription"), config.repairFileDescription);
    EXPECT_EQ(VersionText(block, L"040904B0\\ProductName"), config.repairProductName);
    EXPECT_EQ(VersionText(block, L"040904B0\\ProductVersion"), config.repairProductVersion);
    EXPECT_EQ(VersionText(block, L"040904B0\\FileVersion"), config.repairProductVersion);
    EXPECT_EQ(VersionText(block, L"040904B0\\LegalCopyright"), config.repairCopyright);
    EXPECT_EQ(VersionText(block, L"040904B0\\CompanyName"), config.programsPublisher);
    EXPECT_EQ(VersionText(block, L"040904B0\\OriginalFilename"), config.repairToolName);
    EXPECT_EQ(VersionNumbers(block).dwFileVersionMS, 0x00020000u);
    EXPECT_EQ(VersionNumbers(block).dwFileVersionLS, 0u);
}

// odd_brand.txt has everything in its texts that could trip the build.
TEST(OddBrand, VersionResourceTellsItsTextsLikeTheToolReadsThem) {
    const std::filesystem::path path = ODD_TOOL_PATH;
    EXPECT_EQ(path.filename(), L"Odd [brand].exe");
    const std::vector<char> block = VersionResource(ODD_TOOL_PATH);
    EXPECT_EQ(VersionText(block, L"040704B0\\FileDescription"), L"A \"quoted\"; list [x] = y");
    EXPECT_EQ(VersionText(block, L"040704B0\\ProductName"), L"C:\\Odd \u00A9 \u00C4");
    EXPECT_EQ(VersionText(block, L"040704B0\\ProductVersion"), L"1.08.20.3000-rc4");
    EXPECT_EQ(VersionText(block, L"040704B0\\CompanyName"), L"Brennick");
    EXPECT_EQ(VersionText(block, L"040704B0\\LegalCopyright"), kDefaultCopyright);
    EXPECT_EQ(VersionNumbers(block).dwFileVersionMS, 0x00010008u);
    EXPECT_EQ(VersionNumbers(block).dwFileVersionLS, (20u << 16) | 3000u);
}

}  // namespace
