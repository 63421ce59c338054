#pragma once

#include <cstdint>

// What a test's thread allocates, in programs that are linked with mcast_counting_heap.
namespace TestSupport {

struct Heap {
   uint64_t allocations = 0;
   uint64_t bytes = 0; // that were asked for
   uint64_t releases = 0;
   int64_t allowed = -1;             // allocations that may still succeed; -1 is all
   void (*whenReleased)() = nullptr; // called once, where memory is released next

   // Allocations that were not released.
   uint64_t living() const noexcept { return allocations - releases; }
};
Heap& heap() noexcept;

// While it lives so many allocations succeed, and no more.
class OutOfMemory {
 public:
   explicit OutOfMemory(int64_t allowed) { heap().allowed = allowed; }
   ~OutOfMemory() { heap().allowed = -1; }
   OutOfMemory(OutOfMemory const&) = delete;
   OutOfMemory& operator=(OutOfMemory const&) = delete;
};

} // namespace TestSupport
