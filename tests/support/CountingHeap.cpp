#include "support/CountingHeap.h"

#include <cstdlib>
#include <new>
#include <utility>

namespace TestSupport {

Heap& heap() noexcept {
   static thread_local constinit Heap ours;
   return ours;
}

} // namespace TestSupport

void* operator new(std::size_t size) {
   auto& heap = TestSupport::heap();
   ++heap.allocations;
   heap.bytes += size;
   if (heap.allowed == 0) {
      throw std::bad_alloc();
   }
   heap.allowed -= heap.allowed > 0 ? 1 : 0;
   if (void* const memory = std::malloc(size)) {
      return memory;
   }
   throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
   std::free(memory);
   if (memory == nullptr) {
      return;
   }
   auto& heap = TestSupport::heap();
   ++heap.releases;
   if (heap.whenReleased != nullptr) {
      std::exchange(heap.whenReleased, nullptr)();
   }
}

void operator delete(void* memory, std::size_t) noexcept {
   operator delete(memory);
}
