#include "kit/brand.h"

#include "common/paths.h"
#include "config/config_loader.h"
#include "config/config_text.h"
#include "kit/input_file.h"

namespace {

constexpr uint64_t kMostPictureBytes = 0x10000000;

std::wstring FileIn(const std::wstring& folder, std::wstring_view name) {
    return folder + (folder.ends_with(L'\\') || folder.ends_with(L'/') ? L"" : L"\\") +
           std::wstring(name);
}

}  // namespace

Brand ReadBrand(const std::wstring& folder) {
    RequireFolder(folder);
    Brand brand;
    brand.folder = AsFolder(folder);
    brand.configText = ReadInputFile(FileIn(brand.folder, kConfigFileName), kMostConfigBytes);
    brand.background = ReadInputFile(FileIn(brand.folder, kBackgroundFileName), kMostPictureBytes);
    brand.logo = ReadInputFile(FileIn(brand.folder, kLogoFileName), kMostPictureBytes);
    brand.icon = ReadInputFile(FileIn(brand.folder, kIconFileName), kMostPictureBytes);
    if (brand.configText) {
        brand.config = ParseConfigText(*brand.configText);
    }
    FillEmptyNames(brand.config);
    return brand;
}
