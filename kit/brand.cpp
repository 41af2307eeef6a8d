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
    if (brand.configText) {
        brand.config = ParseConfigText(*brand.configText);
    }
    FillEmptyNames(brand.config);
    if (needed.pictures) {
        brand.background = ReadInputFile(JoinPaths(folder, kBackgroundFileName), kMostPictureBytes);
    }
    if (needed.pictures && (needed.hiddenLogo || brand.config.showLogo)) {
        brand.logo = ReadInputFile(JoinPaths(folder, kLogoFileName), kMostPictureBytes);
    }
    if (needed.icon) {
        brand.icon = ReadInputFile(JoinPaths(folder, kIconFileName), kMostPictureBytes);
    }
    return brand;
}
