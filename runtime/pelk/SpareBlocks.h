#pragma once

#include "pelk/Export.h"
#include "pelk/ThreadControl.h"

#include <cstddef>
#include <cstdint>
#include <new>

namespace Pelk {

// Memory for the objects of one class that come and go one by one: a few blocks of
// those that went are kept for the next ones, which takes a tenth of the instructions
// of the allocator. A class uses it with an operator new that asks allocate(), and an
// operator delete that hands the memory to release(). What is kept stays to the end of
// the process.
//
// While the process runs more than one thread (ThreadControl) nothing is kept or taken,
// since an object may go on any of them. Nor is anything where accesses are checked
// that come too late.
class PELK_EXPORT SpareBlocks {
 public:
   // No more than this many are kept.
   static constexpr uint32_t kMost = 64;

   constexpr SpareBlocks() noexcept = default;
   SpareBlocks(SpareBlocks const&) = delete;
   SpareBlocks& operator=(SpareBlocks const&) = delete;

   // Memory for one object. All calls are for the same size, of a pointer at least.
   // Raises std::bad_alloc.
   void* allocate(size_t size) {
      if (first_ == nullptr || ThreadControl::multiThreaded()) {
         return ::operator new(size);
      }
      --count_;
      void* const memory = first_;
      first_ = first_->next;
      return memory;
   }
   // Takes back the memory of an object that is gone.
   void release(void* memory) noexcept {
      if (!kKeeps || count_ == kMost || ThreadControl::multiThreaded()) {
         ::operator delete(memory);
         return;
      }
      ++count_;
      first_ = ::new (memory) Spare{first_};
   }

   // Whether it keeps anything in this build.
#if defined(__SANITIZE_ADDRESS__)
   static constexpr bool kKeeps = false;
#elif defined(__has_feature)
   static constexpr bool kKeeps = !__has_feature(address_sanitizer);
#else
   static constexpr bool kKeeps = true;
#endif

 private:
   struct Spare {
      Spare* next;
   };

   Spare* first_ = nullptr;
   uint32_t count_ = 0;
};

} // namespace Pelk
