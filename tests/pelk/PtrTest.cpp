#include "pelk/Ptr.h"

#include <array>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <thread>
#include <type_traits>
#include <unordered_set>
#include <vector>

namespace {

using Pelk::makePtr;
using Pelk::Ptr;
using Pelk::SharedObject;

// What happens to a thing, in order, and how many uses it had then.
using Events = std::vector<std::string>;

class Thing : public SharedObject {
 public:
   explicit Thing(Events* events = nullptr) : events_(events) {}
   ~Thing() override { say("destructor"); }

   void beginDeletion() { beingDeletedIs(); }

 protected:
   void lastUserHook() noexcept override { say("hook"); }
   void say(char const* what) const {
      if (events_ != nullptr) {
         events_->push_back(std::string(what) + " at " + std::to_string(useCount()));
      }
   }

 private:
   Events* events_;
};

class SpecialThing : public Thing {
 public:
   using Thing::Thing;
};

TEST(Ptr, IsOnePointerWide) {
   EXPECT_EQ(sizeof(Ptr<Thing>), sizeof(void*));
}

TEST(SharedObject, KeepsItsCountInOne32BitWord) {
   struct Tail : SharedObject {
      uint32_t tail = 0;
   };
   // The table of virtual functions, the word, and four bytes that are the heir's.
   EXPECT_EQ(sizeof(Tail), sizeof(void*) + 2 * sizeof(uint32_t));
}

TEST(SharedObject, CountsWithoutBits29And30) {
   EXPECT_EQ(SharedObject::kCountMask, 0x9fffffffu);
   EXPECT_EQ(SharedObject::kCountMask & SharedObject::kBeingDeleted, 0u);
   EXPECT_EQ(SharedObject::kCountMask & SharedObject::kDying, 0u);
   EXPECT_EQ(SharedObject::kBeingDeleted, 1u << 29);
   EXPECT_EQ(SharedObject::kDying, 1u << 30);
}

TEST(Ptr, MakePtrAdoptsTheUseThatAnObjectIsBornWith) {
   auto* const bare = new Thing;
   EXPECT_EQ(bare->useCount(), 1u);
   auto const adopted = Ptr<Thing>::adopt(bare);
   EXPECT_EQ(bare->useCount(), 1u);
   EXPECT_EQ(makePtr<Thing>()->useCount(), 1u);
}

TEST(Ptr, CopyingAddsAUseAndDroppingTakesItAway) {
   auto const first = makePtr<Thing>();
   {
      Ptr<Thing> const second = first;
      EXPECT_EQ(first->useCount(), 2u);
      Ptr<Thing> const third(first.get());
      EXPECT_EQ(first->useCount(), 3u);
   }
   EXPECT_EQ(first->useCount(), 1u);
}

TEST(Ptr, MovingKeepsTheCountAndEmptiesTheSource) {
   auto first = makePtr<Thing>();
   Ptr<Thing> second = std::move(first);
   EXPECT_FALSE(first); // a handle that was moved from is null
   EXPECT_EQ(second->useCount(), 1u);
   first = std::move(second);
   EXPECT_FALSE(second);
   EXPECT_EQ(first->useCount(), 1u);
}

TEST(Ptr, LastDropRunsTheHookOnceAndThenTheDestructor) {
   Events events;
   auto first = makePtr<Thing>(&events);
   auto second = first;
   first = nullptr;
   EXPECT_TRUE(events.empty());
   second = nullptr;
   EXPECT_EQ(events, (Events{"hook at 0", "destructor at 0"}));
}

TEST(Ptr, AssignmentDropsTheObjectHeldBefore) {
   Events events;
   auto handle = makePtr<Thing>(&events);
   handle = makePtr<Thing>();
   EXPECT_EQ(events.size(), 2u);
   EXPECT_EQ(handle->useCount(), 1u);
}

TEST(Ptr, AssignmentToItselfChangesNothing) {
   Events events;
   auto handle = makePtr<Thing>(&events);
   auto& same = handle;
   handle = same;
   EXPECT_EQ(handle->useCount(), 1u);
   handle = std::move(same);
   ASSERT_TRUE(handle);
   EXPECT_EQ(handle->useCount(), 1u);
   EXPECT_TRUE(events.empty());
}

TEST(Ptr, AssignmentFromInsideTheObjectThatItDropsIsSafe) {
   struct Node : SharedObject {
      Ptr<Node> next;
   };
   auto list = makePtr<Node>();
   list->next = makePtr<Node>();
   auto* const second = list->next.get();
   list = list->next;
   EXPECT_EQ(list.get(), second);
   EXPECT_EQ(list->useCount(), 1u);
}

TEST(Ptr, HandleIsNullBeforeTheDestructorOfWhatItHeldRuns) {
   struct Owner {
      Ptr<SharedObject> handle;
   };
   struct Curious : SharedObject {
      Curious(Owner* o, bool* s) : owner(o), sawNull(s) {}
      ~Curious() override { *sawNull = !owner->handle; }
      Owner* owner;
      bool* sawNull;
   };
   Owner owner;
   bool sawNull = false;
   owner.handle = makePtr<Curious>(&owner, &sawNull);
   owner.handle = nullptr;
   EXPECT_TRUE(sawNull);
}

TEST(Ptr, ReleaseHandsTheUseOutAndAdoptTakesItBack) {
   auto handle = makePtr<Thing>();
   Thing* const bare = handle.release();
   EXPECT_FALSE(handle);
   EXPECT_EQ(bare->useCount(), 1u);
   handle = Ptr<Thing>::adopt(bare);
   EXPECT_EQ(handle->useCount(), 1u);
}

TEST(Ptr, SwapExchangesTheObjectsAndCountsNothing) {
   auto first = makePtr<Thing>();
   Ptr<Thing> second;
   auto* const object = first.get();
   first.swap(second);
   EXPECT_FALSE(first);
   EXPECT_EQ(second.get(), object);
   EXPECT_EQ(object->useCount(), 1u);
}

TEST(Ptr, ConvertsToABaseAndToConst) {
   auto special = makePtr<SpecialThing>();
   Ptr<Thing> const base = special;
   Ptr<Thing const> const constant = base;
   EXPECT_EQ(special->useCount(), 3u);
   Ptr<SharedObject> const moved = std::move(special);
   EXPECT_FALSE(special);
   EXPECT_EQ(moved->useCount(), 3u);
}

TEST(Ptr, ConvertsNowhereElse) {
   static_assert(!std::is_convertible_v<Ptr<Thing>, Ptr<SpecialThing>>);
   static_assert(!std::is_constructible_v<Ptr<Thing>, Ptr<Thing const>>);
   static_assert(!std::is_convertible_v<Ptr<Thing>, bool>);
   static_assert(!std::is_convertible_v<Ptr<Thing>, Thing*>);
   static_assert(!Pelk::Countable<std::string>);
   static_assert(Pelk::Countable<Thing const>);
}

TEST(Ptr, ComparesByTheObjectHeld) {
   auto const a = makePtr<SpecialThing>();
   auto const b = makePtr<SpecialThing>();
   Ptr<Thing const> const baseOfA = a;
   EXPECT_TRUE(a == baseOfA);
   EXPECT_TRUE(a != b);
   EXPECT_EQ(a<b, b> a);
   EXPECT_NE(a < b, b < a);
   EXPECT_TRUE(Ptr<Thing>() == nullptr);
   EXPECT_TRUE(a != nullptr);
}

TEST(Ptr, KeysOrderedAndHashedContainers) {
   auto const a = makePtr<Thing>();
   auto const b = makePtr<Thing>();
   std::map<Ptr<Thing>, int> ordered{{a, 1}, {b, 2}, {a, 3}};
   EXPECT_EQ(ordered.size(), 2u);
   EXPECT_EQ(ordered[a], 1);
   std::unordered_set<Ptr<Thing>> const hashed{a, b, a};
   EXPECT_EQ(hashed.size(), 2u);
}

// Only a handle is declared here; the type comes below.
class Later;
struct HoldsLater {
   HoldsLater();
   HoldsLater(HoldsLater const&);
   ~HoldsLater();
   Ptr<Later> later;
};
class Later : public SharedObject {};
HoldsLater::HoldsLater() : later(makePtr<Later>()) {}
HoldsLater::HoldsLater(HoldsLater const&) = default;
HoldsLater::~HoldsLater() = default;

TEST(Ptr, IsDeclaredOfATypeThatIsIncomplete) {
   HoldsLater const first;
   HoldsLater const second(first);
   EXPECT_EQ(first.later->useCount(), 2u);
}

// Takes and drops a use of itself when it is made, when its last use went, and when it
// is destroyed.
class Guarded : public Thing {
 public:
   explicit Guarded(Events* events) : Thing(events) { guard("constructor"); }
   ~Guarded() override { guard("destructor guard"); }

 protected:
   void lastUserHook() noexcept override { guard("hook guard"); }

 private:
   void guard(char const* what) {
      Ptr<Guarded> const self(this);
      say(what);
   }
};

TEST(SharedObject, GuardInsideAConstructorDoesNotDestroyTheObject) {
   Events events;
   auto const guarded = makePtr<Guarded>(&events);
   EXPECT_EQ(events, Events{"constructor at 2"});
   EXPECT_EQ(guarded->useCount(), 1u);
}

TEST(SharedObject, GuardsInsideADestructionDestroyNothingTwice) {
   Events events;
   makePtr<Guarded>(&events) = nullptr;
   EXPECT_EQ(events, (Events{"constructor at 2", "hook guard at 1",
                             "destructor guard at 1", "destructor at 0"}));
}

TEST(SharedObject, ConstructorThatThrowsAfterAGuardLeaksNothing) {
   struct Throws : SharedObject {
      explicit Throws(int* destroyed) : member{destroyed} {
         Ptr<Throws> const self(this);
         throw std::string("no");
      }
      struct Counts {
         ~Counts() { ++*destroyed; }
         int* destroyed;
      } member;
   };
   int destroyed = 0;
   EXPECT_THROW(makePtr<Throws>(&destroyed), std::string);
   EXPECT_EQ(destroyed, 1);
}

TEST(SharedObject, BeingDeletedMarkIsNotCounted) {
   Events events;
   auto first = makePtr<Thing>(&events);
   auto second = first;
   EXPECT_FALSE(first->isBeingDeleted());
   first->beginDeletion();
   EXPECT_TRUE(first->isBeingDeleted());
   EXPECT_EQ(first->useCount(), 2u);
   auto third = first;
   EXPECT_EQ(first->useCount(), 3u);
   third = nullptr;
   second = nullptr;
   EXPECT_TRUE(first->isBeingDeleted());
   EXPECT_EQ(first->useCount(), 1u);
   first = nullptr;
   EXPECT_EQ(events, (Events{"hook at 0", "destructor at 0"}));
}

TEST(ThreadControl, CountsPlainlyWhatIsThereWhileThereIsOneThread) {
   int const object = 0;
   EXPECT_FALSE(Pelk::ThreadControl::multiThreaded());
   EXPECT_TRUE(Pelk::ThreadControl::countsPlainly(&object));
   EXPECT_FALSE(Pelk::ThreadControl::countsPlainly(nullptr));
   Pelk::ThreadControl::multiThreadedIs(true);
   EXPECT_TRUE(Pelk::ThreadControl::multiThreaded());
   EXPECT_FALSE(Pelk::ThreadControl::countsPlainly(&object));
   EXPECT_FALSE(Pelk::ThreadControl::countsPlainly(nullptr));
   Pelk::ThreadControl::multiThreadedIs(false);
}

// In each of the two states of the process.
class PtrInEachState : public testing::TestWithParam<bool> {
 protected:
   PtrInEachState() { Pelk::ThreadControl::multiThreadedIs(GetParam()); }
   ~PtrInEachState() override { Pelk::ThreadControl::multiThreadedIs(false); }
};

TEST_P(PtrInEachState, CountsAndDestroysTheSame) {
   Events events;
   auto first = makePtr<Thing>(&events);
   std::vector<Ptr<Thing>> copies(1000, first);
   EXPECT_EQ(first->useCount(), 1001u);
   first->beginDeletion();
   first = nullptr;
   EXPECT_EQ(copies.front()->useCount(), 1000u);
   copies.clear();
   EXPECT_EQ(events, (Events{"hook at 0", "destructor at 0"}));
}

TEST_P(PtrInEachState, CopyingAndDroppingNothingTouchesNothing) {
   auto first = makePtr<Thing>();
   {
      Ptr<Thing> const none;
      std::vector<Ptr<Thing>> copies(10, none);
      EXPECT_EQ(copies.back(), nullptr);
      copies.front() = first;
      copies.front() = none;
   }
   EXPECT_EQ(first->useCount(), 1u);
}

INSTANTIATE_TEST_SUITE_P(State, PtrInEachState, testing::Bool(), [](auto const& state) {
   return state.param ? "SeveralThreads" : "OneThread";
});

class PtrOfSeveralThreads : public testing::Test {
 protected:
   static constexpr int kThreads = 4;

   PtrOfSeveralThreads() { Pelk::ThreadControl::multiThreadedIs(true); }
   ~PtrOfSeveralThreads() override { Pelk::ThreadControl::multiThreadedIs(false); }

   template <typename Work>
   static void inThreads(Work work) {
      std::vector<std::thread> threads;
      for (int i = 0; i < kThreads; ++i) {
         threads.emplace_back(work, i);
      }
      for (auto& thread : threads) {
         thread.join();
      }
   }
};

TEST_F(PtrOfSeveralThreads, CopiesAndDropsLoseNoUse) {
   auto const shared = makePtr<Thing>();
   std::array<std::vector<Ptr<Thing>>, kThreads> kept;
   inThreads([&](int i) {
      for (int round = 0; round < 50'000; ++round) {
         Ptr<Thing> const copy = shared;
         if (round % 500 == 0) {
            kept[static_cast<size_t>(i)].push_back(copy);
         }
      }
   });
   EXPECT_EQ(shared->useCount(), 1u + kThreads * 100);
}

TEST_F(PtrOfSeveralThreads, LastDropDestroysOnceWhicheverThreadMakesIt) {
   constexpr size_t kObjects = 2'000;
   struct Counted : SharedObject {
      explicit Counted(int* d) : destroyed(d) {}
      ~Counted() override { ++*destroyed; }
      int* destroyed;
   };
   std::vector<int> destroyed(kObjects);
   std::array<std::vector<Ptr<Counted>>, kThreads> handles;
   for (size_t object = 0; object < kObjects; ++object) {
      auto const made = makePtr<Counted>(&destroyed[object]);
      for (auto& mine : handles) {
         mine.push_back(made);
      }
   }
   inThreads([&](int i) { handles[static_cast<size_t>(i)].clear(); });
   EXPECT_EQ(destroyed, std::vector<int>(kObjects, 1));
}

} // namespace
