// The uninstaller that the default brand's tool carries.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "common/resources.h"
#include "config/config_loader.h"
#include "installed_game_test.h"
#include "resource_ids.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

struct FreeLoadedFile {
    void operator()(HMODULE module) const noexcept {
        ::FreeLibrary(module);
    }
};
// A program mapped as data: its resources can be read, nothing of it runs.
using LoadedFile = std::unique_ptr<std::remove_pointer_t<HMODULE>, FreeLoadedFile>;

LoadedFile Load(const fs::path& exe) {
    return LoadedFile(::LoadLibraryExW(exe.c_str(), nullptr,
                                       LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE));
}

fs::path ToolPath() {
    return fs::path(TOOL_PATH).make_preferred();
}

// Writes the tool's uninstaller to a file, as the tool does.
class BrandUninstaller : public testing::Test {
protected:
    void SetUp() override {
        const LoadedFile tool = Load(ToolPath());
        ASSERT_TRUE(tool);
        const auto program = EmbeddedData(tool.get(), ID_UNINSTALLER);
        ASSERT_FALSE(program.empty());
        bench::WriteFile(File(), {reinterpret_cast<const char*>(program.data()), program.size()});
    }

    [[nodiscard]] fs::path File() const {
        return scratch_.Path() / L"Uninstall.exe";
    }

private:
    bench::ScratchFolder scratch_;
};

TEST_F(BrandUninstaller, IsA64BitWindowedProgram) {
    DWORD type = 0;
    EXPECT_TRUE(::GetBinaryTypeW(File().c_str(), &type));
    EXPECT_EQ(type, DWORD{SCS_64BIT_BINARY});
}

TEST_F(BrandUninstaller, KnowsTheSameGameAsTheTool) {
    const LoadedFile tool = Load(ToolPath());
    const LoadedFile uninstaller = Load(File());
    ASSERT_TRUE(tool && uninstaller);
    const auto expected = EmbeddedData(tool.get(), ID_CONFIG_TEXT);
    const auto found = EmbeddedData(uninstaller.get(), ID_CONFIG_TEXT);
    EXPECT_FALSE(found.empty());
    EXPECT_TRUE(std::equal(found.begin(), found.end(), expected.begin(), expected.end()));
}

std::wstring VersionText(const fs::path& exe, const std::wstring& name) {
    DWORD ignored = 0;
    std::vector<char> information(::GetFileVersionInfoSizeW(exe.c_str(), &ignored));
    void* text = nullptr;
    UINT length = 0;
    if (!::GetFileVersionInfoW(exe.c_str(), 0, static_cast<DWORD>(information.size()),
                               information.data()) ||
        !::VerQueryValueW(information.data(), (L"\\StringFileInfo\\040904B0\\" + name).c_str(),
                          &text, &length)) {
        return L"(none)";
    }
    return static_cast<const wchar_t*>(text);
}

TEST_F(BrandUninstaller, CarriesItsOwnVersionTexts) {
    ToolConfig config;
    ASSERT_TRUE(LoadEmbeddedConfig(Load(File()).get(), config));
    EXPECT_EQ(VersionText(File(), L"FileDescription"), config.uninstallerFileDescription);
    EXPECT_EQ(VersionText(File(), L"ProductName"), config.uninstallerProductName);
    EXPECT_EQ(VersionText(File(), L"ProductVersion"), config.uninstallerProductVersion);
    EXPECT_EQ(VersionText(File(), L"LegalCopyright"), config.uninstallerCopyright);
    EXPECT_EQ(VersionText(File(), L"OriginalFilename"), L"Uninstall.exe");
}

std::string Manifest(const LoadedFile& program) {
    const HRSRC entry = ::FindResourceW(program.get(), MAKEINTRESOURCEW(1), RT_MANIFEST);
    if (entry == nullptr) {
        return {};
    }
    return {static_cast<const char*>(::LockResource(::LoadResource(program.get(), entry))),
            ::SizeofResource(program.get(), entry)};
}

TEST_F(BrandUninstaller, AsksForNoElevation) {
    EXPECT_THAT(Manifest(Load(File())), HasSubstr("level=\"asInvoker\""));
}

TEST_F(BrandUninstaller, IsDrawnSharplyOnEveryMonitor) {
    const std::string manifest = Manifest(Load(File()));
    EXPECT_THAT(manifest, HasSubstr(">PerMonitorV2, system</dpiAwareness>"));
    EXPECT_THAT(manifest, HasSubstr(">true</dpiAware>"));
}

}  // namespace
