#pragma once

#include "pelk/Export.h"
#include "pelk/Subscriber.h"

#include <cstdint>

namespace Pelk {

// Whoever announces changes: every entity, every task.
//
// Notification is synchronous and in the order of subscription. A subscriber that is
// removed during a publish is not called any more; one that is added during it is not
// called for it. A callback may publish again, add and remove subscribers, and drop
// the last use of the publisher itself: publishing touches the publisher no more once
// it is gone, and calls nobody else.
//
// One word in the object; a single subscriber, the usual case, costs no allocation.
//
// Who is subscribed is not part of what a publisher says, so a read-only view of an
// entity can be subscribed to.
//
// Event thread only.
class PELK_EXPORT Publisher {
 public:
   Publisher(Publisher const&) = delete;
   Publisher& operator=(Publisher const&) = delete;

   // Adds the subscriber at the end; one that is present stays where it is, and null is
   // a fatal assertion. The second argument is reserved by the contract and is 0.
   void subscriberAdd(Subscriber* subscriber, uint32_t reserved) const;
   // Removes the subscriber if it is present.
   void subscriberRemove(Subscriber* subscriber) const noexcept;
   bool subscriberHas(Subscriber const* subscriber) const noexcept;
   // How many there are.
   uint32_t subscribers() const noexcept;

   // Calls every subscriber. See Subscriber::Callback for key and value; both must
   // stay readable until this returns, also if the publisher goes meanwhile.
   void publishChangeRecursive(int16_t attributeId, void const* key = nullptr,
                               void const* value = nullptr) noexcept {
      if (word_ == 0) {
         return;
      }
      if (!isList()) {
         auto* subscriber = single();
         subscriber->callback_(this, subscriber, attributeId, key, value);
         return;
      }
      publishToList(attributeId, key, value);
   }

 protected:
   Publisher() noexcept = default;
   ~Publisher() {
      if (word_ != 0) {
         forgetAll();
      }
   }

 private:
   struct List;

   // 0: nobody. Else the address of the one subscriber, or of a List with bit 0 set.
   bool isList() const noexcept { return (word_ & 1) != 0; }
   Subscriber* single() const noexcept { return reinterpret_cast<Subscriber*>(word_); }
   List* list() const noexcept { return reinterpret_cast<List*>(word_ - 1); }

   void publishToList(int16_t attributeId, void const* key, void const* value) noexcept;
   void forgetAll() noexcept;

   mutable uintptr_t word_ = 0;
};

} // namespace Pelk
