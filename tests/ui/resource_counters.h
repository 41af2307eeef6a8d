#pragma once

#include <cstddef>

// What this process holds of the system at the moment.
struct ResourceCounters {
    size_t kernelHandles = 0;
    size_t gdiObjects = 0;
    // Objects of GDI+ live on the heap, where no counter sees them but this one.
    size_t workingSetBytes = 0;
};

ResourceCounters CountResources();
