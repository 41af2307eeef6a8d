#include "kit/command_line.h"

#include <algorithm>
#include <iterator>

#include "common/paths.h"
#include "common/text.h"
#include "kit/errors.h"
#include "kit/utf8.h"

namespace {

constexpr OptionSyntax kQuiet{L"--quiet", "", "no progress and no summary"};
constexpr OptionSyntax kJson{L"--json", "", "one JSON document on stdout instead of text"};
constexpr OptionSyntax kNoDigest{L"--no-digest", "", "accept that archiveSha256 is missing"};
constexpr OptionSyntax kStrict{L"--strict", "", "warnings count as errors"};

constexpr OptionSyntax kNewOptions[] = {
    {L"--name", "NAME", "the game's name, wherever players see it"},
    kQuiet,
};

constexpr OptionSyntax kPackOptions[] = {
    {L"-o", "PACKAGE.zip", "the package to write", true},
    {L"--brand", "BRAND", "leave out its tool, and set archiveSha256 in its config.txt"},
    {L"--exclude", "GLOB", "leave out what matches, such as *.log or saves/** (repeatable)", false,
     true},
    {L"--level", "1..9", "from fastest to smallest (default: 6)"},
    {L"--threads", "N", "how many compress at the same time (default: all cores)"},
    kQuiet,
    kJson,
};

constexpr OptionSyntax kCheckOptions[] = {
    {L"--package", "FILE", "look into this package too"},
    {L"--online", "", "ask the download servers too"},
    {L"--download", "", "with --online: download the package and compare its digest"},
    kNoDigest,
    kStrict,
    kQuiet,
    kJson,
};

constexpr OptionSyntax kPreviewOptions[] = {
    {L"-o", "FOLDER", "where the pictures go", true},
    {L"--state", "STATE",
     "ready, download, verify, unpack, files, done, failed or servers (repeatable; default: all)",
     false, true},
    kQuiet,
};

constexpr OptionSyntax kBuildOptions[] = {
    {L"-o", "FOLDER", "where to put the exe", true},
    {L"--package", "FILE", "look into this package too"},
    {L"--sign", "COMMAND", "signs one file; {file} is replaced by its path"},
    kNoDigest,
    kStrict,
    {L"--force", "", "build in spite of errors"},
    kQuiet,
    kJson,
};

constexpr OptionSyntax kShowOptions[] = {
    {L"--extract", "FOLDER", "write a brand folder from it"},
    {L"--all", "", "the whole configuration, not only what differs from the defaults"},
    kQuiet,
    kJson,
};

bool IsHelp(std::wstring_view word) {
    return word == L"--help" || word == L"-h" || word == L"/?";
}

std::string SeeHelp(const CommandSyntax& syntax) {
    return "; repair_kit " + WideToUtf8(syntax.name) + " --help lists all options";
}

const OptionSyntax* FindOption(const CommandSyntax& syntax, std::wstring_view name) {
    const auto found =
        std::find_if(syntax.options.begin(), syntax.options.end(),
                     [&](const OptionSyntax& option) { return option.name == name; });
    return found == syntax.options.end() ? nullptr : &*found;
}

// No value either, so that a misspelt option is none. One that begins like this can be given behind
// an equals sign.
bool LooksLikeOption(const CommandSyntax& syntax, const std::wstring& word) {
    return word.starts_with(L"--") || FindOption(syntax, word) != nullptr;
}

std::string ValueNeeded(const OptionSyntax& option) {
    const std::string name = WideToUtf8(option.name);
    return name + " needs a value: " + name + " " + std::string(option.value);
}

// Takes the words of one option from the front of `rest`.
void TakeOption(const CommandSyntax& syntax, std::span<const std::wstring>& rest,
                CommandWords& words) {
    const std::wstring_view word = rest.front();
    rest = rest.subspan(1);
    const size_t equals = word.starts_with(L"--") ? word.find(L'=') : std::wstring_view::npos;
    const OptionSyntax* option = FindOption(syntax, word.substr(0, equals));
    if (option == nullptr) {
        throw WrongUsage("unknown option " + WideToUtf8(word) + SeeHelp(syntax));
    }
    if (words.Has(option->name) && !option->isRepeatable && !option->value.empty()) {
        throw WrongUsage(WideToUtf8(option->name) + " is given twice; give it once");
    }
    std::vector<std::wstring>& values = words.options[option->name];
    if (option->value.empty()) {
        if (equals != std::wstring_view::npos) {
            throw WrongUsage(WideToUtf8(option->name) + " takes no value; give it alone");
        }
        return;
    }
    std::wstring value;
    if (equals != std::wstring_view::npos) {
        value = word.substr(equals + 1);
    } else if (!rest.empty() && !LooksLikeOption(syntax, rest.front())) {
        value = rest.front();
        rest = rest.subspan(1);
    }
    if (value.empty()) {
        throw WrongUsage(ValueNeeded(*option));
    }
    values.push_back(std::move(value));
}

// Whether --help is among the options. Wrong words elsewhere do not matter.
bool AsksForHelp(const CommandSyntax& syntax, std::span<const std::wstring> words) {
    bool isValue = false;
    for (const std::wstring& word : words) {
        const OptionSyntax* option = FindOption(syntax, word);
        if (isValue && !LooksLikeOption(syntax, word)) {
            isValue = false;
        } else if (word == L"--") {
            return false;
        } else if (IsHelp(word)) {
            return true;
        } else {
            isValue = option != nullptr && !option->value.empty();
        }
    }
    return false;
}

void SetOperand(const CommandSyntax& syntax, const std::wstring& word, CommandWords& words) {
    if (word.empty()) {
        throw WrongUsage(std::string(syntax.operand) + " is empty; usage: " + UsageLine(syntax));
    }
    if (!words.operand.empty()) {
        throw WrongUsage("\"" + WideToUtf8(word) +
                         "\" is one word too many (names with blanks need " +
                         "quotes); usage: " + UsageLine(syntax));
    }
    words.operand = word;
}

void RequireAll(const CommandSyntax& syntax, const CommandWords& words) {
    if (words.operand.empty()) {
        throw WrongUsage(std::string(syntax.operand) + " is missing; usage: " + UsageLine(syntax));
    }
    for (const OptionSyntax& option : syntax.options) {
        if (option.isRequired && !words.Has(option.name)) {
            throw WrongUsage(WideToUtf8(option.name) + " " + std::string(option.value) +
                             " is missing; usage: " + UsageLine(syntax));
        }
    }
}

// A decimal number from 1 to `most`; none for any other text.
std::optional<unsigned> NumberUpTo(std::wstring_view text, unsigned most) {
    constexpr size_t kMostDigits = 9;
    if (text.empty() || text.size() > kMostDigits ||
        text.find_first_not_of(L"0123456789") != text.npos) {
        return std::nullopt;
    }
    const auto number = static_cast<unsigned>(std::stoul(std::wstring(text)));
    return number >= 1 && number <= most ? std::optional(number) : std::nullopt;
}

std::optional<unsigned> NumberOption(const CommandWords& words, std::wstring_view option,
                                     unsigned most) {
    if (!words.Has(option)) {
        return std::nullopt;
    }
    const std::wstring text = words.Value(option);
    const std::optional<unsigned> number = NumberUpTo(text, most);
    if (!number) {
        throw WrongUsage(WideToUtf8(option) + " " + WideToUtf8(text) + " is not possible; give a " +
                         "number from 1 to " + std::to_string(most));
    }
    return number;
}

OutputArguments ReadOutputArguments(const CommandWords& words) {
    return {words.Has(L"--quiet"), words.Has(L"--json")};
}

std::wstring RealPath(const std::wstring& path) {
    const auto real = ComparableCanonical(path);
    return real ? std::wstring(*real) : std::wstring();
}

// Output in a folder that is only read would change it, or take itself for input.
void RequireOutside(const std::wstring& output, std::string_view name, const std::wstring& folder) {
    const std::wstring realOutput = RealPath(output);
    const std::wstring realFolder = RealPath(folder);
    if (!realOutput.empty() && !realFolder.empty() &&
        IsAtOrBelowCanonicalPath(realOutput, realFolder)) {
        throw WrongUsage("-o " + WideToUtf8(output) + " is inside " + std::string(name) +
                         "; choose a place outside of " + WideToUtf8(folder));
    }
}

// Unpacking programs that go by the name would take the package for another archive.
void RequireZipName(const std::wstring& package) {
    constexpr std::wstring_view kOtherArchives[] = {L".rar", L".7z", L".tar",
                                                    L".gz",  L".xz", L".tgz"};
    const std::wstring extension = LowerCase(FileNameExtension(package));
    if (std::ranges::find(kOtherArchives, extension) != std::end(kOtherArchives)) {
        throw WrongUsage("-o " + WideToUtf8(package) +
                         " is the name of another kind of archive; the package is a ZIP: " +
                         "give it a name that ends in .zip");
    }
}

std::string AllStates() {
    std::string all;
    for (const std::string_view state : kPreviewStates) {
        all += all.empty() ? "" : ", ";
        all += state;
    }
    return all;
}

std::vector<std::string> ReadStates(const CommandWords& words) {
    const auto given = words.options.find(L"--state");
    if (given == words.options.end()) {
        return {std::begin(kPreviewStates), std::end(kPreviewStates)};
    }
    std::vector<std::string> wanted;
    for (const std::wstring& value : given->second) {
        const std::string state = WideToUtf8(value);
        if (std::find(std::begin(kPreviewStates), std::end(kPreviewStates), state) ==
            std::end(kPreviewStates)) {
            throw WrongUsage("unknown state " + state + "; the states are " + AllStates());
        }
        wanted.push_back(state);
    }
    std::vector<std::string> states;
    for (const std::string_view known : kPreviewStates) {
        if (std::find(wanted.begin(), wanted.end(), known) != wanted.end()) {
            states.emplace_back(known);
        }
    }
    return states;
}

std::string OptionText(const OptionSyntax& option) {
    std::string text = WideToUtf8(option.name);
    if (!option.value.empty()) {
        text += " " + std::string(option.value);
    }
    return text;
}

}  // namespace

const CommandSyntax kNewSyntax{
    L"new",
    "BRAND",
    "begin a brand: config.txt with every key, pictures, icon",
    "Writes config.txt, background.jpg, logo.png and tool.ico into a new or empty folder.",
    "repair_kit new mygame --name \"My Game\"",
    kNewOptions};

const CommandSyntax kPackSyntax{
    L"pack",
    "CLIENT",
    "make the package that players download",
    "Packs the client folder into a ZIP that players' machines can unpack without anything\n"
    "installed. The same client makes the same bytes every time.",
    "repair_kit pack C:\\Games\\MyGame -o client-1.4.2.zip --brand mygame --exclude *.log",
    kPackOptions};

const CommandSyntax kCheckSyntax{
    L"check",
    "BRAND",
    "find what is wrong before players do",
    "Checks the configuration, the pictures and the icon; with options also the package and the\n"
    "servers. Exit code 1 if there is an error.",
    "repair_kit check mygame --package client-1.4.2.zip --online",
    kCheckOptions};

const CommandSyntax kPreviewSyntax{
    L"preview",
    "BRAND",
    "paint pictures of the tool's window",
    "Writes STATE.png for each state of the window, and contact-sheet.png with all of them.",
    "repair_kit preview mygame -o pictures",
    kPreviewOptions};

const CommandSyntax kBuildSyntax{
    L"build",
    "BRAND",
    "build the branded tool with its uninstaller",
    "Checks the brand first; errors stop it. The signing command runs for the uninstaller, then "
    "for\n"
    "the tool; put {file} into quotes.",
    "repair_kit build mygame -o release --sign \"signtool sign /fd SHA256 \\\"{file}\\\"\"",
    kBuildOptions};

const CommandSyntax kShowSyntax{
    L"show",
    "EXE",
    "show what a finished exe carries",
    "Shows version, configuration, pictures, uninstaller and signature of a built tool.",
    "repair_kit show release\\Tool.exe --extract mygame-again",
    kShowOptions};

std::wstring CommandWords::Value(std::wstring_view option) const {
    const auto found = options.find(option);
    return found == options.end() || found->second.empty() ? std::wstring() : found->second.front();
}

CommandWords SortWords(const CommandSyntax& syntax, std::span<const std::wstring> words) {
    CommandWords sorted;
    sorted.asksForHelp = AsksForHelp(syntax, words);
    if (sorted.asksForHelp) {
        return sorted;
    }
    std::span<const std::wstring> rest = words;
    bool optionsEnded = false;
    while (!rest.empty()) {
        const std::wstring& word = rest.front();
        if (!optionsEnded && word == L"--") {
            optionsEnded = true;
            rest = rest.subspan(1);
        } else if (!optionsEnded && word.size() > 1 && word.starts_with(L'-')) {
            TakeOption(syntax, rest, sorted);
        } else {
            SetOperand(syntax, word, sorted);
            rest = rest.subspan(1);
        }
    }
    RequireAll(syntax, sorted);
    return sorted;
}

NewArguments ReadNewArguments(const CommandWords& words) {
    return {ReadOutputArguments(words), words.operand, words.Value(L"--name")};
}

PackArguments ReadPackArguments(const CommandWords& words) {
    constexpr unsigned kHighestLevel = 9;
    PackArguments arguments;
    arguments.output = ReadOutputArguments(words);
    arguments.client = words.operand;
    arguments.package = words.Value(L"-o");
    arguments.brand = words.Value(L"--brand");
    if (words.Has(L"--exclude")) {
        arguments.excludes = words.options.at(L"--exclude");
    }
    if (const auto level = NumberOption(words, L"--level", kHighestLevel)) {
        arguments.level = static_cast<int>(*level);
    }
    arguments.threads = NumberOption(words, L"--threads", kMostThreads);
    RequireZipName(arguments.package);
    RequireOutside(arguments.package, "CLIENT", arguments.client);
    if (!arguments.brand.empty()) {
        RequireOutside(arguments.package, "BRAND", arguments.brand);
    }
    return arguments;
}

CheckArguments ReadCheckArguments(const CommandWords& words) {
    CheckArguments arguments;
    arguments.output = ReadOutputArguments(words);
    arguments.brand = words.operand;
    arguments.package = words.Value(L"--package");
    arguments.online = words.Has(L"--online");
    arguments.download = words.Has(L"--download");
    arguments.noDigest = words.Has(L"--no-digest");
    arguments.strict = words.Has(L"--strict");
    if (arguments.download && !arguments.online) {
        throw WrongUsage("--download works only together with --online; give both");
    }
    return arguments;
}

PreviewArguments ReadPreviewArguments(const CommandWords& words) {
    PreviewArguments arguments{ReadOutputArguments(words), words.operand, words.Value(L"-o"),
                               ReadStates(words)};
    RequireOutside(arguments.folder, "BRAND", arguments.brand);
    return arguments;
}

BuildArguments ReadBuildArguments(const CommandWords& words) {
    BuildArguments arguments;
    arguments.output = ReadOutputArguments(words);
    arguments.brand = words.operand;
    arguments.folder = words.Value(L"-o");
    arguments.package = words.Value(L"--package");
    arguments.sign = words.Value(L"--sign");
    arguments.noDigest = words.Has(L"--no-digest");
    arguments.strict = words.Has(L"--strict");
    arguments.force = words.Has(L"--force");
    if (!arguments.sign.empty() && arguments.sign.find(L"{file}") == std::wstring::npos) {
        throw WrongUsage(
            "--sign names no {file}; write \"{file}\" where the command takes the file");
    }
    RequireOutside(arguments.folder, "BRAND", arguments.brand);
    return arguments;
}

ShowArguments ReadShowArguments(const CommandWords& words) {
    return {ReadOutputArguments(words), words.operand, words.Value(L"--extract"),
            words.Has(L"--all")};
}

std::string UsageLine(const CommandSyntax& syntax) {
    std::string line = "repair_kit " + WideToUtf8(syntax.name) + " " + std::string(syntax.operand);
    for (const OptionSyntax& option : syntax.options) {
        const std::string text = OptionText(option);
        line += option.isRequired ? " " + text : " [" + text + "]";
        line += option.isRepeatable ? "..." : "";
    }
    return line;
}

std::vector<std::string> CommandHelp(const CommandSyntax& syntax) {
    constexpr size_t kColumn = 24;
    std::vector<std::string> lines{"usage: " + UsageLine(syntax), ""};
    std::string_view details = syntax.details;
    while (!details.empty()) {
        const size_t end = details.find('\n');
        lines.emplace_back(details.substr(0, end));
        details = end == std::string_view::npos ? std::string_view() : details.substr(end + 1);
    }
    lines.emplace_back();
    for (const OptionSyntax& option : syntax.options) {
        std::string line = "  " + OptionText(option);
        line.append(line.size() < kColumn ? kColumn - line.size() : 2, ' ');
        lines.push_back(line + std::string(option.help));
    }
    lines.insert(lines.end(), {"", "example:", "  " + std::string(syntax.example)});
    return lines;
}
