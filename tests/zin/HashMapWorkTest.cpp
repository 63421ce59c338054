#include "zin/HashMap2018.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

// How much work a table does, in steps: probes, comparisons of keys, members moved.
namespace {

template <uint32_t Seed>
struct Counting {
   static constexpr char const* name = "counting";
   static constexpr uint32_t seed = Seed;
   static void countWork(uint32_t count) { steps += count; }
   static inline uint64_t steps = 0;
};

template <uint32_t Seed>
using Table = Zin::HashMap2018<Counting<Seed>, uint64_t, uint32_t>;

// The steps of adding the keys, in their order, to a table.
template <uint32_t Seed>
uint64_t fillSteps(Table<Seed>& table, std::vector<uint64_t> const& keys) {
   uint64_t const before = Counting<Seed>::steps;
   for (uint64_t const key : keys) {
      table.insert(key, 1u);
   }
   return Counting<Seed>::steps - before;
}

template <uint32_t Seed>
std::vector<uint64_t> keysOf(Table<Seed> const& table) {
   std::vector<uint64_t> keys;
   for (auto const& [key, value] : table) {
      keys.push_back(key);
   }
   return keys;
}

std::vector<uint64_t> randomKeys(uint32_t count, uint64_t seed) {
   std::mt19937_64 random(seed);
   std::vector<uint64_t> keys(count);
   for (auto& key : keys) {
      key = random();
   }
   return keys;
}

constexpr double kMost = 1.5;

class HashMapWork : public testing::TestWithParam<uint32_t> {
 public:
   void SetUp() override { Zin::HashHelper::hashSeed32Is(0xabcdef01u); }
   std::vector<uint64_t> const keys_ = randomKeys(GetParam(), 1);
   // The keys in no order of any table.
   uint64_t randomOrderSteps() const {
      Table<1> table;
      return fillSteps(table, keys_);
   }
};

TEST_P(HashMapWork, FillingFromATableOfTheSameSeedCostsNoMoreThanInRandomOrder) {
   Table<1> source;
   fillSteps(source, keys_);
   Table<1> target;
   EXPECT_LE(static_cast<double>(fillSteps(target, keysOf(source))),
             kMost * static_cast<double>(randomOrderSteps()));
}

TEST_P(HashMapWork, FillingFromATableOfASimilarSeedCostsNoMoreThanInRandomOrder) {
   Table<0> source;
   fillSteps(source, keys_);
   Table<1> target;
   EXPECT_LE(static_cast<double>(fillSteps(target, keysOf(source))),
             kMost * static_cast<double>(randomOrderSteps()));
   Table<0x80000001> highBit;
   EXPECT_LE(static_cast<double>(fillSteps(highBit, keysOf(source))),
             kMost * static_cast<double>(randomOrderSteps()));
}

TEST_P(HashMapWork, FillingAHalfFullTableFromOneOfTheSameSeedCostsNoMoreEither) {
   auto const more = randomKeys(GetParam(), 2);
   Table<1> inRandomOrder;
   fillSteps(inRandomOrder, more);
   uint64_t const expected = fillSteps(inRandomOrder, keys_);
   Table<1> source;
   fillSteps(source, keys_);
   Table<1> target;
   fillSteps(target, more);
   EXPECT_LE(static_cast<double>(fillSteps(target, keysOf(source))),
             kMost * static_cast<double>(expected));
}

TEST_P(HashMapWork, EachMemberThatIsAddedIsAStepOrMore) {
   Table<1> table;
   EXPECT_GE(fillSteps(table, keys_), keys_.size());
   Table<2> withRoom;
   withRoom.reserve(keys_.size());
   uint64_t const steps = fillSteps(withRoom, keys_);
   EXPECT_GE(steps, keys_.size());
   EXPECT_LE(steps, 4 * keys_.size()) << "with room for all of them";
}

// A walk that was interrupted leaves one long run, which is then taken apart from its
// start.
TEST_P(HashMapWork, RemovingTheFirstMemberUntilNoneIsLeftIsLinear) {
   Table<1> source;
   fillSteps(source, keys_);
   auto order = keysOf(source);
   order.resize(order.size() / 3);
   Table<1> table;
   fillSteps(table, order);
   uint64_t const before = Counting<1>::steps;
   while (!table.empty()) {
      table.erase(table.begin()->key());
   }
   EXPECT_LE(Counting<1>::steps - before, 80u * order.size());
}

INSTANTIATE_TEST_SUITE_P(OfSize, HashMapWork, testing::Values(500, 4094, 100000));

} // namespace
