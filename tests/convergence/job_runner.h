#pragma once

// What job_runner.cpp and the tests that start it agree on.
//
//   job_runner URL repair|reinstall DIGEST
//   job_runner URL repair|reinstall DIGEST DEATH FUNCTION NUMBER
//
// Does one job in the folder of its exe, as the tool would after a click. The second form ends the
// process at the NUMBER-th call of FUNCTION, or of any function that changes something. Between two
// changes it makes no difference when the process ends.

enum class Death {
    Before,     // Instead of making the call,
    HalfWay,    // or in the middle: half of a file is copied or written, a program only started,
    Stretched,  // or half of a file is copied, but the file already has its full size.
};

inline constexpr wchar_t kAnyFunction[] = L"any";

// How the process ends.
inline constexpr int kJobSucceeded = 0;
inline constexpr int kJobFailed = 1;
inline constexpr int kUsageError = 2;
inline constexpr int kKilled = 70;  // The number of the job's stage is added.
