#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "common/windows_api.h"

// The two ways in which a command ends early. Both are thrown to the entry point, which prints the
// message and ends with the exit code. Messages are UTF-8 without a final full stop.

// ExitCode::WrongUsage. The message is one line that says what is wrong and how to do it right.
class WrongUsage : public std::runtime_error {
public:
    explicit WrongUsage(const std::string& message);
};

// ExitCode::OutsideFailure.
class OutsideFailure : public std::runtime_error {
public:
    // `message` as it is, for failures without a Win32 error code.
    explicit OutsideFailure(const std::string& message);

    // `what` followed by the system's words: "cannot read a.txt: Access is denied (code 5)".
    OutsideFailure(const std::string& what, DWORD error);

    // The same with a path between: ("cannot read", path, error).
    OutsideFailure(const std::string& what, std::wstring_view path, DWORD error);
};

// The system's words for a Win32 error code with the code behind: "Access is denied (code 5)". One
// line. Also knows WinHTTP's codes.
std::string SystemErrorText(DWORD error);
