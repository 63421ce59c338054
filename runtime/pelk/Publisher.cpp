#include "pelk/Publisher.h"

#include "pelk/Assert.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace Pelk {

// Lives on the heap by itself, so that a publish under way can still look at it after
// a callback has destroyed the publisher.
struct Publisher::List {
   std::vector<Subscriber*> slots; // null: removed while a publish was under way
   uint32_t publishing = 0;        // how many publishes walk the slots
   bool holes = false;             // some slot is null
   bool orphan = false;            // the publisher is gone

   auto find(Subscriber const* subscriber) {
      return std::ranges::find(slots, subscriber);
   }
};

Subscriber::~Subscriber() {
   PELK_ASSERT(subscriptions_ == 0,
               "A subscriber must be removed from its publishers before it goes");
}

void Publisher::subscriberAdd(Subscriber* subscriber,
                              [[maybe_unused]] uint32_t reserved) const {
   PELK_ASSERT(subscriber != nullptr, "A subscriber cannot be null");
   if (subscriberHas(subscriber)) {
      return;
   }
   if (word_ == 0) {
      word_ = reinterpret_cast<uintptr_t>(subscriber);
   } else if (isList()) {
      list()->slots.push_back(subscriber);
   } else {
      auto grown = std::make_unique<List>();
      grown->slots.reserve(2);
      grown->slots.push_back(single());
      grown->slots.push_back(subscriber);
      word_ = reinterpret_cast<uintptr_t>(grown.release()) + 1;
   }
   ++subscriber->subscriptions_;
}

void Publisher::subscriberRemove(Subscriber* subscriber) const noexcept {
   if (!subscriberHas(subscriber)) {
      return;
   }
   if (!isList()) {
      word_ = 0;
   } else {
      auto slot = list()->find(subscriber);
      if (list()->publishing != 0) {
         *slot = nullptr;
         list()->holes = true;
      } else {
         list()->slots.erase(slot);
      }
   }
   --subscriber->subscriptions_;
}

bool Publisher::subscriberHas(Subscriber const* subscriber) const noexcept {
   if (subscriber == nullptr || word_ == 0) {
      return false;
   }
   if (!isList()) {
      return single() == subscriber;
   }
   return list()->find(subscriber) != list()->slots.end();
}

uint32_t Publisher::subscribers() const noexcept {
   if (word_ == 0) {
      return 0;
   }
   if (!isList()) {
      return 1;
   }
   auto const& slots = list()->slots;
   return static_cast<uint32_t>(
      std::count_if(slots.begin(), slots.end(), [](auto* slot) { return slot; }));
}

void Publisher::publishToList(int16_t attributeId, void const* key,
                              void const* value) noexcept {
   List* const subscribers = list();
   size_t const present = subscribers->slots.size();
   ++subscribers->publishing;
   for (size_t i = 0; i < present && !subscribers->orphan; ++i) {
      if (auto* subscriber = subscribers->slots[i]) {
         subscriber->callback_(this, subscriber, attributeId, key, value);
      }
   }
   if (--subscribers->publishing != 0) {
      return;
   }
   if (subscribers->orphan) {
      delete subscribers;
      return;
   }
   if (subscribers->holes) {
      std::erase(subscribers->slots, nullptr);
      subscribers->holes = false;
   }
}

void Publisher::forgetAll() noexcept {
   if (!isList()) {
      --single()->subscriptions_;
      return;
   }
   for (auto*& subscriber : list()->slots) {
      if (subscriber != nullptr) {
         --subscriber->subscriptions_;
         subscriber = nullptr;
      }
   }
   if (list()->publishing != 0) {
      list()->orphan = true;
   } else {
      delete list();
   }
}

} // namespace Pelk
