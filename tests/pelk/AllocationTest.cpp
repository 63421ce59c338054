#include "pelk/CellBlocks.h"
#include "pelk/Publisher.h"
#include "pelk/String.h"
#include "pelk/Subscriber.h"
#include "pelk/ThreadControl.h"
#include "support/CountingHeap.h"

#include <gtest/gtest.h>

#include <cstdint>

using TestSupport::heap;

// What subscriptions and strings allocate, and that they give it back.
namespace {

class Quiet final : public Pelk::Subscriber {
 public:
   Quiet()
      : Subscriber([](Pelk::Publisher*, Pelk::Subscriber*, int16_t, void const*,
                      void const*) noexcept {}) {}
};

class Plain final : public Pelk::Publisher {};

// Most entities have one subscriber or none.
TEST(Allocation, TheOnlySubscriberNeedsNone) {
   Plain publisher;
   Quiet subscriber;
   uint64_t const before = heap().allocations;
   for (int time = 0; time < 2; ++time) {
      publisher.subscriberAdd(&subscriber, 0);
      publisher.publishChangeRecursive(1);
      publisher.subscriberRemove(&subscriber);
   }
   EXPECT_EQ(heap().allocations, before);
}

TEST(Allocation, CellsGoWithTheirLastObjectOrTheirOwner) {
   uint64_t const living = heap().living();
   {
      Pelk::CellBlocks cells(2);
      for (int i = 0; i < 10; ++i) {
         Pelk::CellBlocks::release(cells.allocate(40));
      }
      EXPECT_GT(heap().living(), living);
   }
   EXPECT_EQ(heap().living(), living);
}

TEST(Allocation, AStringsTextGoesWithItsLastCopy) {
   for (bool const threads : {false, true}) {
      Pelk::ThreadControl::multiThreadedIs(threads);
      uint64_t const living = heap().living();
      {
         Pelk::String const text("a text that is too long for the object itself");
         EXPECT_EQ(heap().living(), living + 1);
         Pelk::String copy(text);
         Pelk::String const further(copy);
         copy = Pelk::String();
         EXPECT_EQ(heap().living(), living + 1);
      }
      EXPECT_EQ(heap().living(), living) << (threads ? "threads" : "one");
   }
   Pelk::ThreadControl::multiThreadedIs(false);
}

} // namespace
