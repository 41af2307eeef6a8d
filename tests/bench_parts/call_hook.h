#pragma once

#include <gtest/gtest.h>

#include <string_view>
#include <utility>

#include "bench_parts/import_hook.h"
#include "common/windows_api.h"

// ImportHook for callables with captures:
//
//   const auto hook = bench::HookCall<decltype(&::WinHttpOpen)>(
//       L"winhttp.dll", "WinHttpOpen", [&](auto&&...) -> HINTERNET { return nullptr; });
//
// Each lambda has its own type, so each hook in the source has its own slot. The same line must not
// be in use twice at a time.

namespace bench {

template <class Function, class Callable>
class CallHook;

template <class Result, class... Arguments, class Callable>
class CallHook<Result (*)(Arguments...), Callable> {
public:
    CallHook(std::wstring_view dllName, std::string_view functionName, Callable callable)
        : callable_(std::move(callable)),
          hook_((active = &callable_, dllName), functionName, reinterpret_cast<void*>(&Forward)) {
        EXPECT_TRUE(hook_.Installed()) << functionName;
    }
    CallHook(const CallHook&) = delete;
    CallHook& operator=(const CallHook&) = delete;

private:
    static Result WINAPI Forward(Arguments... arguments) {
        return (*active)(arguments...);
    }

    static inline Callable* active = nullptr;

    Callable callable_;
    ImportHook hook_;
};

template <class Function, class Callable>
[[nodiscard]] CallHook<Function, Callable> HookCall(std::wstring_view dllName,
                                                    std::string_view functionName,
                                                    Callable callable) {
    return CallHook<Function, Callable>(dllName, functionName, std::move(callable));
}

// The real function, regardless of hooks.
template <class Function>
Function RealFunction(const wchar_t* dllName, const char* functionName) {
    return reinterpret_cast<Function>(RealAddress(dllName, functionName));
}

// HookCall that runs `before` with the call's arguments and then makes the real call.
template <class Function, class Callable>
[[nodiscard]] auto WatchCall(const wchar_t* dllName, const char* functionName, Callable before) {
    return HookCall<Function>(dllName, functionName, [=](auto... arguments) {
        before(arguments...);
        return RealFunction<Function>(dllName, functionName)(arguments...);
    });
}

}  // namespace bench
