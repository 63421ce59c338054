#include "pelk/Subscription.h"

#include "pelk/Publisher.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <vector>

namespace {

struct Source : Pelk::SharedObject, Pelk::Publisher {};

class Follower {
 public:
   void handle(Pelk::Publisher*, Pelk::Subscriber*, int16_t attributeId, void const*,
               void const*) noexcept {
      seen.push_back(attributeId);
   }

   std::vector<int16_t> seen;
   Pelk::Subscription<Follower, Source> subscription =
      Pelk::Subscription<Follower, Source>::of<&Follower::handle>(this);
};

TEST(Subscription, FollowsNobodyAtFirst) {
   Follower const follower;
   EXPECT_FALSE(follower.subscription.source());
}

TEST(Subscription, CallsItsOwnerForEachChangeOfItsSource) {
   auto const source = Pelk::makePtr<Source>();
   Follower follower;
   follower.subscription.sourceIs(source);
   source->publishChangeRecursive(258);
   source->publishChangeRecursive(259);
   EXPECT_EQ(follower.seen, (std::vector<int16_t>{258, 259}));
}

TEST(Subscription, HoldsAUseOfItsSourceWhileSubscribed) {
   auto const source = Pelk::makePtr<Source>();
   {
      Follower follower;
      follower.subscription.sourceIs(source);
      EXPECT_EQ(source->useCount(), 2u);
      follower.subscription.sourceIs(nullptr);
      EXPECT_EQ(source->useCount(), 1u);
      EXPECT_EQ(source->subscribers(), 0u);
      follower.subscription.sourceIs(source);
   }
   EXPECT_EQ(source->useCount(), 1u);
   EXPECT_EQ(source->subscribers(), 0u);
}

TEST(Subscription, MovesFromOneSourceToAnother) {
   auto const first = Pelk::makePtr<Source>();
   auto const second = Pelk::makePtr<Source>();
   Follower follower;
   follower.subscription.sourceIs(first);
   follower.subscription.sourceIs(second);
   EXPECT_EQ(follower.subscription.source(), second);
   first->publishChangeRecursive(1);
   second->publishChangeRecursive(2);
   EXPECT_EQ(follower.seen, std::vector<int16_t>{2});
   EXPECT_EQ(first->useCount(), 1u);
}

TEST(Subscription, ToTheSameSourceAgainKeepsItsPlaceInTheOrder) {
   auto const source = Pelk::makePtr<Source>();
   static std::vector<int> order;
   struct Numbered {
      void handle(Pelk::Publisher*, Pelk::Subscriber*, int16_t, void const*,
                  void const*) noexcept {
         order.push_back(number);
      }
      int number;
      Pelk::Subscription<Numbered, Source> subscription =
         Pelk::Subscription<Numbered, Source>::of<&Numbered::handle>(this);
   };
   Numbered first{1};
   Numbered second{2};
   first.subscription.sourceIs(source);
   second.subscription.sourceIs(source);
   first.subscription.sourceIs(source);
   source->publishChangeRecursive(1);
   EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(Subscription, KeepsItsSourceAlive) {
   Follower follower;
   follower.subscription.sourceIs(Pelk::makePtr<Source>());
   EXPECT_EQ(follower.subscription.source()->useCount(), 1u);
   EXPECT_EQ(follower.subscription.source()->subscribers(), 1u);
}

TEST(Subscription, OfAnOwnerWhoseConstructorFailsIsGone) {
   struct Failing : Follower {
      explicit Failing(Pelk::Ptr<Source> const& source) {
         subscription.sourceIs(source);
         throw std::runtime_error("no");
      }
   };
   auto const source = Pelk::makePtr<Source>();
   EXPECT_THROW(Failing{source}, std::runtime_error);
   EXPECT_EQ(source->subscribers(), 0u);
   EXPECT_EQ(source->useCount(), 1u);
}

TEST(Subscription, MayEndInsideItsOwnHandler) {
   struct OneShot {
      void handle(Pelk::Publisher*, Pelk::Subscriber*, int16_t, void const*,
                  void const*) noexcept {
         ++calls;
         subscription.sourceIs(nullptr);
      }
      int calls = 0;
      Pelk::Subscription<OneShot, Source> subscription =
         Pelk::Subscription<OneShot, Source>::of<&OneShot::handle>(this);
   };
   auto source = Pelk::makePtr<Source>();
   OneShot oneShot;
   oneShot.subscription.sourceIs(source);
   auto* const bare = source.get();
   source = nullptr; // the subscription holds the last use
   bare->publishChangeRecursive(1);
   EXPECT_EQ(oneShot.calls, 1);
}

} // namespace
