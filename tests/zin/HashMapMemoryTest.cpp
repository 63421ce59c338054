#include "zin/HashMap2018.h"

#include "support/CountingHeap.h"
#include "support/ThrownMessage.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <random>
#include <stdexcept>
#include <vector>

using TestSupport::heap;
using TestSupport::OutOfMemory;

// What a table allocates, what it does without memory, and what becomes of its values.
namespace {

struct TestMap {
   static constexpr char const* name = "testMap";
   static constexpr uint32_t seed = 0x0ddba115;
};
struct FirstInlineMap : TestMap {
   static constexpr bool firstInline = true;
};

// Counts its living objects, and can be told to fail when one is made.
class Counted {
 public:
   explicit Counted(uint32_t number) : number_(number) {
      if (failing) {
         throw std::runtime_error("no value");
      }
      ++living;
   }
   Counted(Counted const& other) : number_(other.number_) { ++living; }
   Counted(Counted&& other) noexcept : number_(other.number_) { ++living; }
   Counted& operator=(Counted const& other) noexcept {
      number_ = other.number_;
      return *this;
   }
   ~Counted() {
      EXPECT_EQ(self_, this) << "moved as bytes, or destroyed twice";
      self_ = nullptr;
      --living;
   }
   uint32_t number() const { return number_; }

   static inline int64_t living = 0;
   static inline bool failing = false;

 private:
   Counted* self_ = this;
   uint32_t number_;
};

template <typename Name>
class HashMap2018Memory : public testing::Test {
 public:
   using Map = Zin::HashMap2018<Name, uint32_t, Counted>;
   static constexpr bool kFirstInline = Zin::keepsFirstInline<Name>;
};
using Names = testing::Types<TestMap, FirstInlineMap>;
TYPED_TEST_SUITE(HashMap2018Memory, Names);

TYPED_TEST(HashMap2018Memory, AnEmptyMapAllocatesNothing) {
   uint64_t const before = heap().allocations;
   typename TestFixture::Map map;
   EXPECT_EQ(map.find(1), nullptr);
   EXPECT_FALSE(map.erase(1));
   map.clear();
   for (auto it = map.iterate(); it; it.next()) {
   }
   EXPECT_FALSE(map.iterate(1));
   for ([[maybe_unused]] auto const& entry : map) {
      ADD_FAILURE();
   }
   EXPECT_EQ(heap().allocations, before);
}

TYPED_TEST(HashMap2018Memory, ATableIsOneAllocation) {
   typename TestFixture::Map map;
   uint64_t const before = heap().allocations;
   map.insert(1, 1u);
   EXPECT_EQ(heap().allocations, before + (TestFixture::kFirstInline ? 0 : 1));
   map.insert(2, 2u);
   EXPECT_EQ(heap().allocations, before + 1);
   auto it = map.iterate(2);
   map.erase(2);
   EXPECT_EQ(it.value().number(), 2u);
   EXPECT_EQ(heap().allocations, before + 1);
}

TYPED_TEST(HashMap2018Memory, ReservedRoomSufficesWhateverTheNumber) {
   for (uint32_t const count : {2u, 14u, 17u, 28u, 57u, 110u, 860u, 7000u, 50000u}) {
      for (uint32_t start = 0; start < 5; ++start) {
         typename TestFixture::Map map;
         map.reserve(count);
         uint64_t const before = heap().allocations;
         for (uint32_t key = 0; key < count; ++key) {
            map.insert(start * 1000003 + key, key);
         }
         ASSERT_EQ(heap().allocations, before) << count;
      }
   }
}

// Fourteen members for sixteen slots, where that saves half of the table.
TYPED_TEST(HashMap2018Memory, AReservedTableIsNoLargerThanItNeedsToBe) {
   for (uint32_t const count : {100000u, 114688u}) {
      typename TestFixture::Map map;
      uint64_t const before = heap().bytes;
      map.reserve(count);
      EXPECT_LE(heap().bytes - before,
                count * sizeof(typename TestFixture::Map::Entry) * 2);
   }
}

TYPED_TEST(HashMap2018Memory, ATableThatWasReservedGrowsOn) {
   typename TestFixture::Map map;
   map.reserve(13000);
   for (uint32_t key = 0; key < 60000; ++key) {
      map.insert(key, key);
   }
   map.reserve(60001);
   for (uint32_t key = 0; key < 60000; ++key) {
      ASSERT_EQ(map.find(key)->value().number(), key);
   }
   uint32_t walked = 0;
   for ([[maybe_unused]] auto const& entry : map) {
      ++walked;
   }
   EXPECT_EQ(walked, 60000u);
}

TYPED_TEST(HashMap2018Memory, EachValueIsDestroyedOnce) {
   std::mt19937 random(3);
   {
      typename TestFixture::Map map;
      std::unique_ptr<typename TestFixture::Map::GenericIterator> it;
      for (uint32_t step = 0; step < 50000; ++step) {
         auto const keys = step < 30000 ? 700u : 3u;
         auto const key = static_cast<uint32_t>(random() % keys);
         if (step % 97 == 0 && keys == 3) {
            map.clear();
         }
         switch (random() % 7) {
            case 0:
               map.insert(key, key);
               break;
            case 1:
            case 2:
               map.assign(key, key);
               break;
            case 3:
               it = std::make_unique<typename TestFixture::Map::GenericIterator>(map,
                                                                                 key);
               break;
            case 4:
               if (it) {
                  it->next();
               }
               break;
            default:
               map.erase(key);
         }
         auto const stale = it && it->stale() ? 1u : 0u;
         ASSERT_EQ(Counted::living, static_cast<int64_t>(map.size() + stale));
         ASSERT_TRUE(!it || !*it || it->value().number() == it->key());
      }
      for (auto const& [key, value] : map) {
         ASSERT_EQ(value.number(), key);
      }
   }
   EXPECT_EQ(Counted::living, 0);
}

TYPED_TEST(HashMap2018Memory, StaysAsItWasWhenMemoryIsShort) {
   typename TestFixture::Map map;
   std::vector<uint32_t> keys;
   uint32_t failures = 0;
   for (uint32_t key = 0; key < 3000; ++key) {
      auto const version = map.version();
      try {
         OutOfMemory const limit(0);
         map.insert(key, key);
      } catch (std::bad_alloc const&) {
         ++failures;
         ASSERT_EQ(map.version(), version);
         ASSERT_EQ(map.size(), key);
         ASSERT_FALSE(map.contains(key));
         ASSERT_EQ(Counted::living, static_cast<int64_t>(key));
         for (uint32_t present = 0; present < key; ++present) {
            ASSERT_TRUE(map.contains(present));
         }
         map.insert(key, key);
      }
   }
   EXPECT_GE(failures, 9u);
   EXPECT_EQ(map.size(), 3000u);
   OutOfMemory const limit(0);
   for (uint32_t key = 0; key < 3000; ++key) {
      ASSERT_TRUE(map.erase(key)) << "needs no memory";
   }
}

TYPED_TEST(HashMap2018Memory, StaysAsItWasWhenItIsAskedForRoomThatNobodyHas) {
   typename TestFixture::Map map;
   map.insert(1U, 1U);
   EXPECT_EQ(Support::thrownMessage<std::length_error>([&] {
                map.reserve(size_t{1} << 40);
                return 0;
             }),
             "HashMap2018: too many members");
   EXPECT_EQ(map.size(), 1U);
   EXPECT_TRUE(map.contains(1));
}

// A key that hashes as all others do.
struct Colliding {
   uint32_t n = 0;

   static uint32_t hash(uint32_t) { return 0x12345678; }
   auto operator<=>(Colliding const&) const = default;
};

TEST(HashMap2018CollidingKeys, AreKeptInMemoryThatTheirNumberNeeds) {
   constexpr uint32_t kKeys = 5000;
   Zin::HashMap2018<TestMap, Colliding> map;
   uint64_t const before = heap().bytes;
   for (uint32_t n = 0; n < kKeys; ++n) {
      map.insert(Colliding{n});
   }
   EXPECT_EQ(map.size(), kKeys);
   // Of all tables that it had on the way.
   EXPECT_LE(heap().bytes - before, 100u * kKeys);
}

TYPED_TEST(HashMap2018Memory, StaysAsItWasWhenAValueCannotBeMade) {
   typename TestFixture::Map map;
   for (uint32_t key = 0; key < 200; ++key) {
      auto const version = map.version();
      Counted::failing = true;
      EXPECT_THROW(map.insert(key, key), std::runtime_error);
      EXPECT_THROW(map.assign(key, key), std::runtime_error);
      if (key != 0) {
         EXPECT_THROW(map.assign(key - 1, key), std::runtime_error);
         EXPECT_EQ(map.find(key - 1)->value().number(), key - 1);
      }
      Counted::failing = false;
      EXPECT_EQ(map.version(), version);
      EXPECT_EQ(map.size(), key);
      map.insert(key, key);
   }
}

} // namespace
