#include "pelk/CellBlocks.h"
#include "pelk/Publisher.h"
#include "pelk/String.h"
#include "pelk/Subscriber.h"
#include "pelk/ThreadControl.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

// What subscriptions and strings allocate, and that they give it back.
namespace {

// Other tests of this program have threads.
std::atomic<uint64_t> allocations = 0;
std::atomic<uint64_t> releases = 0;

} // namespace

void* operator new(std::size_t size) {
   ++allocations;
   if (void* const memory = std::malloc(size)) {
      return memory;
   }
   throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
   releases += memory != nullptr ? 1 : 0;
   std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
   operator delete(memory);
}

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
   uint64_t const before = allocations;
   for (int time = 0; time < 2; ++time) {
      publisher.subscriberAdd(&subscriber, 0);
      publisher.publishChangeRecursive(1);
      publisher.subscriberRemove(&subscriber);
   }
   EXPECT_EQ(allocations, before);
}

TEST(Allocation, CellsGoWithTheirLastObjectOrTheirOwner) {
   uint64_t const living = allocations - releases;
   {
      Pelk::CellBlocks cells(2);
      for (int i = 0; i < 10; ++i) {
         Pelk::CellBlocks::release(cells.allocate(40));
      }
      EXPECT_GT(allocations - releases, living);
   }
   EXPECT_EQ(allocations - releases, living);
}

TEST(Allocation, AStringsTextGoesWithItsLastCopy) {
   for (bool const threads : {false, true}) {
      Pelk::ThreadControl::multiThreadedIs(threads);
      uint64_t const living = allocations - releases;
      {
         Pelk::String const text("a text that is too long for the object itself");
         EXPECT_EQ(allocations - releases, living + 1);
         Pelk::String copy(text);
         Pelk::String const further(copy);
         copy = Pelk::String();
         EXPECT_EQ(allocations - releases, living + 1);
      }
      EXPECT_EQ(allocations - releases, living) << (threads ? "threads" : "one");
   }
   Pelk::ThreadControl::multiThreadedIs(false);
}

} // namespace
