#pragma once

#include <span>

#include "kit/command_line.h"
#include "kit/console.h"
#include "kit/exit_codes.h"

// The commands. Each prints its result and returns Done or Refused; WrongUsage and OutsideFailure
// are thrown.

ExitCode RunNew(const NewArguments& arguments, Console& console);
ExitCode RunPack(const PackArguments& arguments, Console& console);
ExitCode RunCheck(const CheckArguments& arguments, Console& console);
ExitCode RunPreview(const PreviewArguments& arguments, Console& console);
ExitCode RunBuild(const BuildArguments& arguments, Console& console);
ExitCode RunShow(const ShowArguments& arguments, Console& console);

struct Command {
    const CommandSyntax* syntax;
    // Reads the words, sets the console's mode and runs the command.
    ExitCode (*run)(const CommandWords& words, Console& console);
};

// In the order in which an operator needs them.
std::span<const Command> Commands();
