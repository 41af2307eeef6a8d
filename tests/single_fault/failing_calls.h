#pragma once

// Counts the calls that a piece of the program makes to the system's functions for files, folders,
// paths, programs and the registry, and makes chosen ones fail.

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "common/windows_api.h"

enum class FaultMode {
    Once,        // That one call.
    FromThenOn,  // That call and all later ones, as when a drive is unplugged.
    SamePath,    // That function from then on for that path, as with a locked folder.
};

struct Fault {
    size_t number = 0;  // Of the call, counted from 1.
    FaultMode mode = FaultMode::Once;
    DWORD error = ERROR_SUCCESS;
};

struct SystemCall {
    const char* function;
    std::wstring path;  // Named or opened before; empty for a call without one.
    std::wstring step;  // The record's headline and detail line at that moment.
};

// The functions are replaced as long as the object lives; one at a time. Closing a handle is left
// out: it does not fail, and a program that is told so could not do anything about it.
class FailingCalls {
public:
    FailingCalls();
    ~FailingCalls();
    FailingCalls(const FailingCalls&) = delete;
    FailingCalls& operator=(const FailingCalls&) = delete;

    // The functions among them that this program does not import.
    [[nodiscard]] const std::vector<std::string>& Missing() const {
        return missing_;
    }

    // Does the work on this thread and returns the calls that the thread made meanwhile.
    static std::vector<SystemCall> NoteDuring(const std::function<void()>& work);

    // Does the work with the fault in it.
    static void FailDuring(const Fault& fault, const std::function<void()>& work);

private:
    std::vector<std::string> missing_;
};

// As long as the object lives, the thread's calls are neither counted nor failed.
class Uncounted {
public:
    Uncounted();
    ~Uncounted();
    Uncounted(const Uncounted&) = delete;
    Uncounted& operator=(const Uncounted&) = delete;

private:
    DWORD former_;
};
