#pragma once

#include "pelk/Export.h"

#include <cstdint>

namespace Pelk {

class Publisher;

// A record that holds one callback. A Publisher that it was added to calls it for
// every change, from inside the call that makes the change.
//
// The callback is noexcept: an exception that leaves it ends the process through
// std::terminate, whose message names the exception.
//
// A record may be added to several publishers. It must be removed from each, or they
// must be gone, before it is destroyed; anything else would leave a dangling callback
// and is a fatal assertion.
//
// Event thread only.
class PELK_EXPORT Subscriber {
 public:
   // publisher: who changed. subscriber: the record through which the call came.
   // attributeId: which attribute. key: the member, for a keyed attribute, else null.
   // value: what stands there after the change; null when a member was removed or
   // when the publisher offers no value.
   using Callback = void (*)(Publisher* publisher, Subscriber* subscriber,
                             int16_t attributeId, void const* key,
                             void const* value) noexcept;

   explicit Subscriber(Callback callback) noexcept : callback_(callback) {}
   Subscriber(Subscriber const&) = delete;
   Subscriber& operator=(Subscriber const&) = delete;
   ~Subscriber();

   // The number of publishers that would call this record.
   uint32_t subscriptions() const noexcept { return subscriptions_; }

 private:
   friend class Publisher;

   Callback callback_;
   uint32_t subscriptions_ = 0;
};

// A Subscriber whose callback is a member function of its owner. The owner must
// outlive the record; usually it holds it as a member.
template <typename Owner>
class MemberSubscriber : public Subscriber {
 public:
   // The arguments are those of Subscriber::Callback.
   using Handler = void (Owner::*)(Publisher* publisher, Subscriber* subscriber,
                                   int16_t attributeId, void const* key,
                                   void const* value) noexcept;

   // The handler is a template argument, so that the call through the record is the
   // only indirect one: MemberSubscriber<Owner>::of<&Owner::handler>(owner).
   template <Handler handler>
   static MemberSubscriber of(Owner* owner) noexcept {
      return MemberSubscriber(owner, [](Publisher* publisher, Subscriber* subscriber,
                                        int16_t attributeId, void const* key,
                                        void const* value) noexcept {
         auto* self = static_cast<MemberSubscriber*>(subscriber)->owner_;
         (self->*handler)(publisher, subscriber, attributeId, key, value);
      });
   }

   // Whose member function is called.
   Owner* owner() const noexcept { return owner_; }

 private:
   MemberSubscriber(Owner* owner, Callback callback) noexcept
      : Subscriber(callback), owner_(owner) {}

   Owner* owner_;
};

} // namespace Pelk
