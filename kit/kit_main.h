#pragma once

#include <span>
#include <string>

#include "kit/console.h"
#include "kit/exit_codes.h"

// The whole program: runs the command that `arguments` (without the program's name) ask for. Never
// throws for anything that arguments or files can cause.
ExitCode RunKit(std::span<const std::wstring> arguments, Console& console);
