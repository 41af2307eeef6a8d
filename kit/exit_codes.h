#pragma once

// How the kit ends. 3 is never used, because it is what abort() gives.
enum class ExitCode : int {
    Done = 0,
    Refused = 1,     // The input was read and refused; nothing was written.
    WrongUsage = 2,  // One line on stderr says how to do it right.
    OutsideFailure =
        4,  // A file, the network or another program failed; stderr's last line says why.
};
