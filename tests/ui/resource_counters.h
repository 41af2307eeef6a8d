#pragma once

#include <cstddef>

namespace bench {

// What this process holds at the moment.
struct ResourceCounters {
    size_t kernelHandles = 0;
    size_t gdiObjects = 0;
    // The only counter that sees GDI+ objects: they are on the heap.
    size_t workingSetBytes = 0;
};

ResourceCounters CountResources();

}  // namespace bench
