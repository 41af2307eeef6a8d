#pragma once

#include "common/windows_api.h"

// COM on this thread, as the window's thread has it, as long as the object lives.
class ComApartment {
public:
    ComApartment() {
        ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    }
    ~ComApartment() {
        ::CoUninitialize();
    }
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;
};
