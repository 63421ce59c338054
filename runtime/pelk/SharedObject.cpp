#include "pelk/SharedObject.h"

#include <utility>

namespace Pelk {

void SharedObject::beingDeletedIs() noexcept {
   std::atomic_ref(word_).fetch_or(kBeingDeleted, std::memory_order_relaxed);
}

void SharedObject::lastUseGone() const noexcept {
   uint32_t before = 0;
   if (isPlain(this)) {
      before = std::exchange(word_, word_ | kDying);
   } else {
      before = std::atomic_ref(word_).fetch_or(kDying, std::memory_order_relaxed);
   }
   if ((before & kDying) != 0) {
      return;
   }
   auto* self = const_cast<SharedObject*>(this);
   self->lastUserHook();
   delete self;
}

} // namespace Pelk
