#include "kit/branded_exe.h"

#include <vector>

#include "common/resources.h"
#include "kit/kit_resource_ids.h"
#include "kit/pe/icon_file.h"
#include "kit/pe/resource_writer.h"
#include "kit/version_texts.h"
#include "resource_ids.h"

namespace {

constexpr uint16_t kVersionId = 1;  // VS_VERSION_INFO.

ByteView BytesOf(const std::string& content) {
    return std::as_bytes(std::span(content));
}

// The resources of one program. Those that are made here live as long as the object.
class ResourceList {
public:
    void Add(uint16_t type, uint16_t id, ByteView bytes, uint16_t language = 0) {
        resources_.push_back({type, id, language, bytes});
    }

    void AddFile(uint16_t id, const std::optional<std::string>& content) {
        if (content) {
            Add(kDataType, id, BytesOf(*content));
        }
    }

    void AddIcon(const std::optional<std::string>& icon) {
        const auto pictures = icon ? ReadIconFile(BytesOf(*icon)) : std::nullopt;
        if (!pictures) {
            return;
        }
        uint16_t id = 0;
        for (const IconPicture& picture : *pictures) {
            Add(kIconType, ++id, picture.bytes);
        }
        group_ = IconGroup(*pictures);
        Add(kIconGroupType, ID_TOOL_ICON, group_);
    }

    // False when the texts are too long.
    bool AddVersion(const ToolConfig& config, BrandProgram program) {
        const VersionBlock block = BrandVersion(config, program);
        if (auto version = MakeVersionResource(block)) {
            version_ = std::move(*version);
            Add(kVersionType, kVersionId, version_, block.language);
            return true;
        }
        return false;
    }

    // Those that the unbranded program has: its manifest.
    bool AddOwn(ByteView program, std::string& reason) {
        const auto pe = ReadPeFile(program, reason);
        const auto own = pe ? ReadResources(program, *pe, reason) : std::nullopt;
        if (own) {
            resources_.insert(resources_.end(), own->begin(), own->end());
        }
        return own.has_value();
    }

    [[nodiscard]] const std::vector<Resource>& All() const {
        return resources_;
    }

private:
    std::vector<Resource> resources_;
    ByteBuffer group_;
    ByteBuffer version_;
};

// Adds what tool and uninstaller have in common, and makes the program.
std::optional<ByteBuffer> Finish(int unbrandedId, const Brand& brand, BrandProgram program,
                                 ResourceList& resources, std::string& reason) {
    const ByteView unbranded = EmbeddedData(nullptr, unbrandedId);
    resources.AddIcon(brand.icon);
    resources.AddFile(ID_CONFIG_TEXT, brand.configText);
    if (!resources.AddVersion(brand.config, program)) {
        reason = "the version texts are too long";
        return std::nullopt;
    }
    if (!resources.AddOwn(unbranded, reason)) {
        return std::nullopt;
    }
    return WithResources(unbranded, resources.All(), reason);
}

}  // namespace

std::optional<ByteBuffer> BrandedUninstaller(const Brand& brand, std::string& reason) {
    ResourceList resources;
    return Finish(ID_UNBRANDED_UNINSTALLER, brand, BrandProgram::Uninstaller, resources, reason);
}

std::optional<ByteBuffer> BrandedTool(const Brand& brand, ByteView uninstaller,
                                      std::string& reason) {
    ResourceList resources;
    resources.AddFile(ID_LOGO_IMAGE, brand.logo);
    resources.AddFile(ID_BACKGROUND_IMAGE, brand.background);
    resources.Add(kDataType, ID_UNINSTALLER, uninstaller);
    return Finish(ID_UNBRANDED_TOOL, brand, BrandProgram::Tool, resources, reason);
}
