#pragma once

#include "pelk/Publisher.h"
#include "pelk/Subscriber.h"
#include "support/Random.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

// Random scripts, played by a Publisher and by a plain model of what its header says.
namespace TestSupport::Publishing {

inline constexpr size_t kSubscribers = 6;

// The model: a publish walks a copy of the list as it was when it began, and passes
// whoever is no longer subscribed by the same subscription.
class Model {
 public:
   template <typename OnCall>
   void publish(OnCall onCall) {
      auto const atStart = present_;
      for (auto const& subscription : atStart) {
         if (!alive_) {
            return;
         }
         if (std::find(present_.begin(), present_.end(), subscription) !=
             present_.end()) {
            onCall(subscription.first);
         }
      }
   }
   void add(size_t who) {
      if (!has(who)) {
         present_.emplace_back(who, nextSubscription_++);
      }
   }
   void remove(size_t who) {
      std::erase_if(present_, [=](auto const& it) { return it.first == who; });
   }
   bool has(size_t who) const {
      return std::any_of(present_.begin(), present_.end(),
                         [=](auto const& it) { return it.first == who; });
   }
   size_t subscribers() const { return present_.size(); }
   void destroy() {
      alive_ = false;
      present_.clear();
   }
   bool alive() const { return alive_; }

 private:
   std::vector<std::pair<size_t, int>> present_;
   int nextSubscription_ = 0;
   bool alive_ = true;
};

// The same operations on a Publisher.
class Real {
 public:
   ~Real() { publisher_.reset(); }

   template <typename OnCall>
   void publish(OnCall onCall) {
      auto const before = std::exchange(onCall_, onCall);
      publisher_->publishChangeRecursive(1);
      onCall_ = before;
   }
   void add(size_t who) { publisher_->subscriberAdd(&listeners_[who], 0); }
   void remove(size_t who) { publisher_->subscriberRemove(&listeners_[who]); }
   bool has(size_t who) const { return publisher_->subscriberHas(&listeners_[who]); }
   size_t subscribers() const { return publisher_->subscribers(); }
   void destroy() { publisher_.reset(); }
   bool alive() const { return publisher_ != nullptr; }

 private:
   struct TestPublisher : Pelk::Publisher {};
   struct Listener : Pelk::Subscriber {
      Listener() : Subscriber(&called) {}
      static void called(Pelk::Publisher*, Pelk::Subscriber* self, int16_t, void const*,
                         void const*) noexcept {
         auto* const listener = static_cast<Listener*>(self);
         listener->world->onCall_(listener->who);
      }
      Real* world = nullptr;
      size_t who = 0;
   };

   std::function<void(size_t)> onCall_;
   std::unique_ptr<TestPublisher> publisher_ = std::make_unique<TestPublisher>();
   std::array<Listener, kSubscribers> listeners_;

 public:
   Real() {
      for (size_t i = 0; i < kSubscribers; ++i) {
         listeners_[i].world = this;
         listeners_[i].who = i;
      }
   }
};

// Plays one script and returns what happened. Callbacks act too, also by publishing.
template <typename World>
class Script {
 public:
   // destroyWeight: how many of a hundred actions destroy the publisher.
   Script(Random random, int destroyWeight)
      : random_(std::move(random)), destroyWeight_(destroyWeight) {}

   std::vector<std::string> play() {
      for (int step = 0; step < 60 && world_.alive(); ++step) {
         act();
         if (world_.alive()) {
            for (size_t who = 0; who < kSubscribers; ++who) {
               log_.back() += world_.has(who) ? '+' : '-';
            }
            log_.back() += std::to_string(world_.subscribers());
         }
      }
      return std::move(log_);
   }

 private:
   uint32_t below(uint32_t end) { return random_() % end; }

   void act() {
      auto const who = below(kSubscribers);
      auto const kind = below(100);
      if (!world_.alive()) {
         return;
      }
      if (kind < 35) {
         log_.push_back("add " + std::to_string(who));
         world_.add(who);
      } else if (kind < 60) {
         log_.push_back("remove " + std::to_string(who));
         world_.remove(who);
      } else if (static_cast<int>(kind) >= 100 - destroyWeight_) {
         log_.emplace_back("destroy");
         world_.destroy();
      } else if (depth_ < 3 && log_.size() < 2'000) {
         log_.emplace_back("publish");
         ++depth_;
         world_.publish([this](size_t called) {
            log_.push_back("call " + std::to_string(called));
            for (auto actions = below(3); actions > 0; --actions) {
               act();
            }
         });
         --depth_;
         log_.emplace_back("published");
      } else {
         log_.emplace_back("nothing");
      }
   }

   Random random_;
   int destroyWeight_;
   int depth_ = 0;
   World world_;
   std::vector<std::string> log_;
};

} // namespace TestSupport::Publishing
