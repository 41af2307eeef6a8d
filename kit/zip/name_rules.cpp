#include "kit/zip/name_rules.h"

#include <algorithm>

#include "kit/zip/entry_name.h"

namespace {

// A pattern for a file name, in ASCII capitals, and what matching files hold. Its only special
// character is `*`, which matches anything; it occurs once at most, or at both ends.
struct PlayerFile {
    constexpr PlayerFile(std::string_view pattern, std::string_view kindOfFile)
        : kind(kindOfFile), hasStar(pattern.find('*') != std::string_view::npos) {
        if (pattern.size() > 1 && pattern.starts_with('*') && pattern.ends_with('*')) {
            inner = pattern.substr(1, pattern.size() - 2);
            return;
        }
        begin = pattern.substr(0, pattern.find('*'));
        end = pattern.substr(hasStar ? begin.size() + 1 : pattern.size());
    }

    std::string_view kind;
    bool hasStar;
    std::string_view begin;
    std::string_view inner;
    std::string_view end;
};

// docs/kit.md lists these.
constexpr PlayerFile kPlayerFiles[] = {
    {"SETTINGS.INI", "settings"},
    {"SETTINGS.CFG", "settings"},
    {"SETTINGS.JSON", "settings"},
    {"SETTINGS.XML", "settings"},
    {"OPTIONS.INI", "settings"},
    {"OPTIONS.CFG", "settings"},
    {"OPTIONS.TXT", "settings"},
    {"OPTIONS.JSON", "settings"},
    {"OPTIONS.XML", "settings"},
    {"PREFERENCES.*", "settings"},
    {"USER.INI", "settings"},
    {"USER.CFG", "settings"},
    {"*USERSETTINGS*", "settings"},
    {"*USER_SETTINGS*", "settings"},
    {"*KEYBIND*", "key bindings"},
    {"*KEY_BIND*", "key bindings"},
    {"HOTKEYS.*", "key bindings"},
    {"BINDINGS.*", "key bindings"},
    {"*.SAV", "a saved game"},
    {"*.SAVE", "a saved game"},
    {"*.SAVEGAME", "a saved game"},
    {"*.LOG", "a log"},
    {"SCREENSHOT*.PNG", "a screenshot"},
    {"SCREENSHOT*.JPG", "a screenshot"},
    {"SCREENSHOT*.BMP", "a screenshot"},
    {"SCREENSHOT*.TGA", "a screenshot"},
    {"*.DMP", "a crash dump"},
    {"*.MDMP", "a crash dump"},
};

// Everything in folders of these names.
constexpr PlayerFile kPlayerFolders[] = {
    {"SAVE", "a saved game"},        {"SAVES", "a saved game"},
    {"SAVEGAMES", "a saved game"},   {"SAVEDGAMES", "a saved game"},
    {"SAVED GAMES", "a saved game"}, {"LOGS", "a log"},
    {"SCREENSHOTS", "a screenshot"}, {"CRASHES", "a crash dump"},
    {"CRASHDUMPS", "a crash dump"},  {"CRASHREPORTS", "a crash dump"},
    {"MINIDUMPS", "a crash dump"},
};

bool HasInside(std::string_view component, std::string_view inner) {
    const auto isSame = [](char left, char right) {
        return UpperAscii(left) == right;
    };
    return std::search(component.begin(), component.end(), inner.begin(), inner.end(), isSame) !=
           component.end();
}

bool Fits(std::string_view component, const PlayerFile& row) {
    if (!row.hasStar) {
        return IsSameAscii(component, row.begin);
    }
    const size_t ends = row.begin.size() + row.end.size();
    return component.size() >= ends &&
           IsSameAscii(component.substr(0, row.begin.size()), row.begin) &&
           IsSameAscii(component.substr(component.size() - row.end.size()), row.end) &&
           (row.inner.empty() || HasInside(component, row.inner));
}

// Most folders have none of these names, which this tells without comparing.
bool CanBePlayerFolder(std::string_view folder) {
    constexpr std::string_view kInitials = "SLCM";
    return !folder.empty() && kInitials.find(UpperAscii(folder[0])) != std::string_view::npos;
}

template <size_t Count>
std::string_view KindOf(std::string_view component, const PlayerFile (&table)[Count]) {
    for (const PlayerFile& row : table) {
        if (Fits(component, row)) {
            return row.kind;
        }
    }
    return {};
}

}  // namespace

bool CheckBytesOfName(std::string_view name, Findings& findings) {
    const std::string_view fault = NameFault(name);
    if (!fault.empty()) {
        findings.AddAtEntry("package.bad-name", name, [&] {
            return FindingText{"The name " + std::string(fault) + ".",
                               "Rename it in the client folder and make the package again."};
        });
    }
    return fault.empty();
}

void CheckName(std::string_view name, size_t entry, PackagePaths& paths, Findings& findings) {
    if (CheckBytesOfName(name, findings)) {
        paths.Add(name, entry);
    }
}

void CheckNamesTogether(const PackagePaths& paths, const NameOf& nameOf, Findings& findings) {
    paths.FindClashes([&](size_t first, size_t second) {
        findings.AddAtEntry("package.case-clash", nameOf(second), [&] {
            return FindingText{"On Windows this is the same name as " + std::string(nameOf(first)) +
                                   ", and only one of them can exist.",
                               "Rename one of them, or leave it out."};
        });
    });
    if (const auto entry = paths.FindOwnName()) {
        findings.Add("package.own-name", PackageEntry(nameOf(*entry)),
                     "Everything is in one folder, which holds an entry of its own name. The tool "
                     "takes that folder off, which fails then.",
                     "Pack the content of the folder instead of the folder.");
    }
    for (const std::string_view unpacker : {"tar.exe", "powershell.exe"}) {
        if (const auto entry = paths.FindFile(unpacker)) {
            findings.Add("package.holds-unpacker", PackageEntry(nameOf(*entry)),
                         "Once this is beside the tool, the tool starts it instead of Windows' "
                         "own " +
                             std::string(unpacker) + ", and repairs fail.",
                         "Rename it, or put it into a folder of the client.");
        }
    }
}

void CheckFileCount(uint64_t files, const std::string& packageName, Findings& findings) {
    if (files == 0) {
        findings.Add("package.empty", PackageFile(packageName), "There is no file in the package.",
                     "Pack the folder that holds the client's files.");
    }
}

std::string_view PlayerFileKind(std::string_view name) {
    while (name.find('/') != std::string_view::npos) {
        const std::string_view folder = FirstComponent(name);
        const std::string_view kind =
            CanBePlayerFolder(folder) ? KindOf(folder, kPlayerFolders) : std::string_view();
        if (!kind.empty()) {
            return kind;
        }
        name.remove_prefix(folder.size() + 1);
    }
    return KindOf(name, kPlayerFiles);
}
