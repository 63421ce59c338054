#include "pelk/Publisher.h"

#include "support/DeathMessages.h"

#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

struct TestPublisher : Pelk::Publisher {};

// What the callbacks were told, in order.
using Log = std::vector<std::string>;

// Writes its name into the log when it is called, and then acts.
class Listener : public Pelk::Subscriber {
 public:
   Listener(std::string name, Log* log)
      : Subscriber(&called), name_(std::move(name)), log_(log) {}

   std::function<void()> action;

 private:
   static void called(Pelk::Publisher*, Pelk::Subscriber* subscriber, int16_t,
                      void const*, void const*) noexcept {
      auto* const self = static_cast<Listener*>(subscriber);
      self->log_->push_back(self->name_);
      if (auto const acting = self->action) { // a copy, which the action may replace
         acting();
      }
   }

   std::string name_;
   Log* log_;
};

class PublisherTest : public testing::Test {
 protected:
   // Destroyed in this order: listeners may be subscribed to the end.
   ~PublisherTest() override { publisher.reset(); }

   void subscribe(std::initializer_list<Listener*> listeners) {
      for (auto* listener : listeners) {
         publisher->subscriberAdd(listener, 0);
      }
   }
   Log published() {
      publisher->publishChangeRecursive(1);
      return std::exchange(log, {});
   }

   Log log;
   std::unique_ptr<TestPublisher> publisher = std::make_unique<TestPublisher>();
   Listener a{"a", &log};
   Listener b{"b", &log};
   Listener c{"c", &log};
};

TEST_F(PublisherTest, WithoutSubscribersCallsNobody) {
   EXPECT_EQ(published(), Log{});
   EXPECT_EQ(publisher->subscribers(), 0u);
}

TEST_F(PublisherTest, IsOneWordWide) {
   EXPECT_EQ(sizeof(TestPublisher), sizeof(void*));
}

TEST_F(PublisherTest, CallsInTheOrderOfSubscription) {
   subscribe({&b, &c, &a});
   EXPECT_EQ(published(), (Log{"b", "c", "a"}));
}

TEST_F(PublisherTest, HandsOnWhoWhatKeyAndValue) {
   struct Call {
      Pelk::Publisher* publisher;
      Pelk::Subscriber* subscriber;
      int16_t id;
      void const* key;
      void const* value;
      bool operator==(Call const&) const = default;
   };
   static std::vector<Call> calls;
   Pelk::Subscriber subscriber(
      [](Pelk::Publisher* p, Pelk::Subscriber* s, int16_t id, void const* key,
         void const* value) noexcept { calls.push_back({p, s, id, key, value}); });
   publisher->subscriberAdd(&subscriber, 0);
   int const key = 1;
   int const value = 2;
   publisher->publishChangeRecursive(272, &key, &value);
   publisher->publishChangeRecursive(-1, &key);
   publisher->publishChangeRecursive(131);
   auto* const from = static_cast<Pelk::Publisher*>(publisher.get());
   EXPECT_EQ(calls, (std::vector<Call>{{from, &subscriber, 272, &key, &value},
                                       {from, &subscriber, -1, &key, nullptr},
                                       {from, &subscriber, 131, nullptr, nullptr}}));
   publisher->subscriberRemove(&subscriber);
}

TEST_F(PublisherTest, AddingAPresentSubscriberChangesNothing) {
   subscribe({&a, &a});
   EXPECT_EQ(publisher->subscribers(), 1u);
   subscribe({&b, &a, &b});
   EXPECT_EQ(published(), (Log{"a", "b"}));
   EXPECT_EQ(a.subscriptions(), 1u);
   publisher->subscriberRemove(&a);
   EXPECT_EQ(published(), Log{"b"});
}

TEST_F(PublisherTest, RemovingAnAbsentSubscriberChangesNothing) {
   publisher->subscriberRemove(&a);
   subscribe({&a});
   publisher->subscriberRemove(&b);
   subscribe({&b});
   publisher->subscriberRemove(&c);
   EXPECT_EQ(published(), (Log{"a", "b"}));
}

TEST_F(PublisherTest, TellsWhoIsSubscribed) {
   subscribe({&a, &b});
   EXPECT_TRUE(publisher->subscriberHas(&a));
   EXPECT_FALSE(publisher->subscriberHas(&c));
   EXPECT_FALSE(publisher->subscriberHas(nullptr));
   EXPECT_EQ(publisher->subscribers(), 2u);
   publisher->subscriberRemove(&a);
   EXPECT_FALSE(publisher->subscriberHas(&a));
   EXPECT_EQ(publisher->subscribers(), 1u);
}

TEST_F(PublisherTest, ASubscriberMayFollowSeveralPublishers) {
   TestPublisher other;
   subscribe({&a});
   other.subscriberAdd(&a, 0);
   EXPECT_EQ(a.subscriptions(), 2u);
   other.publishChangeRecursive(1);
   EXPECT_EQ(published(), (Log{"a", "a"}));
}

TEST_F(PublisherTest, OneRemovedDuringAPublishIsNotCalled) {
   subscribe({&a, &b, &c});
   a.action = [&] { publisher->subscriberRemove(&b); };
   EXPECT_EQ(published(), (Log{"a", "c"}));
   EXPECT_EQ(publisher->subscribers(), 2u);
}

TEST_F(PublisherTest, OneThatRemovesItselfIsCalledNoMore) {
   subscribe({&a});
   a.action = [&] { publisher->subscriberRemove(&a); };
   EXPECT_EQ(published(), Log{"a"});
   EXPECT_EQ(published(), Log{});
   subscribe({&a, &b});
   EXPECT_EQ(published(), (Log{"a", "b"}));
   EXPECT_EQ(published(), Log{"b"});
}

TEST_F(PublisherTest, OneRemovedDuringAPublishMayBeDestroyedThen) {
   auto gone = std::make_unique<Listener>("gone", &log);
   subscribe({&a, gone.get(), &c});
   a.action = [&] {
      publisher->subscriberRemove(gone.get());
      gone.reset();
   };
   EXPECT_EQ(published(), (Log{"a", "c"}));
}

TEST_F(PublisherTest, OneMayRemoveAndDestroyItself) {
   auto gone = std::make_unique<Listener>("gone", &log);
   subscribe({&a, gone.get(), &c});
   auto* const self = gone.get();
   gone->action = [&, self] {
      publisher->subscriberRemove(self);
      // The action goes with its owner; what it needs has been used by now.
      delete gone.release();
   };
   EXPECT_EQ(published(), (Log{"a", "gone", "c"}));
}

TEST_F(PublisherTest, OneAddedDuringAPublishIsNotCalledForIt) {
   subscribe({&a});
   a.action = [&] { subscribe({&b}); };
   EXPECT_EQ(published(), Log{"a"});
   EXPECT_EQ(published(), (Log{"a", "b"}));
   b.action = [&] { subscribe({&c}); };
   EXPECT_EQ(published(), (Log{"a", "b"}));
   EXPECT_EQ(published(), (Log{"a", "b", "c"}));
}

TEST_F(PublisherTest, OneRemovedAndAddedAgainStandsAtTheEndAndIsNotCalledForIt) {
   subscribe({&a, &b, &c});
   a.action = [&] {
      publisher->subscriberRemove(&b);
      publisher->subscriberAdd(&b, 0);
   };
   EXPECT_EQ(published(), (Log{"a", "c"}));
   a.action = nullptr;
   EXPECT_EQ(published(), (Log{"a", "c", "b"}));
}

TEST_F(PublisherTest, OneThatMovesItselfToTheEndIsCalledOnce) {
   subscribe({&a, &b});
   a.action = [&] {
      publisher->subscriberRemove(&a);
      publisher->subscriberAdd(&a, 0);
   };
   EXPECT_EQ(published(), (Log{"a", "b"}));
   EXPECT_EQ(published(), (Log{"b", "a"}));
}

TEST_F(PublisherTest, NestedPublishCallsEverybodyBeforeTheOuterGoesOn) {
   subscribe({&a, &b});
   a.action = [&] {
      a.action = nullptr;
      publisher->publishChangeRecursive(2);
   };
   EXPECT_EQ(published(), (Log{"a", "a", "b", "b"}));
}

TEST_F(PublisherTest, NestedPublishCallsOneAddedBeforeItAndTheOuterDoesNot) {
   subscribe({&a, &b});
   a.action = [&] {
      a.action = nullptr;
      subscribe({&c});
      publisher->publishChangeRecursive(2);
   };
   EXPECT_EQ(published(), (Log{"a", "a", "b", "c", "b"}));
}

TEST_F(PublisherTest, RemovalInsideANestedPublishHoldsForTheOuter) {
   subscribe({&a, &b, &c});
   a.action = [&] {
      a.action = [&] { publisher->subscriberRemove(&c); };
      publisher->publishChangeRecursive(2);
   };
   EXPECT_EQ(published(), (Log{"a", "a", "b", "b"}));
   EXPECT_EQ(publisher->subscribers(), 2u);
}

TEST_F(PublisherTest, NestedPublishToASingleSubscriberIsNoFault) {
   subscribe({&a});
   int depth = 0;
   a.action = [&] {
      if (++depth < 5) {
         publisher->publishChangeRecursive(1);
      }
   };
   EXPECT_EQ(published(), Log(5, "a"));
}

TEST_F(PublisherTest, DestroyedByItsOnlySubscriberIsNoFault) {
   subscribe({&a});
   a.action = [&] { publisher.reset(); };
   publisher->publishChangeRecursive(1);
   EXPECT_EQ(log, Log{"a"});
   EXPECT_EQ(a.subscriptions(), 0u);
}

TEST_F(PublisherTest, DestroyedByOneOfManyCallsNobodyElse) {
   subscribe({&a, &b, &c});
   b.action = [&] { publisher.reset(); };
   publisher->publishChangeRecursive(1);
   EXPECT_EQ(log, (Log{"a", "b"}));
   EXPECT_EQ(a.subscriptions() + b.subscriptions() + c.subscriptions(), 0u);
}

TEST_F(PublisherTest, DestroyedInsideANestedPublishEndsTheOuterToo) {
   subscribe({&a, &b, &c});
   a.action = [&] {
      a.action = nullptr;
      b.action = [&] { publisher.reset(); };
      publisher->publishChangeRecursive(2);
   };
   publisher->publishChangeRecursive(1);
   EXPECT_EQ(log, (Log{"a", "a", "b"}));
   EXPECT_EQ(c.subscriptions(), 0u);
}

TEST_F(PublisherTest, DestroyedFromASingleWhichGrewToAListIsNoFault) {
   subscribe({&a});
   a.action = [&] {
      subscribe({&b, &c});
      publisher.reset();
   };
   publisher->publishChangeRecursive(1);
   EXPECT_EQ(log, Log{"a"});
   EXPECT_EQ(b.subscriptions(), 0u);
}

TEST_F(PublisherTest, DestroyedForgetsItsSubscribers) {
   subscribe({&a, &b});
   publisher.reset();
   EXPECT_EQ(a.subscriptions(), 0u);
   EXPECT_EQ(b.subscriptions(), 0u);
}

TEST_F(PublisherTest, KeyAndValueStayReadableForEverySubscriber) {
   static std::vector<std::string> keys;
   auto const readKey = [](Pelk::Publisher*, Pelk::Subscriber*, int16_t,
                           void const* key, void const*) noexcept {
      keys.push_back(*static_cast<std::string const*>(key));
   };
   Pelk::Subscriber first(readKey);
   Pelk::Subscriber second(readKey);
   publisher->subscriberAdd(&first, 0);
   publisher->subscriberAdd(&second, 0);
   std::string const key = "Vlan10";
   publisher->publishChangeRecursive(1, &key);
   EXPECT_EQ(keys, (std::vector<std::string>{"Vlan10", "Vlan10"}));
   publisher.reset();
}

TEST(MemberSubscriberTest, CallsTheMemberFunctionOfItsOwner) {
   struct Owner {
      using Subscriber = Pelk::MemberSubscriber<Owner>;
      void handle(Pelk::Publisher* from, Pelk::Subscriber* through, int16_t id,
                  void const*, void const*) noexcept {
         seen = id;
         publisher = from;
         record = through;
      }
      int seen = 0;
      Pelk::Publisher* publisher = nullptr;
      Pelk::Subscriber* record = nullptr;
      Subscriber subscriber = Subscriber::of<&Owner::handle>(this);
   };
   TestPublisher publisher;
   Owner owner;
   publisher.subscriberAdd(&owner.subscriber, 0);
   publisher.publishChangeRecursive(258);
   EXPECT_EQ(owner.seen, 258);
   EXPECT_EQ(owner.publisher, &publisher);
   EXPECT_EQ(owner.record, &owner.subscriber);
   EXPECT_EQ(owner.subscriber.owner(), &owner);
   publisher.subscriberRemove(&owner.subscriber);
}

constexpr auto kDanglingSubscriber =
   "A subscriber must be removed from its publishers before it goes";

TEST(SubscriberDeathTest, DestroyedWhileItIsTheOnlyOneSubscribedIsFatal) {
   TestPublisher publisher;
   EXPECT_DEATH(
      {
         Log log;
         Listener const listener("a", &log);
         publisher.subscriberAdd(const_cast<Listener*>(&listener), 0);
      },
      Support::assertionMessage(kDanglingSubscriber));
}

TEST(SubscriberDeathTest, DestroyedWhileItIsOneOfManySubscribedIsFatal) {
   TestPublisher publisher;
   Log log;
   Listener stays("stays", &log);
   publisher.subscriberAdd(&stays, 0);
   EXPECT_DEATH(
      {
         Listener goes("goes", &log);
         publisher.subscriberAdd(&goes, 0);
      },
      Support::assertionMessage(kDanglingSubscriber));
   publisher.subscriberRemove(&stays);
}

TEST(PublisherDeathTest, AddingANullSubscriberIsFatal) {
   TestPublisher publisher;
   EXPECT_DEATH(publisher.subscriberAdd(nullptr, 0),
                Support::assertionMessage("A subscriber cannot be null"));
}

[[noreturn]] void fail() {
   throw std::runtime_error("the switch is on fire");
}

TEST(PublisherDeathTest, ExceptionThatEscapesACallbackEndsTheProcess) {
   TestPublisher publisher;
   Pelk::Subscriber subscriber([](Pelk::Publisher*, Pelk::Subscriber*, int16_t,
                                  void const*, void const*) noexcept { fail(); });
   publisher.subscriberAdd(&subscriber, 0);
   auto const publishAndCatch = [&] {
      try {
         publisher.publishChangeRecursive(1);
      } catch (std::runtime_error const&) {
         std::exit(0); // it must not come this far
      }
   };
   EXPECT_DEATH(publishAndCatch(),
                Support::escapedExceptionMessage("the switch is on fire"));
   publisher.subscriberRemove(&subscriber);
}

TEST(PublisherDeathTest, ExceptionThatEscapesOneOfManyCallbacksEndsTheProcess) {
   TestPublisher publisher;
   Log log;
   Listener before("before", &log);
   Listener failing("failing", &log);
   failing.action = fail;
   publisher.subscriberAdd(&before, 0);
   publisher.subscriberAdd(&failing, 0);
   EXPECT_DEATH(publisher.publishChangeRecursive(1),
                Support::escapedExceptionMessage("the switch is on fire"));
   publisher.subscriberRemove(&before);
   publisher.subscriberRemove(&failing);
}

} // namespace
