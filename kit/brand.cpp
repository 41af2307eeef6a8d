#include "kit/brand.h"

#include "common/paths.h"
#include "config/config_loader.h"
#include "config/config_text.h"
#include "kit/input_file.h"

namespace {

constexpr uint64_t kMostPictureBytes = 0x10000000;

}  // namespace

Brand ReadBrand(const std::wstring& folder, const BrandFiles& needed) {
    RequireFolder(folder);
    Brand brand;
    brand.configText = ReadInputFile(JoinPaths(folder, kConfigFileName), kMostConfigBytes);
    if (needed.pictures) {
        brand.background = ReadInputFile(JoinPaths(folder, kBackgroundFileName), kMostPictureBytes);
        brand.logo = ReadInputFile(JoinPaths(folder, kLogoFileName), kMostPictureBytes);
    }
    if (needed.icon) {
        brand.icon = ReadInputFile(JoinPaths(folder, kIconFileName), kMostPictureBytes);
    }
    if (brand.configText) {
        brand.config = ParseConfigText(*brand.configText);
    }
    FillEmptyNames(brand.config);
    return brand;
}
