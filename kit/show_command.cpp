#include <algorithm>
#include <utility>

#include "common/files.h"
#include "common/folder_walk.h"
#include "common/paths.h"
#include "config/config_keys.h"
#include "config/config_loader.h"
#include "kit/brand.h"
#include "kit/commands.h"
#include "kit/content_digest.h"
#include "kit/errors.h"
#include "kit/finished_exe.h"
#include "kit/input_file.h"
#include "kit/json.h"
#include "kit/output_file.h"
#include "kit/picture_header.h"
#include "kit/utf8.h"

namespace {

// More than any program of ours.
constexpr uint64_t kMostExeBytes = 0x4000'0000;

std::string_view TextOf(ByteView bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// A setting's value as UTF-8, lists with line feeds between their entries.
struct SettingText {
    const ToolConfig& config;

    std::string operator()(std::wstring ToolConfig::*field) const {
        return WideToUtf8(config.*field);
    }
    std::string operator()(std::vector<std::wstring> ToolConfig::*field) const {
        std::string text;
        for (const std::wstring& entry : config.*field) {
            text += (text.empty() ? "" : "\n") + WideToUtf8(entry);
        }
        return text;
    }
    std::string operator()(bool ToolConfig::*field) const {
        return config.*field ? "1" : "0";
    }
};

using Setting = std::pair<std::string, std::string>;

// Key and value of the settings that differ from the defaults, or of all.
std::vector<Setting> SettingsOf(const ToolConfig& config, bool all) {
    ToolConfig defaults;
    FillEmptyNames(defaults);
    std::vector<Setting> settings;
    for (const ConfigKey& key : ConfigKeys()) {
        const std::string value = std::visit(SettingText{config}, key.field);
        if (all || value != std::visit(SettingText{defaults}, key.field)) {
            settings.emplace_back(key.name, value);
        }
    }
    return settings;
}

std::string Size(int64_t width, int64_t height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

std::string BytesText(size_t bytes) {
    return std::to_string(bytes) + " bytes";
}

// The uninstaller within a tool.
struct EmbeddedUninstaller {
    ByteView bytes;
    std::string damage;  // Empty when it could be read.
    std::string engineVersion;
    bool isSigned = false;
    bool configurationAgrees = false;
};

EmbeddedUninstaller ReadUninstaller(ByteView bytes, ByteView toolConfigText) {
    EmbeddedUninstaller uninstaller;
    uninstaller.bytes = bytes;
    if (const auto exe = ReadFinishedExe(bytes, uninstaller.damage)) {
        uninstaller.engineVersion = WideToUtf8(exe->engineVersion);
        uninstaller.isSigned = exe->isSigned;
        uninstaller.configurationAgrees = std::ranges::equal(exe->configText, toolConfigText);
    }
    return uninstaller;
}

// Everything that is shown.
struct Facts {
    std::string file;
    size_t size = 0;
    std::string sha256;
    FinishedExe exe;
    std::vector<Setting> settings;
    bool hasAllSettings = false;
    std::optional<EmbeddedUninstaller> uninstaller;
};

// Without width and height when they are unknown.
Json PictureJson(const std::optional<ByteView>& picture) {
    if (!picture) {
        return nullptr;
    }
    Json json{{"bytes", picture->size()}};
    if (const auto size = ReadPictureSize(TextOf(*picture))) {
        json["width"] = size->width;
        json["height"] = size->height;
    }
    return json;
}

Json IconJson(const FinishedExe& exe) {
    Json pictures = Json::array();
    for (const IconPicture& picture : exe.icon.value_or(std::vector<IconPicture>())) {
        pictures.push_back({{"width", picture.Width()},
                            {"height", picture.Height()},
                            {"bitsPerPixel", picture.bitsPerPixel},
                            {"bytes", picture.bytes.size()}});
    }
    return pictures;
}

Json UninstallerJson(const std::optional<EmbeddedUninstaller>& uninstaller) {
    if (!uninstaller) {
        return nullptr;
    }
    if (!uninstaller->damage.empty()) {
        return {{"size", uninstaller->bytes.size()}, {"damage", uninstaller->damage}};
    }
    return {{"size", uninstaller->bytes.size()},
            {"engineVersion", uninstaller->engineVersion},
            {"signed", uninstaller->isSigned},
            {"configurationAgrees", uninstaller->configurationAgrees}};
}

Json FactsDocument(const Facts& facts) {
    Json versionTexts = Json::object();
    for (const VersionText& text : facts.exe.versionTexts) {
        versionTexts[WideToUtf8(text.name)] = WideToUtf8(text.text);
    }
    Json configuration = Json::object();
    for (const auto& [key, value] : facts.settings) {
        configuration[key] = value;
    }
    return {{"file", facts.file},
            {"size", facts.size},
            {"sha256", facts.sha256},
            {"engineVersion", WideToUtf8(facts.exe.engineVersion)},
            {"signed", facts.exe.isSigned},
            {"versionTexts", versionTexts},
            {"background", PictureJson(facts.exe.background)},
            {"logo", PictureJson(facts.exe.logo)},
            {"icon", IconJson(facts.exe)},
            {"uninstaller", UninstallerJson(facts.uninstaller)},
            {"configuration", configuration}};
}

void PrintRow(Console& console, std::string name, const std::string& text) {
    constexpr size_t kColumn = 18;
    name.resize(std::max(name.size() + 1, kColumn), ' ');
    console.Print("  " + name + text);
}

const char* SignatureText(bool isSigned) {
    return isSigned ? "present" : "none";
}

std::string PictureText(const std::optional<ByteView>& picture) {
    if (!picture) {
        return "none";
    }
    const auto size = ReadPictureSize(TextOf(*picture));
    return (size ? Size(size->width, size->height) : "unknown size") + ", " +
           BytesText(picture->size());
}

std::string IconText(const FinishedExe& exe) {
    std::string text;
    for (const IconPicture& picture : exe.icon.value_or(std::vector<IconPicture>())) {
        text += text.empty() ? "" : ", ";
        text += picture.Width() == picture.Height() ? std::to_string(picture.Width())
                                                    : Size(picture.Width(), picture.Height());
    }
    return text.empty() ? "none" : text;
}

void PrintUninstaller(const std::optional<EmbeddedUninstaller>& uninstaller, Console& console) {
    if (!uninstaller) {
        console.Print("Uninstaller: none");
        return;
    }
    console.Print("Uninstaller");
    PrintRow(console, "size", BytesText(uninstaller->bytes.size()));
    if (!uninstaller->damage.empty()) {
        PrintRow(console, "damaged", uninstaller->damage);
        return;
    }
    PrintRow(console, "engine version", uninstaller->engineVersion);
    PrintRow(console, "signature", SignatureText(uninstaller->isSigned));
    PrintRow(
        console, "configuration",
        uninstaller->configurationAgrees ? "agrees with the tool's" : "DIFFERS from the tool's");
}

void PrintFacts(const Facts& facts, Console& console) {
    console.Print(facts.file);
    PrintRow(console, "engine version", WideToUtf8(facts.exe.engineVersion));
    PrintRow(console, "size", BytesText(facts.size));
    PrintRow(console, "SHA-256", facts.sha256);
    PrintRow(console, "signature", SignatureText(facts.exe.isSigned));
    console.Print("Version texts");
    for (const VersionText& text : facts.exe.versionTexts) {
        PrintRow(console, WideToUtf8(text.name), WideToUtf8(text.text));
    }
    console.Print("Pictures");
    PrintRow(console, "background", PictureText(facts.exe.background));
    PrintRow(console, "logo", PictureText(facts.exe.logo));
    PrintRow(console, "icon", IconText(facts.exe));
    PrintUninstaller(facts.uninstaller, console);
    console.Print(facts.hasAllSettings
                      ? "Configuration"
                      : "Configuration, " + std::to_string(facts.settings.size()) +
                            " settings that differ from the defaults (--all shows the others)");
    for (const auto& [key, value] : facts.settings) {
        console.Print({{"  "}, {key}, {"="}, {value}});
    }
}

bool IsEmptyFolder(const std::wstring& folder) {
    bool isEmpty = true;
    const ListingResult listing = ListFolder(folder, [&isEmpty](const FolderEntry&) {
        isEmpty = false;
        return false;
    });
    if (listing.Error() != ERROR_SUCCESS) {
        throw OutsideFailure("cannot read the folder", folder, listing.Error());
    }
    return isEmpty;
}

// Empty when a brand can be written to `folder`.
std::string WhyNotInto(const std::wstring& folder) {
    switch (KindOf(folder)) {
        case EntryKind::RegularFile:
            return "it is a file; choose a new folder";
        case EntryKind::Folder:
            return IsEmptyFolder(folder) ? "" : "it is not empty; choose a new folder";
        default:
            return {};
    }
}

void Extract(const FinishedExe& exe, const std::wstring& folder) {
    std::vector<FileContent> files;
    const auto add = [&](std::wstring_view name, ByteView bytes) {
        files.push_back({JoinPaths(folder, name), TextOf(bytes)});
    };
    add(kConfigFileName, exe.configText);
    if (exe.background) {
        add(kBackgroundFileName, *exe.background);
    }
    if (exe.logo) {
        add(kLogoFileName, *exe.logo);
    }
    ByteBuffer icon;
    if (exe.icon) {
        icon = IconFile(*exe.icon);
        add(kIconFileName, icon);
    }
    WriteFilesTogether(files);
}

ExitCode Refuse(const std::string& reason, const ShowArguments& arguments, Console& console) {
    if (arguments.output.json) {
        console.PrintJson(JsonText({{"file", WideToUtf8(arguments.exe)}, {"refused", reason}}));
    }
    console.PrintError({{"repair_kit: ", Color::Error}, {reason}});
    return ExitCode::Refused;
}

// The whole file; none when it is too large for one of our programs.
std::optional<std::string> ReadExe(const std::wstring& path) {
    try {
        auto content = ReadInputFile(path, kMostExeBytes);
        if (!content) {
            throw OutsideFailure("cannot read", path, ERROR_FILE_NOT_FOUND);
        }
        return content;
    } catch (const InputTooLarge&) {
        return std::nullopt;
    }
}

}  // namespace

ExitCode RunShow(const ShowArguments& arguments, Console& console) {
    const auto content = ReadExe(arguments.exe);
    std::string reason = "it is too large";
    const auto exe =
        content ? ReadFinishedExe(std::as_bytes(std::span(*content)), reason) : std::nullopt;
    if (!exe) {
        return Refuse("cannot make sense of " + WideToUtf8(arguments.exe) + ": " + reason,
                      arguments, console);
    }
    if (!arguments.extractFolder.empty()) {
        reason = WhyNotInto(arguments.extractFolder);
        if (!reason.empty()) {
            return Refuse("cannot write to " + WideToUtf8(arguments.extractFolder) + ": " + reason,
                          arguments, console);
        }
    }
    Facts facts{WideToUtf8(arguments.exe),
                content->size(),
                DigestOfBytes(std::as_bytes(std::span(*content))),
                *exe,
                SettingsOf(exe->config, arguments.all),
                arguments.all,
                {}};
    if (exe->uninstaller) {
        facts.uninstaller = ReadUninstaller(*exe->uninstaller, exe->configText);
    }
    if (!arguments.extractFolder.empty()) {
        Extract(*exe, arguments.extractFolder);
    }
    if (arguments.output.json) {
        console.PrintJson(JsonText(FactsDocument(facts)));
        return ExitCode::Done;
    }
    PrintFacts(facts, console);
    if (!arguments.extractFolder.empty()) {
        console.PrintSummary("Wrote the brand to " + WideToUtf8(arguments.extractFolder));
    }
    return ExitCode::Done;
}
