#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "common/windows_api.h"

// Notes the calls that a piece of the program makes to the system's functions for files, folders,
// paths, programs and the registry, and makes chosen ones fail. Closing a handle is left out: it
// does not fail, and a program that is told so could not do anything about it.

enum class FaultMode {
    Once,        // That one call.
    FromThenOn,  // That call and all later ones, as when a drive is unplugged.
    SamePath,    // That function from then on for that call's path, as with a locked folder.
};

struct Fault {
    size_t number = 0;  // Of the call, counted from 1; 0 for no fault.
    FaultMode mode = FaultMode::Once;
    DWORD error = ERROR_SUCCESS;
};

struct SystemCall {
    std::string function;
    std::wstring path;  // Named or opened before; empty for a call without one.
    std::wstring step;  // The record's headline and detail line at that moment.
};

// Does the work on this thread, with the fault in it, and returns the calls that the thread made
// meanwhile.
std::vector<SystemCall> CallsDuring(const std::function<void()>& work, const Fault& fault = {});

// As long as the object lives, the thread's calls are neither noted nor failed.
class Uncounted {
public:
    Uncounted();
    ~Uncounted();
    Uncounted(const Uncounted&) = delete;
    Uncounted& operator=(const Uncounted&) = delete;

private:
    DWORD former_;
};
