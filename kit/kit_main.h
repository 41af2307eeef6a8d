#pragma once

#include <span>
#include <string>

#include "kit/console.h"
#include "kit/exit_codes.h"

// The whole program: runs the command that `arguments` (without the program's name) ask for. Never
// throws for anything that arguments or files can cause.
ExitCode RunKit(std::span<const std::wstring> arguments, Console& console);

// Makes a crash end with kCrashExitCode and a last line on stderr, never with abort() or with a
// code that means something else.
void InstallCrashGuards();

// Not in the table of exit codes, and neither is its lowest byte, which is all that some callers
// see.
inline constexpr unsigned long kCrashExitCode = 0xC0000409;
