#include "pelk/SpareBlocks.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <vector>

namespace {

constexpr size_t kSize = 40;
using Pelk::SpareBlocks;

TEST(SpareBlocks, TheNextObjectGetsTheMemoryOfTheOneThatWentLast) {
   SpareBlocks blocks;
   void* const first = blocks.allocate(kSize);
   void* const second = blocks.allocate(kSize);
   EXPECT_NE(first, second);
   blocks.release(first);
   blocks.release(second);
   void* const again = blocks.allocate(kSize);
   void* const further = blocks.allocate(kSize);
   EXPECT_EQ(again == second && further == first, SpareBlocks::kKeeps);
   ::operator delete(again);
   ::operator delete(further);
}

TEST(SpareBlocks, BlocksAreTheAllocatorsAsWell) {
   SpareBlocks blocks;
   void* const foreign = ::operator new(kSize);
   blocks.release(foreign); // nobody knows where a block came from
   ::operator delete(blocks.allocate(kSize));
}

TEST(SpareBlocks, ManyThatGoAtOnceAreMostlyGivenBack) {
   SpareBlocks blocks;
   std::vector<void*> all;
   for (uint32_t i = 0; i < 3 * SpareBlocks::kMost; ++i) {
      all.push_back(blocks.allocate(kSize));
   }
   for (void* const memory : all) {
      blocks.release(memory);
   }
   // The first ones are kept; what comes afterwards is not kept in their place.
   for (uint32_t i = SpareBlocks::kMost; SpareBlocks::kKeeps && i > 0; --i) {
      void* const memory = blocks.allocate(kSize);
      EXPECT_EQ(memory, all[i - 1]);
      ::operator delete(memory);
   }
}

TEST(SpareBlocks, NothingIsKeptOrTakenWhileThereAreThreads) {
   SpareBlocks blocks;
   void* const kept = blocks.allocate(kSize);
   blocks.release(kept);
   Pelk::ThreadControl::multiThreadedIs(true);
   void* const other = blocks.allocate(kSize);
   EXPECT_FALSE(SpareBlocks::kKeeps && other == kept);
   blocks.release(other);
   Pelk::ThreadControl::multiThreadedIs(false);
   void* const again = blocks.allocate(kSize);
   EXPECT_EQ(again == kept, SpareBlocks::kKeeps);
   ::operator delete(again);
}

} // namespace
