#include "zin/HashMap2018.h"

#include "bridging/VlanId.h"
#include "l3/VrfName.h"
#include "lidra/IntfId.h"
#include "pelk/Ptr.h"
#include "pelk/SharedObject.h"
#include "support/DeathMessages.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

// What HashMap2018 promises beyond the contract of collections.
namespace {

struct TestMap {
   static constexpr char const* name = "testMap";
   static constexpr uint32_t seed = 0x77aa0011;
};
struct FirstInlineMap : TestMap {
   static constexpr bool firstInline = true;
};

template <typename Name, typename Key, typename Value = Zin::NoValue>
using Map = Zin::HashMap2018<Name, Key, Value>;

template <typename Name>
class HashMap2018 : public testing::Test {};
using Names = testing::Types<TestMap, FirstInlineMap>;
TYPED_TEST_SUITE(HashMap2018, Names);
template <typename Name>
using HashMap2018DeathTest = HashMap2018<Name>;
TYPED_TEST_SUITE(HashMap2018DeathTest, Names);

TYPED_TEST(HashMap2018, TellsItsName) {
   EXPECT_STREQ((Map<TypeParam, int>::name()), "testMap");
}

TYPED_TEST(HashMap2018, ASetsMembersAreAsLargeAsTheirKeys) {
   EXPECT_EQ(sizeof(typename Map<TypeParam, uint16_t>::Entry), sizeof(uint16_t));
   EXPECT_EQ(sizeof(typename Map<TypeParam, L3::VrfName>::Entry), sizeof(L3::VrfName));
}

TEST(HashMap2018Size, AnEmptyMapIsThreeWords) {
   EXPECT_EQ(sizeof(Map<TestMap, uint64_t, int>), 24u);
}

TYPED_TEST(HashMap2018, KeepsValuesThatCannotBeCopied) {
   Map<TypeParam, uint16_t, std::unique_ptr<int>> map;
   for (uint16_t key = 0; key < 1000; ++key) {
      map.insert(key, std::make_unique<int>(key));
   }
   map.assign(5, std::make_unique<int>(-5));
   EXPECT_EQ(*map.find(5)->value(), -5);
   EXPECT_EQ(*map.find(999)->value(), 999);
}

TYPED_TEST(HashMap2018, LeavesTheArgumentsAloneWhenTheKeyIsPresent) {
   Map<TypeParam, uint16_t, std::unique_ptr<int>> map;
   map.insert(1, std::make_unique<int>(1));
   auto second = std::make_unique<int>(2);
   auto const result = map.insert(1, std::move(second));
   EXPECT_FALSE(result.inserted);
   EXPECT_EQ(*result.entry->value(), 1);
   ASSERT_NE(second, nullptr);
   EXPECT_EQ(*second, 2);
}

TYPED_TEST(HashMap2018, MakesValuesOfSeveralArguments) {
   Map<TypeParam, uint16_t, std::string> map;
   EXPECT_EQ(map.insert(1, 3u, 'x').entry->value(), "xxx");
   EXPECT_EQ(map.insert(2).entry->value(), "");
}

TYPED_TEST(HashMap2018, InsertsAndAssignsValuesThatStandInItself) {
   Map<TypeParam, uint16_t, std::string> map;
   map.insert(0, std::string(40, 'a'));
   for (uint16_t key = 1; key < 300; ++key) {
      map.insert(key, map.find(static_cast<uint16_t>(key - 1))->value());
      map.assign(key, map.find(0)->value());
   }
   for (auto const& [key, value] : map) {
      ASSERT_EQ(value, std::string(40, 'a')) << key;
   }
}

TYPED_TEST(HashMap2018, ErasesByAKeyThatStandsInItself) {
   Map<TypeParam, std::string, int> map;
   for (int n = 0; n < 100; ++n) {
      map.insert("a name that is too long for its object " + std::to_string(n), n);
   }
   while (!map.empty()) {
      EXPECT_TRUE(map.erase(map.begin()->key()));
   }
}

TYPED_TEST(HashMap2018, ExtractReturnsTheValue) {
   Map<TypeParam, uint16_t, std::unique_ptr<int>> map;
   map.insert(1, std::make_unique<int>(10));
   auto const version = map.version();
   EXPECT_EQ(map.extract(2), std::nullopt);
   EXPECT_EQ(map.version(), version);
   EXPECT_THAT(map.extract(1), testing::Optional(testing::Pointee(10)));
   EXPECT_NE(map.version(), version);
   EXPECT_TRUE(map.empty());
}

TYPED_TEST(HashMap2018, ExtractLeavesACopyToTheIteratorThatStandsOnTheMember) {
   Map<TypeParam, uint16_t, std::string> map;
   map.insert(1, "one");
   auto it = map.iterate();
   EXPECT_EQ(map.extract(1), "one");
   EXPECT_TRUE(it.stale());
   EXPECT_EQ(it.value(), "one");
}

TYPED_TEST(HashMap2018, MovesWithItsMembersAndItsVersion) {
   Map<TypeParam, uint16_t, std::string> map;
   map.insert(1, "one");
   auto const version = map.version();
   auto other = std::move(map);
   EXPECT_EQ(other.version(), version);
   EXPECT_EQ(other.find(1)->value(), "one");
   EXPECT_TRUE(map.empty());
   map.insert(2, "two");
   map = std::move(other);
   EXPECT_EQ(map.size(), 1u);
   EXPECT_TRUE(map.contains(1));
}

TYPED_TEST(HashMap2018DeathTest, RefusesToMoveUnderAnIterator) {
   Map<TypeParam, uint16_t> map;
   map.insert(1);
   auto it = map.iterate();
   EXPECT_DEATH(
      (Map<TypeParam, uint16_t>{std::move(map)}),
      Support::assertionMessage("a collection moved while an iterator stood on it"));
   Map<TypeParam, uint16_t> other;
   EXPECT_DEATH(
      other = std::move(map),
      Support::assertionMessage("a collection moved while an iterator stood on it"));
   EXPECT_DEATH(
      map = std::move(other),
      Support::assertionMessage("a collection moved while an iterator stood on it"));
}

TYPED_TEST(HashMap2018, ReservedRoomIsNoChangeAndLosesNothing) {
   Map<TypeParam, uint16_t, int> map;
   map.insert(1, 1);
   map.insert(2, 2);
   auto const version = map.version();
   auto it = map.iterate(2);
   map.reserve(5000);
   EXPECT_EQ(map.version(), version);
   EXPECT_EQ(it.key(), 2);
   EXPECT_EQ(map.size(), 2u);
   EXPECT_EQ(map.find(1)->value(), 1);
   auto const* const first = map.find(1);
   for (uint16_t key = 3; key < 4000; ++key) {
      map.insert(key, key);
   }
   EXPECT_EQ(map.size(), 3999u);
   EXPECT_EQ(map.find(1)->value(), 1);
   EXPECT_NE(first, nullptr);
}

TYPED_TEST(HashMap2018, VersionNumberHas23Bits) {
   Map<TypeParam, uint16_t> map;
   for (uint32_t i = 0; i < (1u << 23) - 1; ++i) {
      map.bumpVersion();
   }
   EXPECT_EQ(map.version(), 0x7fffffu);
   map.insert(1);
   EXPECT_EQ(map.version(), 0u);
}

TYPED_TEST(HashMap2018, EqualCollectionsHaveOneOrderWhateverTheirHistory) {
   Map<TypeParam, uint64_t> grown;
   Map<TypeParam, uint64_t> shrunk;
   for (uint64_t key = 0; key < 500; ++key) {
      grown.insert(key);
   }
   for (uint64_t key = 5000; key-- > 0;) {
      shrunk.insert(key);
   }
   for (uint64_t key = 500; key < 5000; ++key) {
      shrunk.erase(key);
   }
   std::vector<uint64_t> orders[2];
   for (auto const& [key, none] : grown) {
      orders[0].push_back(key);
   }
   for (auto const& [key, none] : shrunk) {
      orders[1].push_back(key);
   }
   EXPECT_EQ(orders[0], orders[1]);
}

TYPED_TEST(HashMap2018, TakesIdsNamesAndEnumeratorsAsKeys) {
   enum class Color : uint8_t { red, green };
   Map<TypeParam, Bridging::VlanId, int> vlans;
   vlans.insert(Bridging::VlanId(10), 10);
   EXPECT_TRUE(vlans.contains(Bridging::VlanId(10)));
   Map<TypeParam, Lidra::IntfId> intfs;
   intfs.insert(Lidra::IntfId("Vlan10"));
   EXPECT_TRUE(intfs.contains(Lidra::IntfId("Vlan10")));
   EXPECT_FALSE(intfs.contains(Lidra::IntfId("Vlan11")));
   Map<TypeParam, Color> colors;
   colors.insert(Color::green);
   EXPECT_FALSE(colors.contains(Color::red));
   Map<TypeParam, bool> flags;
   flags.insert(true);
   EXPECT_FALSE(flags.contains(false));
   Map<TypeParam, int8_t> small;
   small.insert(int8_t{-1});
   EXPECT_TRUE(small.contains(int8_t{-1}));
}

// A value whose destructor looks at the map that it is removed from.
template <typename Name>
struct Looker {
   using LookedAt = Map<Name, uint16_t, std::unique_ptr<Looker>>;

   explicit Looker(LookedAt& map, uint16_t key) : map_(map), key_(key) {}
   ~Looker() {
      EXPECT_FALSE(map_.contains(key_));
      map_.insert(static_cast<uint16_t>(key_ + 100), nullptr);
   }
   Looker(Looker const&) = delete;
   Looker& operator=(Looker const&) = delete;

   LookedAt& map_;
   uint16_t key_;
};

TYPED_TEST(HashMap2018, IsWholeWhenARemovedValueIsDestroyed) {
   typename Looker<TypeParam>::LookedAt map;
   for (uint16_t key = 0; key < 50; ++key) {
      map.insert(key, std::make_unique<Looker<TypeParam>>(map, key));
   }
   for (uint16_t key = 0; key < 25; ++key) {
      EXPECT_TRUE(map.erase(key));
      EXPECT_TRUE(map.contains(static_cast<uint16_t>(key + 100)));
   }
   map.clear();
   EXPECT_EQ(map.size(), 25u);
   EXPECT_TRUE(map.contains(149));
}

struct Shared : Pelk::SharedObject {};

TYPED_TEST(HashMap2018, HoldsOneUseOfEachSharedObject) {
   Map<TypeParam, uint16_t, Pelk::Ptr<Shared>> map;
   auto const object = Pelk::makePtr<Shared>();
   auto const alone = object->useCount();
   for (uint16_t key = 0; key < 100; ++key) {
      map.insert(key, object);
   }
   EXPECT_EQ(object->useCount(), alone + 100);
   auto it = map.iterate(7);
   map.erase(7);
   map.erase(8);
   EXPECT_EQ(object->useCount(), alone + 99) << "the iterator keeps one";
   it.next();
   EXPECT_EQ(object->useCount(), alone + 98);
   map.clear();
   it.next();
   EXPECT_EQ(object->useCount(), alone);
}

} // namespace
