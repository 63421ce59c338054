#pragma once

#include <cstdint>

namespace Soak {

// What operator new handed out and operator delete did not take back, to the byte. A
// program that calls heapInUse() has these two counted. For one thread.
struct Heap {
   uint64_t bytes = 0;
   uint64_t blocks = 0;
};

Heap heapInUse() noexcept;

} // namespace Soak
