#pragma once

// Makes a crash end with kCrashExitCode and a last line on stderr, never with abort() or with a
// code that means something else. A console's text gets its own color back.
void InstallCrashGuards();

// Not in the table of exit codes, and neither is its lowest byte, which is all that some callers
// see.
inline constexpr unsigned long kCrashExitCode = 0xC0000409;
