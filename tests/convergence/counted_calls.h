#pragma once

// Counts what the job asks of the system and intervenes in one chosen call.

#include <map>
#include <optional>
#include <string>
#include <utility>

#include "bench_parts/named_call.h"
#include "common/windows_api.h"
#include "convergence/job_runner.h"

struct ChosenCall {
    Intervention intervention;
    Phase phase;
    std::string function;
    unsigned number;  // Counted from 1 within the phase.
};

using CallCounts = std::map<std::pair<Phase, std::string>, unsigned>;

// From then on the calls of all threads but the caller's count. Once, before the job.
void BeginCounting(const std::optional<ChosenCall>& chosenCall);

// When the job has ended.
const CallCounts& CountedCalls();

// The next call's count, and what is to be done with it. Does not return when the process is to
// end before the call.
Intervention NoteCall(const char* function);

// Ends the process when the intervention is one that ends it.
void NoteReturn(const char* function, Intervention intervention);

[[noreturn]] void Die(int exitCode = kKilled);

// A copy that has come half-way; `stretched` makes the target as long as the source.
void CopyHalf(const wchar_t* source, const wchar_t* target, bool stretched);

struct CountCall {
    template <bench::FunctionName kName, typename Result, typename... Arguments>
    static Result Call(Result(WINAPI* original)(Arguments...), Arguments... arguments) {
        const Intervention intervention = NoteCall(kName.text);
        if (intervention == Intervention::DieHalfWay ||
            intervention == Intervention::DieStretched) {
            DoHalf<kName>(intervention, original, arguments...);
        }
        const Result result = original(arguments...);
        const DWORD error = ::GetLastError();
        NoteReturn(kName.text, intervention);
        ::SetLastError(error);
        return result;
    }

private:
    // Ends the process; returns only if the call cannot be done by half.
    template <bench::FunctionName kName, typename Function, typename... Arguments>
    static void DoHalf([[maybe_unused]] Intervention intervention,
                       [[maybe_unused]] Function original,
                       [[maybe_unused]] Arguments... arguments) {
        if constexpr (kName.Is("CopyFileW")) {
            [=](const wchar_t* source, const wchar_t* target, BOOL) {
                CopyHalf(source, target, intervention == Intervention::DieStretched);
            }(arguments...);
            Die();
        } else if constexpr (kName.Is("WriteFile")) {
            [=](auto file, const void* bytes, auto size, auto... others) {
                original(file, bytes, size / 2, others...);
            }(arguments...);
            Die();
        }
    }
};

// A function that is counted as long as the object lives.
template <const wchar_t* kDll, bench::FunctionName kName, typename Function>
using CountedCall = bench::NamedCall<CountCall, kDll, kName, Function>;
