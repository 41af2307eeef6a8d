#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "bench_parts/import_hook.h"
#include "common/windows_api.h"

// Hooks for many functions that are all treated alike (HookCall is for a single one):
//
//   struct Policy {
//       template <FunctionName kName, class Result, class... Arguments>
//       static Result Call(Result(WINAPI* original)(Arguments...), Arguments... arguments);
//   };
//   NamedCall<Policy, kKernel32, "CopyFileW", decltype(&::CopyFileW)> hook;
//
// `original` is what calls reached before: the real function, or an earlier hook. Nothing happens
// if the program does not import the function. One object for each function.

namespace bench {

template <size_t kSize>
struct FunctionName {
    // Implicit, so that a string literal can be the template argument.
    constexpr FunctionName(const char (&name)[kSize]) {
        std::copy_n(name, kSize, text);
    }
    [[nodiscard]] constexpr bool Is(std::string_view name) const {
        return name == text;
    }

    char text[kSize]{};
};

template <class Policy, const wchar_t* kDll, FunctionName kName, class Function>
class NamedCall;

template <class Policy, const wchar_t* kDll, FunctionName kName, class Result, class... Arguments>
class NamedCall<Policy, kDll, kName, Result(WINAPI*)(Arguments...)> {
public:
    NamedCall() : hook_(kDll, kName.text, reinterpret_cast<void*>(&Replacement)) {
        original = hook_.template Original<Result(WINAPI*)(Arguments...)>();
    }
    [[nodiscard]] bool Installed() const {
        return hook_.Installed();
    }
    static const char* Name() {
        return kName.text;
    }

private:
    static Result WINAPI Replacement(Arguments... arguments) {
        return Policy::template Call<kName>(original, arguments...);
    }

    static inline Result(WINAPI* original)(Arguments...) = nullptr;
    ImportHook hook_;
};

}  // namespace bench
