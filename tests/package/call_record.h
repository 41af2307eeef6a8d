#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "bench_parts/call_hook.h"

// Records which system functions the tested code calls, in order and with their arguments, and lets
// one of the calls fail:
//
//   bench::CallRecord record;
//   const bench::RecordedFunction<kWinHttp, "WinHttpOpen", decltype(&::WinHttpOpen)> open(record);
//
// A call looks like "WinHttpConnect(session, 127.0.0.1, 80, 0)". Handles have the names that the
// record gives to the results of functions; a number behind a pointer is "&4", anything else "*".

namespace bench {

struct CallRecord {
    std::vector<std::string> calls;
    // By function: what its result is called.
    std::map<std::string, std::string> resultNames;
    std::map<const void*, std::string> openHandles;
    // The call that begins like this fails; none when empty.
    std::string failingCall;
    std::function<void()> atEachCall = [] {
    };

    std::string Text(const void* pointer) const {
        const auto handle = openHandles.find(pointer);
        return pointer == nullptr ? "null" : handle == openHandles.end() ? "*" : handle->second;
    }
    std::string Text(const wchar_t* text) const {
        return text == nullptr ? "null" : Utf8(text);
    }
    std::string Text(const DWORD* number) const {
        return number == nullptr ? "null" : "&" + std::to_string(*number);
    }
    std::string Text(std::integral auto number) const {
        return std::to_string(number);
    }

    static std::string Utf8(const std::filesystem::path& text) {
        const std::u8string utf8 = text.u8string();
        return {utf8.begin(), utf8.end()};
    }
};

// A function's name as a template argument, so that each function has its own hook.
template <size_t kSize>
struct FunctionName {
    // Converts, so that a template argument can be a literal.
    constexpr FunctionName(const char (&name)[kSize]) {
        std::copy_n(name, kSize, text);
    }

    char text[kSize]{};
};

template <const wchar_t* kDll, FunctionName kName, class Function>
class RecordedFunction;

template <const wchar_t* kDll, FunctionName kName, class Result, class... Arguments>
class RecordedFunction<kDll, kName, Result (*)(Arguments...)> {
public:
    explicit RecordedFunction(CallRecord& record) : hook_(kDll, kName.text, Forward{&record}) {}

private:
    struct Forward {
        CallRecord* record;

        Result operator()(Arguments... arguments) const {
            const auto real = RealFunction<Result (*)(Arguments...)>(kDll, kName.text);
            // Other code closes handles too.
            constexpr bool kCloses = std::string_view(kName.text) == "CloseHandle";
            std::string text;
            ((text += (text.empty() ? "" : ", ") + record->Text(arguments)), ...);
            if constexpr (kCloses) {
                if ((record->openHandles.erase(arguments) + ...) == 0) {
                    return real(arguments...);
                }
            }
            const std::string call = std::string(kName.text) + "(" + text + ")";
            record->calls.push_back(call);
            record->atEachCall();
            if (!record->failingCall.empty() && call.starts_with(record->failingCall)) {
                return Failure();
            }
            const Result result = real(arguments...);
            if constexpr (std::is_pointer_v<Result>) {
                record->openHandles[result] = record->resultNames[kName.text];
            }
            return result;
        }

        static Result Failure() {
            if constexpr (std::is_pointer_v<Result>) {
                const bool isFile = std::string_view(kName.text) == "CreateFileW";
                return isFile ? INVALID_HANDLE_VALUE : nullptr;
            } else {
                // BOOL or NTSTATUS.
                return std::is_same_v<Result, BOOL> ? FALSE : static_cast<Result>(0xC0000001);
            }
        }
    };

    CallHook<Result (*)(Arguments...), Forward> hook_;
};

// Several of them.
template <class... Functions>
struct RecordedFunctions : private Functions... {
    explicit RecordedFunctions(CallRecord& record) : Functions(record)... {}
};

}  // namespace bench
