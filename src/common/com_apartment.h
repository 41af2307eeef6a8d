#pragma once

#include "common/windows_api.h"

// COM on this thread, single-threaded as the shell's objects want it, as long as the object lives.
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
