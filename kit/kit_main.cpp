#include "kit/kit_main.h"

#include <new>
#include <system_error>

#include "engine_version.h"
#include "kit/commands.h"
#include "kit/errors.h"
#include "kit/utf8.h"

namespace {

constexpr char kProgram[] = "repair_kit: ";

void PrintHelp(Console& console) {
    constexpr size_t kColumn = 12;
    console.Print("usage: repair_kit COMMAND ...");
    console.Print("");
    console.Print(
        "For the operators of a game: makes the package, checks the brand and builds the");
    console.Print("repair tool that players run.");
    console.Print("");
    for (const Command& command : Commands()) {
        std::string line = "  " + WideToUtf8(command.syntax->name);
        line.append(kColumn - line.size(), ' ');
        console.Print(line + std::string(command.syntax->summary));
    }
    console.Print("");
    console.Print("From a client folder to a finished tool:");
    console.Print("  repair_kit new mygame --name \"My Game\"");
    console.Print("  (fill in archiveUrl in mygame\\config.txt, and replace the pictures)");
    console.Print("  repair_kit pack C:\\Games\\MyGame -o client-1.0.zip --brand mygame");
    console.Print("  repair_kit check mygame --package client-1.0.zip");
    console.Print("  repair_kit preview mygame -o pictures");
    console.Print("  repair_kit build mygame -o release --package client-1.0.zip");
    console.Print("");
    console.Print("repair_kit COMMAND --help explains a command and shows an example.");
    console.Print("repair_kit --version prints the version.");
    console.Print("");
    console.Print("Exit codes: 0 done, 1 refused for the errors that are named, 2 wrong usage,");
    console.Print("4 something outside failed: a file, the network, the signing command.");
}

const Command* FindCommand(std::wstring_view name) {
    for (const Command& command : Commands()) {
        if (command.syntax->name == name) {
            return &command;
        }
    }
    return nullptr;
}

std::string CommandNames() {
    std::string names;
    for (const Command& command : Commands()) {
        names += (names.empty() ? "" : ", ") + WideToUtf8(command.syntax->name);
    }
    return names;
}

ExitCode Dispatch(std::span<const std::wstring> arguments, Console& console) {
    if (arguments.empty()) {
        throw WrongUsage("a command is missing: " + CommandNames() + " (see repair_kit --help)");
    }
    const std::wstring& first = arguments.front();
    if (first == L"--help" || first == L"-h" || first == L"/?") {
        PrintHelp(console);
        return ExitCode::Done;
    }
    if (first == L"--version") {
        if (arguments.size() > 1) {
            throw WrongUsage("--version takes no other words; leave out " +
                             WideToUtf8(arguments[1]));
        }
        console.Print("repair_kit " ENGINE_VERSION);
        return ExitCode::Done;
    }
    const Command* command = FindCommand(first);
    if (command == nullptr) {
        throw WrongUsage("unknown command " + WideToUtf8(first) + "; the commands are " +
                         CommandNames());
    }
    const CommandWords words = SortWords(*command->syntax, arguments.subspan(1));
    if (words.asksForHelp) {
        for (const std::string& line : CommandHelp(*command->syntax)) {
            console.Print(line);
        }
        return ExitCode::Done;
    }
    return command->run(words, console);
}

std::string CodeText(const std::system_error& error) {
    return std::string(error.what()) + " (code " + std::to_string(error.code().value()) + ")";
}

void PrintReason(Console& console, const char* reason) {
    console.PrintError({{kProgram, Color::Error}, {reason}});
}

}  // namespace

ExitCode RunKit(std::span<const std::wstring> arguments, Console& console) {
    try {
        return Dispatch(arguments, console);
    } catch (const WrongUsage& error) {
        PrintReason(console, error.what());
        return ExitCode::WrongUsage;
    } catch (const OutsideFailure& error) {
        PrintReason(console, error.what());
    } catch (const std::bad_alloc&) {
        PrintReason(console, SystemErrorText(ERROR_NOT_ENOUGH_MEMORY).c_str());
    } catch (const std::system_error& error) {  // A thread that cannot be started.
        PrintReason(console, CodeText(error).c_str());
    }
    return ExitCode::OutsideFailure;
}
