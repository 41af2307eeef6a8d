#pragma once

// Counts what the job asks of the system and intervenes in one chosen call.

#include <algorithm>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "bench_parts/import_hook.h"
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

template <size_t kSize>
struct FunctionName {
    // A name is written where a FunctionName is wanted, so the constructor must convert.
    constexpr FunctionName(const char (&name)[kSize]) {
        std::copy_n(name, kSize, text);
    }
    [[nodiscard]] constexpr bool Is(std::string_view name) const {
        return name == text;
    }

    char text[kSize]{};
};

// A function of a DLL that is counted as long as the object lives. Nothing happens when the program
// does not import it. One object for one function.
template <const wchar_t* kDll, FunctionName kName, typename Function>
class CountedCall;

template <const wchar_t* kDll, FunctionName kName, typename Result, typename... Arguments>
class CountedCall<kDll, kName, Result(Arguments...)> {
    using Function = Result (*)(Arguments...);

public:
    CountedCall() : hook_(kDll, kName.text, reinterpret_cast<void*>(&Replacement)) {
        original = hook_.Original<Function>();
    }

private:
    static Result Replacement(Arguments... arguments) {
        const Intervention intervention = NoteCall(kName.text);
        if (intervention == Intervention::DieHalfWay ||
            intervention == Intervention::DieStretched) {
            DoHalf(intervention, arguments...);
        }
        const Result result = original(arguments...);
        const DWORD error = ::GetLastError();
        NoteReturn(kName.text, intervention);
        ::SetLastError(error);
        return result;
    }

    // Ends the process; comes back when the call knows no half.
    static void DoHalf([[maybe_unused]] Intervention intervention,
                       [[maybe_unused]] Arguments... arguments) {
        if constexpr (kName.Is("CopyFileW")) {
            [=](const wchar_t* source, const wchar_t* target, BOOL) {
                CopyHalf(source, target, intervention == Intervention::DieStretched);
            }(arguments...);
            Die();
        } else if constexpr (kName.Is("WriteFile")) {
            [](auto file, const void* bytes, auto size, auto... others) {
                original(file, bytes, size / 2, others...);
            }(arguments...);
            Die();
        }
    }

    static inline Function original = nullptr;
    bench::ImportHook hook_;
};
