#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// The command lines of all commands. Everything wrong throws WrongUsage. Paths are as they were
// given.

// For every command that writes findings or facts.
struct OutputArguments {
    bool quiet = false;
    bool json = false;
};

struct NewArguments {
    OutputArguments output;
    std::wstring brand;
    std::wstring name;  // Empty: the default brand's.
};

struct PackArguments {
    OutputArguments output;
    std::wstring client;
    std::wstring package;
    std::wstring brand;  // Empty: none.
    std::vector<std::wstring> excludes;
    std::optional<int> level;         // 1 to 9; none: kDefaultPackLevel.
    std::optional<unsigned> threads;  // 1 to kMostThreads.
};

struct CheckArguments {
    OutputArguments output;
    std::wstring brand;
    std::wstring package;  // Empty: none.
    bool online = false;
    bool download = false;  // Only with `online`.
    bool noDigest = false;
    bool strict = false;
};

struct PreviewArguments {
    OutputArguments output;
    std::wstring brand;
    std::wstring folder;
    std::vector<std::string> states;  // Of kPreviewStates, in its order; never empty.
};

struct BuildArguments {
    OutputArguments output;
    std::wstring brand;
    std::wstring folder;
    std::wstring package;  // Empty: none.
    std::wstring sign;     // Holds "{file}". Empty: unsigned.
    bool noDigest = false;
    bool strict = false;
    bool force = false;
};

struct ShowArguments {
    OutputArguments output;
    std::wstring exe;
    std::wstring extractFolder;  // Empty: nothing is extracted.
    bool all = false;
};

inline constexpr unsigned kMostThreads = 256;

// Level 5 takes a quarter less time and makes packages 0.5 % larger; level 7 takes a fifth more
// for 0.15 %.
inline constexpr int kDefaultPackLevel = 6;

// The states of the window that `preview` paints, in the order of a job.
inline constexpr std::string_view kPreviewStates[] = {"ready", "download", "verify", "unpack",
                                                      "files", "done",     "failed", "servers"};

struct OptionSyntax {
    std::wstring_view name;  // "--package" or "-o".
    std::string_view value;  // What its value is called: "FILE". Empty: a switch.
    std::string_view help;   // One line.
    bool isRequired = false;
    bool isRepeatable = false;
};

struct CommandSyntax {
    std::wstring_view name;
    std::string_view operand;  // What it works on: "BRAND".
    std::string_view summary;  // One line.
    std::string_view details;  // Lines for its own help.
    std::string_view example;
    std::span<const OptionSyntax> options;
};

extern const CommandSyntax kNewSyntax;
extern const CommandSyntax kPackSyntax;
extern const CommandSyntax kCheckSyntax;
extern const CommandSyntax kPreviewSyntax;
extern const CommandSyntax kBuildSyntax;
extern const CommandSyntax kShowSyntax;

// A command's words sorted by its syntax.
struct CommandWords {
    std::wstring operand;
    std::map<std::wstring_view, std::vector<std::wstring>> options;  // Switches without values.
    bool asksForHelp = false;

    [[nodiscard]] bool Has(std::wstring_view option) const {
        return options.contains(option);
    }
    // The value of an option that takes one; empty if it was not given.
    [[nodiscard]] std::wstring Value(std::wstring_view option) const;
};

// `words` are those behind the command's name. If --help is among the options, nothing else is
// checked.
CommandWords SortWords(const CommandSyntax& syntax, std::span<const std::wstring> words);

NewArguments ReadNewArguments(const CommandWords& words);
PackArguments ReadPackArguments(const CommandWords& words);
CheckArguments ReadCheckArguments(const CommandWords& words);
PreviewArguments ReadPreviewArguments(const CommandWords& words);
BuildArguments ReadBuildArguments(const CommandWords& words);
ShowArguments ReadShowArguments(const CommandWords& words);

// "repair_kit check BRAND [--package FILE] ..."
std::string UsageLine(const CommandSyntax& syntax);

// The lines of `repair_kit COMMAND --help`.
std::vector<std::string> CommandHelp(const CommandSyntax& syntax);
