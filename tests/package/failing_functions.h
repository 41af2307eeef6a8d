#pragma once

#include <gtest/gtest.h>

#include <array>
#include <future>
#include <mutex>
#include <string_view>
#include <type_traits>

#include "bench_parts/named_call.h"
#include "job/progress/job_progress.h"

// Makes one of the system functions of a download or of a hash fail, and counts what the tested
// code has open. None may be called under the record's lock.

namespace bench {

inline std::string_view failingFunction;  // None when empty.
inline int openHandles = 0;

struct FailFunction {
    template <FunctionName kName, class Result, class... Arguments>
    static Result Call(Result(WINAPI* original)(Arguments...), Arguments... arguments) {
        EXPECT_TRUE(std::async(&IsRecordUnlocked).get()) << kName.text;
        if (kName.Is(failingFunction)) {
            return Failure<Result>();
        }
        openHandles += IsOneOf<kName>(kOpening) ? 1 : 0;
        openHandles -= IsOneOf<kName>(kClosing) ? 1 : 0;
        return original(arguments...);
    }

private:
    static constexpr std::array<std::string_view, 5> kOpening{
        "WinHttpOpen", "WinHttpConnect", "WinHttpOpenRequest", "BCryptOpenAlgorithmProvider",
        "BCryptCreateHash"};
    static constexpr std::array<std::string_view, 3> kClosing{
        "WinHttpCloseHandle", "BCryptDestroyHash", "BCryptCloseAlgorithmProvider"};

    template <FunctionName kName, class Names>
    static constexpr bool IsOneOf(const Names& names) {
        return std::find(names.begin(), names.end(), kName.text) != names.end();
    }

    // On another thread: a thread must not try a lock that it holds.
    static bool IsRecordUnlocked() {
        return std::unique_lock(jobProgress.lock, std::try_to_lock).owns_lock();
    }

    template <class Result>
    static Result Failure() {
        if constexpr (std::is_same_v<Result, HANDLE>) {
            return nullptr;
        } else {
            return std::is_same_v<Result, BOOL> ? FALSE : static_cast<Result>(0xC0000001);
        }
    }
};

template <const wchar_t* kDll, FunctionName kName, class Function>
using FailingFunction = NamedCall<FailFunction, kDll, kName, Function>;

}  // namespace bench
