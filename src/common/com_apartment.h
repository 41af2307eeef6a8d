#pragma once

#include "common/windows_api.h"

// Initializes COM on this thread for its own lifetime, single-threaded as the shell's objects need.
class ComApartment {
public:
    ComApartment() : initialized_(SUCCEEDED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {}
    ~ComApartment() {
        if (initialized_) {
            ::CoUninitialize();
        }
    }
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;

private:
    bool initialized_ = false;
};
