#include "kit/brand.h"

#include "common/paths.h"
#include "config/config_loader.h"
#include "config/config_text.h"
#include "kit/input_file.h"

namespace {

constexpr uint64_t kMostPictureBytes = 0x10000000;

}  // namespace

Brand ReadBrand(const std::wstring& folder) {
    RequireFolder(folder);
    Brand brand;
    brand.folder = AsFolder(folder);
    brand.configText = ReadInputFile(FileInFolder(brand.folder, kConfigFileName), kMostConfigBytes);
    brand.background =
        ReadInputFile(FileInFolder(brand.folder, kBackgroundFileName), kMostPictureBytes);
    brand.logo = ReadInputFile(FileInFolder(brand.folder, kLogoFileName), kMostPictureBytes);
    brand.icon = ReadInputFile(FileInFolder(brand.folder, kIconFileName), kMostPictureBytes);
    if (brand.configText) {
        brand.config = ParseConfigText(*brand.configText);
    }
    FillEmptyNames(brand.config);
    return brand;
}

std::wstring FileInFolder(std::wstring_view folder, std::wstring_view name) {
    std::wstring path(AsFolder(folder));
    if (!path.ends_with(L'\\') && !path.ends_with(L'/')) {
        path += L'\\';
    }
    return path.append(name);
}
