// What the compiler's stack protector and checked functions need at run time, in place of MinGW's
// libssp. That gets its random number from the system's cryptography, which loads several DLLs at
// each start of a program.

#include <cstdint>

#include "common/windows_api.h"

namespace {

constexpr uintptr_t kInitialGuard = 0x2B99'2DDF'A232;

constexpr UINT kStackBufferOverrun = 0xC0000409;  // STATUS_STACK_BUFFER_OVERRUN.

// No more code of this program can be trusted.
[[noreturn]] void EndAtOnce() {
    ::TerminateProcess(::GetCurrentProcess(), kStackBufferOverrun);
    __builtin_trap();
}

uint64_t Mixed(uint64_t value) {
    value = (value ^ value >> 30) * 0xBF58'476D'1CE4'E5B9;
    value = (value ^ value >> 27) * 0x94D0'49BB'1331'11EB;
    return value ^ value >> 31;
}

// From what Microsoft's compiler takes its guard from: times, ids and randomized addresses.
uint64_t UnpredictableNumber() {
    FILETIME time{};
    LARGE_INTEGER counter{};
    ::GetSystemTimePreciseAsFileTime(&time);
    ::QueryPerformanceCounter(&counter);
    const uint64_t ids = uint64_t{::GetCurrentProcessId()} << 32 | ::GetCurrentThreadId();
    const uint64_t ticks = uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
    uint64_t number = Mixed(reinterpret_cast<uintptr_t>(&time));
    number = Mixed(number ^ reinterpret_cast<uintptr_t>(&EndAtOnce));
    number = Mixed(number ^ ids);
    number = Mixed(number ^ ticks);
    return Mixed(number ^ static_cast<uint64_t>(counter.QuadPart));
}

}  // namespace

// The compiler fixes these names.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {

uintptr_t __stack_chk_guard = kInitialGuard;

[[noreturn]] void __stack_chk_fail() {
    EndAtOnce();
}

void __chk_fail() {
    EndAtOnce();
}
}

namespace {

// Before other constructors. Not protected itself: the guard changes while it runs.
[[gnu::constructor(101), gnu::no_stack_protector]] void SetGuard() {
    // A zero byte stops string functions that overrun a buffer.
    __stack_chk_guard = UnpredictableNumber() & ~uint64_t{0xFF};
}

}  // namespace
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
