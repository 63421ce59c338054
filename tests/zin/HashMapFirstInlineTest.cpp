#include "zin/HashMap2018.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

// Maps that keep their first member in themselves: the steps from no member to one,
// from one to two, and back.
namespace {

struct Inline {
   static constexpr char const* name = "inline";
   static constexpr uint32_t seed = 0x1a2b3c4d;
   static constexpr bool firstInline = true;
};
// The same order, always in a table.
struct InTable {
   static constexpr char const* name = "inTable";
   static constexpr uint32_t seed = Inline::seed;
};

using Map = Zin::HashMap2018<Inline, uint16_t, std::string>;
using Keys = std::vector<uint16_t>;

std::string text(uint16_t key) {
   return "the value that is too long for its object " + std::to_string(key);
}

Map mapOf(Keys const& keys) {
   Map map;
   for (uint16_t const key : keys) {
      map.insert(key, text(key));
   }
   return map;
}

template <typename M>
Keys order(M const& map) {
   Keys keys;
   for (auto const& [key, value] : map) {
      keys.push_back(key);
   }
   return keys;
}

// The keys in the order that every map of this seed has them in.
Keys ordered(Keys const& keys) {
   Zin::HashMap2018<InTable, uint16_t> map;
   for (uint16_t const key : keys) {
      map.insert(key);
   }
   return order(map);
}

template <typename M>
bool standsInItself(M const& map, void const* member) {
   auto const* const begin = reinterpret_cast<std::byte const*>(&map);
   auto const* const at = static_cast<std::byte const*>(member);
   return begin <= at && at < begin + sizeof map;
}

TEST(FirstInline, OnlyTheFirstMemberStandsInTheMap) {
   Map map;
   EXPECT_TRUE(standsInItself(map, map.insert(1, "one").entry));
   EXPECT_TRUE(standsInItself(map, map.find(1)));
   EXPECT_TRUE(standsInItself(map, &*map.begin()));
   map.insert(2, "two");
   EXPECT_FALSE(standsInItself(map, map.find(1)));
   EXPECT_FALSE(standsInItself(map, map.find(2)));
   map.erase(2);
   EXPECT_FALSE(standsInItself(map, map.find(1))) << "a table stays";
   map.clear();
   EXPECT_TRUE(standsInItself(map, map.insert(3, "three").entry)) << "until cleared";
}

TEST(FirstInline, TakesTheRoomOfOneMember) {
   EXPECT_EQ(sizeof(Zin::HashMap2018<Inline, uint64_t>), 24u + 8u);
   EXPECT_EQ(sizeof(Zin::HashMap2018<InTable, uint64_t>), 24u);
}

TEST(FirstInline, IteratorsStayOnTheMemberWhenASecondOneComesAndGoes) {
   for (uint16_t other = 2; other < 40; ++other) {
      Keys const keys = ordered({1, other});
      bool const isFirst = keys.front() == 1;
      Map map = mapOf({1});
      auto at = map.iterate();
      auto fromHere = map.iterate(1);
      auto const ended = map.iterate(isFirst ? other : 1);
      map.insert(other, text(other));
      ASSERT_EQ(order(map), keys);
      for (auto* it : {&at, &fromHere}) {
         ASSERT_FALSE(it->stale());
         ASSERT_EQ(it->key(), 1);
         ASSERT_EQ(it->value(), text(1));
      }
      ASSERT_EQ(at.next(), isFirst) << "the new member is met if it stands ahead";
      ASSERT_TRUE(!isFirst || at.key() == other);
      map.erase(other);
      ASSERT_EQ(at.stale(), isFirst);
      ASSERT_EQ(fromHere.key(), 1);
      ASSERT_FALSE(fromHere.next());
      ASSERT_FALSE(at.next());
      ASSERT_EQ(order(map), Keys{1});
   }
}

TEST(FirstInline, ABookmarkResumesAtTheOnlyMemberIfThatStandsAhead) {
   Map const map = mapOf({1});
   for (uint16_t bookmark = 1; bookmark < 100; ++bookmark) {
      bool const isAhead = ordered({1, bookmark}).front() == bookmark;
      EXPECT_EQ(map.iterate(bookmark).valid(), isAhead) << bookmark;
   }
}

TEST(FirstInline, AnIteratorReadsTheOnlyMemberAfterItWasErased) {
   Map map = mapOf({1});
   auto first = map.iterate();
   auto second = map.iterate();
   EXPECT_TRUE(map.erase(first));
   EXPECT_FALSE(map.erase(second));
   EXPECT_TRUE(map.empty());
   map.insert(1, "again");
   EXPECT_EQ(first.value(), text(1));
   EXPECT_EQ(second.value(), text(1));
   EXPECT_FALSE(first.next()) << "the member itself is not met again";
   for (uint16_t key = 2; key < 20; ++key) {
      map.insert(key, text(key));
   }
   Keys keys = order(map);
   auto const next = std::find(keys.begin(), keys.end(), 1) + 1;
   EXPECT_EQ(second.next(), next != keys.end());
   EXPECT_TRUE(next == keys.end() || second.key() == *next);
}

TEST(FirstInline, AnIteratorReadsTheLastMemberAfterTheEmptyMapWent) {
   auto map = std::make_unique<Map>(mapOf({1}));
   auto const it = map->iterate();
   map->erase(1);
   map = nullptr;
   EXPECT_EQ(it.key(), 1);
   EXPECT_EQ(it.value(), text(1));
}

TEST(FirstInline, RoomForMoreMovesTheMemberAndTheIteratorsOnIt) {
   Map map = mapOf({1});
   auto const it = map.iterate();
   auto const version = map.version();
   map.reserve(1);
   EXPECT_TRUE(standsInItself(map, map.find(1)));
   map.reserve(100);
   EXPECT_FALSE(standsInItself(map, map.find(1)));
   EXPECT_EQ(map.version(), version);
   EXPECT_EQ(it.value(), text(1));
   EXPECT_EQ(order(map), Keys{1});
}

TEST(FirstInline, MapsOfEverySizeAreSwapped) {
   std::vector<Keys> const all{{}, {1}, {2}, ordered({3, 4}), ordered({5, 6, 7})};
   for (Keys const& ours : all) {
      for (Keys const& theirs : all) {
         Map map = mapOf(ours);
         Map other = mapOf(theirs);
         auto const version = map.version();
         map.swap(other);
         EXPECT_EQ(order(map), theirs);
         EXPECT_EQ(order(other), ours);
         EXPECT_EQ(other.version(), version);
         for (uint16_t const key : theirs) {
            EXPECT_EQ(map.find(key)->value(), text(key));
         }
         for (uint16_t const key : ours) {
            EXPECT_EQ(other.find(key)->value(), text(key));
         }
         map = std::move(other);
         EXPECT_EQ(order(map), ours);
      }
   }
}

// A value that does something to its map when it is destroyed.
struct Last {
   using LastMap = Zin::HashMap2018<Inline, uint16_t, std::unique_ptr<Last>>;
   enum class Does : uint8_t { erases, clears, replaces, addsTwo };

   Last(LastMap& map, Does does) : map_(map), does_(does) {}
   Last(Last const&) = delete;
   Last& operator=(Last const&) = delete;
   ~Last() {
      EXPECT_FALSE(map_.contains(1));
      EXPECT_TRUE(map_.empty());
      switch (does_) {
         case Does::erases:
            EXPECT_FALSE(map_.erase(1));
            break;
         case Does::clears:
            map_.clear();
            break;
         case Does::addsTwo:
            map_.insert(2, nullptr);
            [[fallthrough]];
         case Does::replaces:
            map_.insert(1, nullptr);
      }
   }
   size_t leaves() const {
      return does_ == Does::addsTwo ? 2 : does_ == Does::replaces ? 1 : 0;
   }

   LastMap& map_;
   Does does_;
};

TEST(FirstInline, IsWholeWhenItsOnlyMemberIsDestroyed) {
   for (auto const does : {Last::Does::erases, Last::Does::clears, Last::Does::replaces,
                           Last::Does::addsTwo}) {
      auto const expectAfter = [&](auto remove) {
         Last::LastMap map;
         auto value = std::make_unique<Last>(map, does);
         size_t const left = value->leaves();
         map.insert(1, std::move(value));
         remove(map);
         EXPECT_EQ(map.size(), left);
         EXPECT_EQ(order(map).size(), left);
         EXPECT_EQ(map.contains(1), left != 0);
      };
      expectAfter([](auto& map) { map.erase(1); });
      expectAfter([](auto& map) { map.clear(); });
      expectAfter([](auto& map) { map.extract(1); });
      expectAfter([](auto& map) { map.erase(map.begin()->key()); });
      expectAfter([](auto& map) {
         auto it = map.iterate();
         map.erase(1);
         EXPECT_FALSE(it.next());
      });
      expectAfter([](auto& map) {
         auto const it = map.iterate();
         map.clear();
         EXPECT_NE(it.value(), nullptr);
      });
   }
   Last::LastMap map;
   map.insert(1, std::make_unique<Last>(map, Last::Does::addsTwo));
   // And when the map itself goes.
}

} // namespace
