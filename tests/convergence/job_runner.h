#pragma once

#include <array>
#include <string_view>

// What job_runner.cpp and the tests that start it agree on.
//
//   job_runner URL repair|reinstall DIGEST
//   job_runner URL repair|reinstall DIGEST INTERVENTION PHASE FUNCTION NUMBER
//
// Does one job in the folder of its exe, as the tool would after a click, and prints lines
// of words with tabs between them:
//   detail TEXT                     the record's detail line at the job's end
//   calls PHASE FUNCTION NUMBER     how often the job has called the function in that phase
// The second form intervenes in the NUMBER-th call of FUNCTION in PHASE. A phase that does not have
// so many is struck late, at the first call after it: the count of network reads and waits varies.

// The parts of a job that can be told apart from outside, in their order.
enum class Phase {
    Download,
    Hash,
    Unpacking,
    Flattening,  // Of a lone top folder; also the first look at what was unpacked.
    CleanOut,    // Of a reinstall.
    Copying,
    Uninstaller,
    Registration,
    CleanUp,
};
inline constexpr std::array<std::wstring_view, 9> kPhaseNames{
    L"download", L"hash",        L"unpacking",    L"flattening", L"clean-out",
    L"copying",  L"uninstaller", L"registration", L"clean-up"};

enum class Intervention {
    None,
    DieBefore,     // The process ends instead of making the call,
    DieAfter,      // or when the call has been made,
    DieHalfWay,    // or in the middle: half of a file is copied or written, the rest missing,
    DieStretched,  // or half of a file is copied, but the file already has its full size.
};
inline constexpr std::array<std::wstring_view, 5> kInterventionNames{
    L"none", L"die-before", L"die-after", L"die-halfway", L"die-stretched"};

// How the process ends.
inline constexpr int kJobSucceeded = 0;
inline constexpr int kJobFailed = 1;
inline constexpr int kUsageError = 2;
inline constexpr int kKilled = 77;
inline constexpr int kKilledLate = 78;
