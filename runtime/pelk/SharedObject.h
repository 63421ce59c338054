#pragma once

#include "pelk/Export.h"
#include "pelk/ThreadControl.h"

#include <atomic>
#include <cstdint>

namespace Pelk {

// Base of everything that a Ptr can hold: an object with a 32-bit use-count word.
//
// An object is born with one use, its maker's, which makePtr() hands to the first
// Ptr. So a guard that is taken and dropped inside a constructor cannot destroy the
// object that is being made.
//
// When the last use goes, lastUserHook() runs, once, and then the object is deleted.
// While that happens the object is marked as dying: uses that its own destructor
// takes and drops (a guard in a handler that the teardown runs) are ignored.
//
// Threads: counts may be changed from several threads while ThreadControl says so;
// everything else of an object belongs to the event thread.
class PELK_EXPORT SharedObject {
 public:
   // The bits of the word that count. Bits 29 and 30 are flags. Frozen.
   static constexpr uint32_t kCountMask = 0x9fffffff;
   // Bit 29: teardown of the object has begun; its callbacks do nothing any more.
   static constexpr uint32_t kBeingDeleted = 1u << 29;
   // Bit 30: the last use is gone and the destructor is due or running.
   static constexpr uint32_t kDying = 1u << 30;

   SharedObject(SharedObject const&) = delete;
   SharedObject& operator=(SharedObject const&) = delete;

   // How many uses the object has, of handles and others.
   uint32_t useCount() const noexcept { return word() & kCountMask; }
   // Whether teardown has begun: callbacks do nothing any more.
   bool isBeingDeleted() const noexcept { return (word() & kBeingDeleted) != 0; }

   // One use more, and one less, of an object or of none: what a Ptr does when it is
   // copied and dropped.
   static void useInc(SharedObject const* object) noexcept {
      if (isPlain(object)) {
         ++object->word_;
      } else if (object != nullptr) {
         std::atomic_ref(object->word_).fetch_add(1, std::memory_order_relaxed);
      }
   }
   static void useDec(SharedObject const* object) noexcept {
      if (isPlain(object)) {
         if ((--object->word_ & kCountMask) == 0) [[unlikely]] {
            object->lastUseGone();
         }
      } else if (object != nullptr) {
         auto const before =
            std::atomic_ref(object->word_).fetch_sub(1, std::memory_order_acq_rel);
         if (((before - 1) & kCountMask) == 0) [[unlikely]] {
            object->lastUseGone();
         }
      }
   }

 protected:
   SharedObject() noexcept = default;
   virtual ~SharedObject() = default;

   // Runs once, when the last use has gone and before the destructor. What it takes
   // a use of may outlive it, except this object.
   virtual void lastUserHook() noexcept {}

   // Marks the object as being deleted; see kBeingDeleted. There is no way back.
   void beingDeletedIs() noexcept;

 private:
   uint32_t word() const noexcept {
      return std::atomic_ref(word_).load(std::memory_order_relaxed);
   }
   // Certain, not just likely, for the compiler: it then puts the atomic operations out
   // of the way, which makes plain counting a tenth faster and costs them nothing.
   static bool isPlain(SharedObject const* object) noexcept {
      return __builtin_expect_with_probability(ThreadControl::countsPlainly(object), 1,
                                               1.0);
   }
   void lastUseGone() const noexcept;

   alignas(std::atomic_ref<uint32_t>::required_alignment) mutable uint32_t word_ = 1;
};

} // namespace Pelk
