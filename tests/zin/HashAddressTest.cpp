#include "zin/HashBlock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <random>
#include <utility>
#include <vector>

// Where a table looks for a hash.
namespace {

using Zin::HashSeed;
using Zin::Impl::HashBlock;
using Zin::Impl::HashShape;
using Zin::Impl::HashTags;
using Zin::Impl::kFreeTag;
using Zin::Impl::kGroupSlots;
using Zin::Impl::PortableTags;
using Zin::Impl::SlotTag;
using Zin::Impl::tagOf;
using Zin::Impl::Tags;

struct Deallocate {
   void operator()(HashBlock* block) const { HashBlock::deallocate(block); }
};
using OwnedBlock = std::unique_ptr<HashBlock, Deallocate>;

OwnedBlock blockOf(uint32_t homesLog2) {
   HashShape const shape{homesLog2, kGroupSlots, 1, 1};
   return OwnedBlock(HashBlock::allocate(HashSeed(1), shape, 0));
}

// The table's order is that of the upper halves; the lower ones count nowhere. From 17
// bits of homes on, tag and home have bits in common.
TEST(HashAddress, AscendsWithTheHash) {
   std::mt19937_64 random(7);
   for (uint32_t const homesLog2 : {0u, 1u, 9u, 16u, 17u, 18u, 19u}) {
      auto const block = blockOf(homesLog2);
      std::vector<uint64_t> hashes(20000);
      for (auto& hash : hashes) {
         hash = random() & 0x00ffffffffffffff; // near each other, in any table
      }
      std::generate_n(hashes.begin(), 5000, std::ref(random));
      std::sort(hashes.begin(), hashes.end());
      std::pair<size_t, SlotTag> before{0, 0};
      for (uint64_t const hash : hashes) {
         auto const [home, tag] = block->addressOf(hash);
         ASSERT_LT(home, block->shape().homes());
         ASSERT_EQ(home, homesLog2 == 0 ? 0 : hash >> (64 - homesLog2));
         ASSERT_EQ(block->firstSlotOf(hash), home * kGroupSlots);
         ASSERT_LE(before, std::pair(home, tag)) << homesLog2;
         ASSERT_NE(tag, kFreeTag);
         before = {home, tag};
         auto const other = block->addressOf(hash ^ (random() >> 32));
         ASSERT_EQ(std::pair(other.home, other.tag), before);
      }
   }
}

TEST(HashAddress, FindsTheTagOfAHashAsThePortableWayDoes) {
   std::mt19937_64 random(8);
   for (uint32_t round = 0; round < 20000; ++round) {
      uint64_t const hash = random();
      uint32_t const shift = 31 + round % 18;
      HashTags tags;
      for (SlotTag& tag : tags.slots) {
         switch (random() % 4) {
            case 0:
               tag = tagOf(hash, shift);
               break;
            case 1:
               tag = static_cast<SlotTag>(tagOf(hash, shift) ^ 2u << random() % 15);
               break;
            case 2:
               tag = kFreeTag;
               break;
            default:
               tag = tagOf(random(), shift);
         }
      }
      ASSERT_EQ(Tags::equalToTagOf(hash, shift, tags.slots),
                PortableTags::equalToTagOf(hash, shift, tags.slots));
      ASSERT_EQ(PortableTags::equalToTagOf(hash, shift, tags.slots),
                PortableTags::equal(tags.slots, tagOf(hash, shift)));
   }
}

} // namespace
