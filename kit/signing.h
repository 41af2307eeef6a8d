#pragma once

#include <string>
#include <string_view>

#include "kit/console.h"

inline constexpr std::wstring_view kFilePlaceholder = L"{file}";
inline constexpr DWORD kSigningTimeLimitMs = 10 * 60 * 1000;

// The operator's command for `file`: every {file} is replaced by the path, without quotes.
[[nodiscard]] std::wstring SigningCommandLine(std::wstring_view command, std::wstring_view file);

// Runs a command line without a shell and without a window, and waits for its end. Its output is
// printed on stderr, line by line, when it has ended; of a very long one only the end. Its standard
// input is empty. After the time limit, and on Ctrl+C, it is ended together with everything that it
// has started, and has let go of its files.
//
// Throws OutsideFailure when it cannot be started, takes too long or ends with another code than 0.
void RunSigningCommand(const std::wstring& commandLine, DWORD timeLimitMs, Console& console);
