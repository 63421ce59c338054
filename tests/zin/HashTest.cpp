#include "zin/Hash.h"

#include "zin/HashGroup.h"
#include "zin/HashKey.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <functional>
#include <numeric>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

using Zin::HashSeed;

constexpr uint32_t kSeeds[] = {0, 1, 2, 0x80000000u, 0x12e0465du, UINT32_MAX};

template <typename T>
uint32_t hashOfBytes(uint32_t seed, T const& value) {
   return Zin::hashSingleAttr(seed, &value, sizeof value);
}

TEST(Hash, OfAnIntegerIsTheHashOfItsBytes) {
   for (uint32_t const seed : kSeeds) {
      for (uint64_t const value : {uint64_t{0}, uint64_t{1}, uint64_t{0xfffe},
                                   uint64_t{0x8070605040302010}, UINT64_MAX}) {
         auto const u16 = static_cast<uint16_t>(value);
         EXPECT_EQ(Zin::hashKey(HashSeed(seed), u16), hashOfBytes(seed, u16));
         auto const i16 = static_cast<int16_t>(value);
         EXPECT_EQ(Zin::hashKey(HashSeed(seed), i16), hashOfBytes(seed, i16));
         auto const u32 = static_cast<uint32_t>(value);
         EXPECT_EQ(Zin::hashKey(HashSeed(seed), u32), hashOfBytes(seed, u32));
         EXPECT_EQ(Zin::hashKey(HashSeed(seed), value), hashOfBytes(seed, value));
      }
   }
}

TEST(Hash, OfATextIsTheHashOfItsBytes) {
   std::string const text = "a text of more than sixteen bytes";
   for (size_t length = 0; length <= text.size(); ++length) {
      std::string const part = text.substr(0, length);
      EXPECT_EQ(Zin::hashKey(HashSeed(5), part),
                Zin::hashSingleAttr(5, text.data(), length));
   }
}

TEST(Hash, DependsOnEachByteTheLengthAndTheSeed) {
   for (size_t length = 0; length < 70; ++length) {
      std::string text(length, '\0');
      std::set<uint32_t> hashes{Zin::hashSingleAttr(7, text.data(), length),
                                Zin::hashSingleAttr(8, text.data(), length)};
      for (size_t i = 0; i < length; ++i) {
         text[i] = 'x';
         hashes.insert(Zin::hashSingleAttr(7, text.data(), length));
         text[i] = '\0';
      }
      std::string const longer(length + 1, '\0');
      hashes.insert(Zin::hashSingleAttr(7, longer.data(), length + 1));
      EXPECT_EQ(hashes.size(), length + 3) << "length " << length;
   }
}

TEST(Hash, MixerDependsOnTheOrderOfTheFields) {
   auto const hash = [](auto... fields) {
      Zin::HashMixer mixer(9u);
      (mixer.add(fields), ...);
      return mixer.finish();
   };
   std::set<uint32_t> const hashes{hash(1, 2), hash(2, 1), hash(1),    hash(0, 1),
                                   hash(1, 0), hash(0),    hash(0, 0), hash()};
   EXPECT_EQ(hashes.size(), 8u);
   EXPECT_NE(Zin::HashMixer(1u).addBytes("ab", 2).addBytes("c", 1).finish(),
             Zin::HashMixer(1u).addBytes("a", 1).addBytes("bc", 2).finish());
}

// The families of keys that tables really hold, by their number.
struct KeyFamily {
   char const* name;
   std::function<uint32_t(HashSeed const&, uint32_t)> hash;
};

template <typename Key>
KeyFamily family(char const* name, Key (*key)(uint32_t)) {
   return {name, [key](HashSeed const& seed, uint32_t n) {
              return Zin::hashKey(seed, key(n));
           }};
}

std::vector<KeyFamily> keyFamilies() {
   return {
      family<uint16_t>("16-bit, ascending",
                       [](uint32_t n) { return static_cast<uint16_t>(n); }),
      family<uint32_t>("32-bit, in steps of 256", [](uint32_t n) { return n << 8; }),
      family<uint64_t>("64-bit, ascending", [](uint32_t n) { return uint64_t{n}; }),
      family<uint64_t>("64-bit, high half",
                       [](uint32_t n) { return uint64_t{n} << 32; }),
      family<uint64_t>("64-bit, top bits",
                       [](uint32_t n) { return uint64_t{n} << 48; }),
      family<uint64_t>("64-bit, both halves",
                       [](uint32_t n) { return n * 0x100000001u; }),
      family<std::string>("short text",
                          [](uint32_t n) { return "v" + std::to_string(n); }),
      family<std::string>("text with a common start",
                          [](uint32_t n) { return "tenant-" + std::to_string(n); }),
      family<std::string>("text with a common end", [](uint32_t n) {
         return std::to_string(n) + ".a long name of the same ending for all";
      })};
}

// Pearson's statistic over 1024 buckets has a mean of 1023 and a standard deviation of
// 45 for a random function; sums over 40 seeds stay within 4 deviations of theirs.
TEST(Hash, FillsTheHomesOfATableEvenly) {
   constexpr uint32_t kKeys = 8192;
   constexpr uint32_t kSeedCount = 40;
   for (auto const& keys : keyFamilies()) {
      for (int const shift : {22, 0}) { // by the top bits, and by the lowest ones
         double sum = 0;
         for (uint32_t seed = 0; seed < kSeedCount; ++seed) {
            std::vector<double> buckets(1024);
            for (uint32_t n = 0; n < kKeys; ++n) {
               buckets[keys.hash(HashSeed(seed), n) >> shift & 1023] += 1;
            }
            for (double const count : buckets) {
               double const excess = count - kKeys / 1024.0;
               sum += excess * excess / (kKeys / 1024.0);
            }
         }
         EXPECT_LT(sum / kSeedCount, 1023 + 4 * 45 / 6.3) << keys.name << ' ' << shift;
      }
   }
}

// Of 8192 random 32-bit numbers, 0.0078 pairs are equal on the average.
TEST(Hash, SeldomCollides) {
   for (auto const& keys : keyFamilies()) {
      uint32_t collisions = 0;
      for (uint32_t seed = 0; seed < 40; ++seed) {
         std::vector<uint32_t> hashes(8192);
         for (uint32_t n = 0; n < hashes.size(); ++n) {
            hashes[n] = keys.hash(HashSeed(seed), n);
         }
         std::sort(hashes.begin(), hashes.end());
         for (size_t i = 1; i < hashes.size(); ++i) {
            collisions += hashes[i - 1] == hashes[i] ? 1 : 0;
         }
      }
      EXPECT_LE(collisions, 5u) << keys.name;
   }
}

// The orders of two tables are told apart by the share of neighbours in the one that
// ascend in the other: about a half when the orders are unrelated.
TEST(Hash, SimilarSeedsMakeUnrelatedOrders) {
   constexpr uint32_t kKeys = 2048;
   for (auto const& keys : keyFamilies()) {
      HashSeed const one(0x5eed);
      std::vector<std::pair<uint32_t, uint32_t>> order; // hash and number of a key
      for (uint32_t n = 0; n < kKeys; ++n) {
         order.emplace_back(keys.hash(one, n), n);
      }
      std::sort(order.begin(), order.end());
      for (uint32_t bit = 0; bit < 32; ++bit) {
         HashSeed const other(0x5eedu ^ (1u << bit));
         uint32_t ascending = 0;
         uint32_t previous = 0;
         for (auto const& [hash, n] : order) {
            uint32_t const here = keys.hash(other, n);
            ascending += previous < here ? 1 : 0;
            previous = here;
         }
         // A permutation's ascents have a standard deviation of 13.
         EXPECT_NEAR(ascending, kKeys / 2.0, 80) << keys.name << ", bit " << bit;
      }
   }
}

TEST(HashHelper, SeedIsTheOneThatWasSet) {
   Zin::HashHelper::hashSeed32Is(0);
   EXPECT_EQ(Zin::HashHelper::hashSeed32(), 0u);
   Zin::HashHelper::hashSeed32Is(UINT32_MAX);
   EXPECT_EQ(Zin::HashHelper::hashSeed32(), UINT32_MAX);
}

TEST(HashHelper, SeedStaysWhatItWasAtFirst) {
   EXPECT_EQ(Zin::HashHelper::hashSeed32(), Zin::HashHelper::hashSeed32());
}

using Zin::Impl::kFreeTag;
using Zin::Impl::kGroupSlots;
using Zin::Impl::PortableTags;
using Zin::Impl::SlotTag;
using Zin::Impl::Tags;

TEST(HashGroup, ComparesTagsAsThePortableWayDoes) {
   std::mt19937 random(1);
   auto const someTag = [&] {
      SlotTag const limits[] = {0, 1, kFreeTag - 1, kFreeTag};
      return random() % 3 == 0 ? limits[random() % 4]
                               : static_cast<SlotTag>(0x7ffe + random() % 4);
   };
   for (int round = 0; round < 5000; ++round) {
      alignas(16) SlotTag tags[kGroupSlots];
      std::generate(std::begin(tags), std::end(tags), someTag);
      SlotTag const tag = someTag();
      ASSERT_EQ(Tags::equal(tags, tag), PortableTags::equal(tags, tag));
      ASSERT_EQ(Tags::below(tags, tag), PortableTags::below(tags, tag));
      ASSERT_EQ(PortableTags::below(tags, tag),
                std::count_if(std::begin(tags), std::end(tags),
                              [&](SlotTag other) { return other < tag; }));
   }
}

TEST(HashGroup, KeepsItsSlotsInOrderAsAListDoes) {
   std::mt19937 random(2);
   Zin::Impl::HashGroup group;
   std::vector<uint32_t> slots;
   for (int round = 0; round < 20000; ++round) {
      if (slots.size() < kGroupSlots && (slots.empty() || random() % 2 == 0)) {
         auto const rank = static_cast<uint32_t>(random() % (slots.size() + 1));
         auto const slot = group.freeSlot();
         group.take(slot, rank);
         ASSERT_EQ(std::count(slots.begin(), slots.end(), slot), 0);
         slots.insert(slots.begin() + rank, slot);
      } else {
         auto const rank = random() % slots.size();
         group.release(slots[rank]);
         slots.erase(slots.begin() + static_cast<std::ptrdiff_t>(rank));
      }
      ASSERT_EQ(group.count, slots.size());
      ASSERT_EQ(static_cast<size_t>(std::popcount(group.used)), slots.size());
      for (uint32_t rank = 0; rank < slots.size(); ++rank) {
         ASSERT_EQ(group.order.slotAt(rank), slots[rank]);
         ASSERT_EQ(group.order.rankOf(slots[rank]), rank);
      }
   }
}

} // namespace
