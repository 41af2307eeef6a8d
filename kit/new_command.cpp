#include <span>

#include "common/files.h"
#include "common/folder_walk.h"
#include "common/paths.h"
#include "common/resources.h"
#include "common/text.h"
#include "kit/brand.h"
#include "kit/brand_template.h"
#include "kit/brand_template_ids.h"
#include "kit/commands.h"
#include "kit/errors.h"
#include "kit/output_file.h"
#include "kit/utf8.h"

namespace {

std::string_view Template(int id) {
    const std::span<const std::byte> bytes = EmbeddedData(nullptr, id);
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::string GameName(const std::wstring& name) {
    constexpr size_t kMostCharacters = 100;  // Names of files are made from it.
    const std::wstring trimmed = TrimWhitespace(name);
    if (trimmed.size() > kMostCharacters) {
        throw WrongUsage("--name is longer than 100 characters; give a shorter name");
    }
    std::string text = WideToUtf8(trimmed);
    if (HasUnsafeCharacter(text)) {
        throw WrongUsage("--name has a control character; give the name that players are to see");
    }
    return text;
}

// Why nothing can be written there; empty when it can.
std::string RefusalFor(const std::wstring& folder) {
    const EntryKind kind = KindOf(folder);
    if (kind == EntryKind::RegularFile) {
        return "is a file";
    }
    if (kind != EntryKind::Folder) {
        return {};
    }
    bool isEmpty = true;
    const ListingResult listing = ListFolder(folder, [&](const FolderEntry&) {
        isEmpty = false;
        return false;
    });
    if (listing.Error() != ERROR_SUCCESS) {
        throw OutsideFailure("cannot read", folder, listing.Error());
    }
    return isEmpty ? "" : "is not empty";
}

}  // namespace

ExitCode RunNew(const NewArguments& arguments, Console& console) {
    const std::string name = GameName(arguments.name);
    const std::string shown = WideToUtf8(arguments.brand);
    const std::string refusal = RefusalFor(arguments.brand);
    if (!refusal.empty()) {
        console.PrintError("repair_kit: " + shown + " " + refusal +
                           "; choose a folder that is new or empty");
        return ExitCode::Refused;
    }
    const std::string config = ConfigTextFor(Template(ID_TEMPLATE_CONFIG), name);
    const FileContent files[] = {
        {JoinPaths(arguments.brand, kConfigFileName), config},
        {JoinPaths(arguments.brand, kBackgroundFileName), Template(ID_TEMPLATE_BACKGROUND)},
        {JoinPaths(arguments.brand, kLogoFileName), Template(ID_TEMPLATE_LOGO)},
        {JoinPaths(arguments.brand, kIconFileName), Template(ID_TEMPLATE_ICON)},
    };
    WriteFilesTogether(files);
    console.PrintSummary("Wrote config.txt, background.jpg, logo.png and tool.ico into " + shown +
                         ".");
    console.PrintSummary(
        "Next: in config.txt fill in archiveUrl and startupExe, and change companyName,");
    console.PrintSummary("programsPublisher and the copyright lines; replace the pictures; then");
    console.PrintSummary("  repair_kit pack CLIENT -o PACKAGE.zip --brand \"" + shown + "\"");
    console.PrintSummary("  repair_kit check \"" + shown + "\" --package PACKAGE.zip");
    return ExitCode::Done;
}
