#include "soak/Heap.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

Soak::Heap inUse;

// In front of each block stands its size, in as many bytes as keep it aligned.
constexpr size_t kFront = alignof(std::max_align_t);
static_assert(kFront >= sizeof(size_t));

} // namespace

void* operator new(std::size_t size) {
   auto* const block = static_cast<std::byte*>(std::malloc(kFront + size));
   if (block == nullptr) {
      throw std::bad_alloc();
   }
   std::memcpy(block, &size, sizeof size);
   inUse.bytes += size;
   ++inUse.blocks;
   return block + kFront;
}
void operator delete(void* memory) noexcept {
   if (memory == nullptr) {
      return;
   }
   auto* const block = static_cast<std::byte*>(memory) - kFront;
   size_t size = 0;
   std::memcpy(&size, block, sizeof size);
   inUse.bytes -= size;
   --inUse.blocks;
   std::free(block);
}
void operator delete(void* memory, std::size_t) noexcept {
   ::operator delete(memory);
}

// A sanitizer's own would not go through those above.
void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
   try {
      return ::operator new(size);
   } catch (std::bad_alloc const&) {
      return nullptr;
   }
}
void* operator new[](std::size_t size) {
   return ::operator new(size);
}
void* operator new[](std::size_t size, std::nothrow_t const& nothrow) noexcept {
   return ::operator new(size, nothrow);
}
void operator delete[](void* memory) noexcept {
   ::operator delete(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
   ::operator delete(memory);
}

namespace Soak {

Heap heapInUse() noexcept {
   return inUse;
}

} // namespace Soak
