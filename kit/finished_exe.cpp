#include "kit/finished_exe.h"

#include <algorithm>

#include "config/config_loader.h"
#include "config/config_text.h"
#include "kit/pe/resource_tree.h"
#include "kit/version_texts.h"
#include "resource_ids.h"

namespace {

constexpr uint16_t kVersionId = 1;  // VS_VERSION_INFO.

std::optional<ByteView> DataOf(const std::vector<Resource>& resources, uint16_t id) {
    const Resource* resource = FindEmbedded(resources, kDataType, id);
    return resource == nullptr ? std::nullopt : std::optional(resource->bytes);
}

std::vector<VersionText> VersionTextsOf(const std::vector<Resource>& resources) {
    const Resource* version = FindEmbedded(resources, kVersionType, kVersionId);
    return version == nullptr ? std::vector<VersionText>() : ReadVersionTexts(version->bytes);
}

std::string_view TextOf(ByteView bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

std::optional<FinishedExe> ReadFinishedExe(ByteView file, std::string& reason) {
    const auto pe = ReadPeFile(file, reason);
    const auto resources = pe ? ReadResources(file, *pe, reason) : std::nullopt;
    if (!resources) {
        return std::nullopt;
    }
    FinishedExe exe;
    exe.versionTexts = VersionTextsOf(*resources);
    const auto engine = std::ranges::find(exe.versionTexts, kEngineVersionName, &VersionText::name);
    const auto configText = DataOf(*resources, ID_CONFIG_TEXT);
    if (engine == exe.versionTexts.end() || !configText) {
        reason = "it is neither a branded tool nor its uninstaller";
        return std::nullopt;
    }
    exe.engineVersion = engine->text;
    exe.isSigned = pe->HasCertificates();
    exe.configText = *configText;
    exe.config = ParseConfigText(TextOf(exe.configText));
    FillEmptyNames(exe.config);
    exe.background = DataOf(*resources, ID_BACKGROUND_IMAGE);
    exe.logo = DataOf(*resources, ID_LOGO_IMAGE);
    exe.icon = ReadIconGroup(*resources, ID_TOOL_ICON, file.size());
    if (!exe.icon && FindEmbedded(*resources, kIconGroupType, ID_TOOL_ICON) != nullptr) {
        reason = "its icon is damaged";
        return std::nullopt;
    }
    exe.uninstaller = DataOf(*resources, ID_UNINSTALLER);
    return exe;
}
