#pragma once

#include "pelk/Ptr.h"
#include "pelk/Subscriber.h"

#include <utility>

namespace Pelk {

// What an owner follows: a Subscriber together with the counted publisher that it is
// added to. Holds a use of the publisher while it is subscribed, and unsubscribes when
// it goes, so an owner that fails in its constructor leaves no subscription behind.
//
// Event thread only.
template <typename Owner, typename Source>
class Subscription {
 public:
   // Handler is a member function of Owner; see MemberSubscriber.
   template <typename MemberSubscriber<Owner>::Handler handler>
   static Subscription of(Owner* owner) noexcept {
      return Subscription(std::integral_constant<decltype(handler), handler>{}, owner);
   }
   Subscription(Subscription const&) = delete;
   Subscription& operator=(Subscription const&) = delete;
   ~Subscription() { sourceIs(nullptr); }

   // What is followed, or null.
   Ptr<Source const> const& source() const noexcept { return source_; }

   // Unsubscribes from the old source and subscribes to the new one; nothing when they
   // are the same object.
   void sourceIs(Ptr<Source const> source) {
      if (source == source_) {
         return;
      }
      if (source_) {
         source_->subscriberRemove(&subscriber_);
      }
      source_ = std::move(source);
      if (source_) {
         source_->subscriberAdd(&subscriber_, 0);
      }
   }

 private:
   template <typename Handler, Handler handler>
   Subscription(std::integral_constant<Handler, handler>, Owner* owner) noexcept
      : subscriber_(MemberSubscriber<Owner>::template of<handler>(owner)) {}

   MemberSubscriber<Owner> subscriber_;
   Ptr<Source const> source_;
};

} // namespace Pelk
