#pragma once

#include "zin/Hash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

// What every keyed collection promises, as a suite to instantiate with a traits struct:
//    using Collection, Key
//    static Key key(uint32_t n)              distinct for each n
//    static uint32_t hash(Key const&)        the first part of the order
//    static bool insert(Collection&, n, v)   unless present; true if it was added
//    static bool assign(Collection&, n, v)   insert or overwrite; true if it was added
//    static bool erase(Collection&, n)
//    static std::optional<uint32_t> find(Collection const&, n)   the value's number
//    static uint32_t number(Value const&)
//    static constexpr bool hasValues         false for a set: all numbers are 0
// and a Collection with size(), version(), clear(), iterate(), iterate(bookmark).
namespace ContractTest {

// Draws numbers below a limit, the same ones for the same seed.
class Random {
 public:
   explicit Random(uint32_t seed) : engine_(seed) {}
   uint32_t operator()(uint32_t limit) {
      return static_cast<uint32_t>(engine_() % limit);
   }

 private:
   std::mt19937 engine_;
};

template <typename T>
class CollectionContract : public testing::Test {
 public:
   using Collection = typename T::Collection;
   using Key = typename T::Key;
   using Iterator = typename Collection::GenericIterator;
   // The order that the collection keeps: by hash, then by key.
   using Place = std::pair<uint32_t, Key>;
   using Model = std::map<Place, uint32_t>;

   // So few keys are also met in a collection that is empty, or was just cleared.
   static constexpr uint32_t kFew = 3;

   // What a failing run is repeated with.
   void SetUp() override {
      this->RecordProperty("hashSeed", std::to_string(Zin::HashHelper::hashSeed32()));
   }

   static Place placeOf(Key const& key) { return {T::hash(key), key}; }
   static Place place(uint32_t n) { return placeOf(T::key(n)); }
   static uint32_t stored(uint32_t value) { return T::hasValues ? value : 0; }

   void fill(uint32_t count) {
      for (uint32_t n = 0; n < count; ++n) {
         ASSERT_TRUE(T::insert(collection_, n, n));
         model_[place(n)] = stored(n);
      }
   }
   void erase(uint32_t n) {
      ASSERT_EQ(T::erase(collection_, n), model_.erase(place(n)) != 0);
   }
   void change(Random& random, uint32_t keys) {
      uint32_t const n = random(keys);
      auto const value = random(1u << 30);
      if (keys <= kFew && random(8) == 0) {
         collection_.clear();
         model_.clear();
         return;
      }
      switch (random(4)) {
         case 0:
            ASSERT_EQ(T::insert(collection_, n, value),
                      model_.try_emplace(place(n), stored(value)).second);
            break;
         case 1:
            ASSERT_EQ(T::assign(collection_, n, value),
                      model_.insert_or_assign(place(n), stored(value)).second);
            break;
         default:
            erase(n);
      }
   }
   void expectEqualsModel() {
      ASSERT_EQ(collection_.size(), model_.size());
      auto expected = model_.begin();
      for (auto const& entry : collection_) {
         ASSERT_EQ(entry.key(), expected->first.second);
         ASSERT_EQ(T::number(entry.value()), expected->second);
         ++expected;
      }
      ASSERT_EQ(expected, model_.end());
   }
   std::vector<Key> order() const {
      std::vector<Key> keys;
      for (auto const& entry : collection_) {
         keys.push_back(entry.key());
      }
      return keys;
   }
   // The key at or after the place, if any.
   std::optional<Key> successor(Place const& at) const {
      auto const it = model_.lower_bound(at);
      return it == model_.end() ? std::nullopt : std::optional(it->first.second);
   }
   static std::optional<Key> current(Iterator const& it) {
      return it ? std::optional(it.key()) : std::nullopt;
   }

   Collection collection_;
   Model model_;
};

TYPED_TEST_SUITE_P(CollectionContract);

TYPED_TEST_P(CollectionContract, IsEmptyAtFirst) {
   EXPECT_EQ(this->collection_.size(), 0u);
   EXPECT_EQ(this->collection_.version(), 0u);
   EXPECT_FALSE(this->collection_.iterate());
   EXPECT_FALSE(this->collection_.iterate(TypeParam::key(1)));
   EXPECT_EQ(TypeParam::find(this->collection_, 1), std::nullopt);
   EXPECT_FALSE(TypeParam::erase(this->collection_, 1));
}

TYPED_TEST_P(CollectionContract, IteratesByHashThenByKey) {
   for (uint32_t n = 0; n < 300; ++n) {
      ASSERT_TRUE(TypeParam::insert(this->collection_, n, n));
      this->model_[this->place(n)] = this->stored(n);
      ASSERT_NO_FATAL_FAILURE(this->expectEqualsModel());
   }
}

TYPED_TEST_P(CollectionContract, GrowthNeverReordersMembers) {
   auto before = this->order();
   for (uint32_t n = 0; n < 600; ++n) {
      ASSERT_TRUE(TypeParam::insert(this->collection_, n, n));
      auto after = this->order();
      auto const added = std::find(after.begin(), after.end(), TypeParam::key(n));
      ASSERT_NE(added, after.end());
      after.erase(added);
      ASSERT_EQ(after, before) << "after adding member " << n;
      before = this->order();
   }
}

TYPED_TEST_P(CollectionContract, FindsWhatIsPresentAndNothingElse) {
   this->fill(500);
   for (uint32_t n = 0; n < 500; n += 3) {
      this->erase(n);
   }
   for (uint32_t n = 0; n < 1000; ++n) {
      auto const found = TypeParam::find(this->collection_, n);
      ASSERT_EQ(found.has_value(), n < 500 && n % 3 != 0) << n;
      ASSERT_TRUE(!found.has_value() || *found == this->stored(n));
   }
}

TYPED_TEST_P(CollectionContract, BookmarkOfPresentMemberResumesAtIt) {
   this->fill(200);
   for (uint32_t n = 0; n < 200; ++n) {
      auto const it = this->collection_.iterate(TypeParam::key(n));
      ASSERT_TRUE(it);
      ASSERT_EQ(it.key(), TypeParam::key(n));
   }
}

TYPED_TEST_P(CollectionContract, BookmarkOfDeletedMemberResumesAtTheFirstAboveIt) {
   this->fill(200);
   for (uint32_t n = 0; n < 200; ++n) {
      this->erase(n);
      ASSERT_EQ(this->current(this->collection_.iterate(TypeParam::key(n))),
                this->successor(this->place(n)));
   }
}

TYPED_TEST_P(CollectionContract, BookmarkThatNeverWasAMemberResumesAtTheFirstAboveIt) {
   this->fill(200);
   for (uint32_t n = 200; n < 600; ++n) {
      ASSERT_EQ(this->current(this->collection_.iterate(TypeParam::key(n))),
                this->successor(this->place(n)));
   }
}

TYPED_TEST_P(CollectionContract, IteratorReadsItsMemberAfterItWasErased) {
   this->fill(100);
   for (uint32_t n = 0; n < 100; ++n) {
      auto it = this->collection_.iterate(TypeParam::key(n));
      EXPECT_FALSE(it.stale());
      this->erase(n);
      ASSERT_TRUE(it);
      EXPECT_TRUE(it.stale());
      EXPECT_EQ(it.key(), TypeParam::key(n));
      EXPECT_EQ(TypeParam::number(it.value()), this->stored(n));
      EXPECT_EQ(it.next(), this->successor(this->place(n)).has_value());
      EXPECT_EQ(this->current(it), this->successor(this->place(n)));
      EXPECT_FALSE(it.stale());
   }
}

TYPED_TEST_P(CollectionContract, IteratorLeavesAnErasedMemberForTheFirstAboveIt) {
   this->fill(60);
   auto it = this->collection_.iterate(TypeParam::key(30));
   this->erase(30);
   for (uint32_t n = 60; n < 400; ++n) { // and the table grows meanwhile
      ASSERT_TRUE(TypeParam::insert(this->collection_, n, n));
      this->model_[this->place(n)] = this->stored(n);
   }
   // The member itself, added again, is not met for the second time.
   auto const next = this->successor(this->place(30));
   ASSERT_TRUE(TypeParam::insert(this->collection_, 30, 30));
   EXPECT_TRUE(it.stale());
   EXPECT_EQ(it.key(), TypeParam::key(30));
   it.next();
   EXPECT_EQ(this->current(it), next);
}

TYPED_TEST_P(CollectionContract, SeveralIteratorsReadOneErasedMember) {
   this->fill(50);
   auto second = std::make_unique<typename TestFixture::Iterator>(this->collection_,
                                                                  TypeParam::key(7));
   auto first = std::make_unique<typename TestFixture::Iterator>(this->collection_,
                                                                 TypeParam::key(7));
   typename TestFixture::Iterator third(this->collection_, TypeParam::key(7));
   this->erase(7);
   auto const next = this->successor(this->place(7));
   for (auto* left : {&first, &second}) {
      EXPECT_EQ((*left)->key(), TypeParam::key(7));
      EXPECT_EQ(TypeParam::number((*left)->value()), this->stored(7));
      left->reset();
      EXPECT_EQ(third.key(), TypeParam::key(7));
      EXPECT_EQ(TypeParam::number(third.value()), this->stored(7));
   }
   third.next();
   EXPECT_EQ(this->current(third), next);
}

TYPED_TEST_P(CollectionContract, IteratorOutlivesTheCollection) {
   auto collection = std::make_unique<typename TestFixture::Collection>();
   for (uint32_t n = 0; n < 40; ++n) {
      TypeParam::insert(*collection, n, n);
   }
   auto live = collection->iterate(TypeParam::key(5));
   auto alsoLive = collection->iterate(TypeParam::key(5));
   auto stale = collection->iterate(TypeParam::key(6));
   auto ended = collection->iterate();
   while (ended.next()) {
   }
   TypeParam::erase(*collection, 6);
   collection.reset();
   EXPECT_EQ(live.key(), TypeParam::key(5));
   EXPECT_EQ(TypeParam::number(live.value()), this->stored(5));
   EXPECT_FALSE(live.next());
   EXPECT_EQ(alsoLive.key(), TypeParam::key(5));
   EXPECT_FALSE(alsoLive.next());
   EXPECT_EQ(stale.key(), TypeParam::key(6));
   EXPECT_FALSE(stale.next());
   EXPECT_FALSE(ended.next());
}

TYPED_TEST_P(CollectionContract, IteratorAtTheEndStaysThere) {
   this->fill(20);
   auto it = this->collection_.iterate();
   while (it.next()) {
   }
   for (uint32_t n = 20; n < 200; ++n) {
      ASSERT_TRUE(TypeParam::insert(this->collection_, n, n));
      ASSERT_FALSE(it);
      ASSERT_FALSE(it.next());
   }
}

TYPED_TEST_P(CollectionContract, ErasingWhileWalkingMeetsEveryMemberOnce) {
   this->fill(500);
   size_t met = 0;
   for (auto it = this->collection_.iterate(); it; it.next()) {
      EXPECT_EQ(it.key(), this->model_.begin()->first.second);
      EXPECT_TRUE(this->collection_.erase(it.key()));
      EXPECT_FALSE(this->collection_.erase(it)) << "it is gone already";
      this->model_.erase(this->model_.begin());
      ++met;
   }
   EXPECT_EQ(met, 500u);
   EXPECT_EQ(this->collection_.size(), 0u);
}

TYPED_TEST_P(CollectionContract, VersionChangesWithEveryChangeAndWithNothingElse) {
   auto version = this->collection_.version();
   auto const expectBumped = [&](bool bumped) {
      EXPECT_EQ(this->collection_.version() != version, bumped);
      EXPECT_EQ(this->collection_.version(), (version + (bumped ? 1 : 0)) & 0x7fffffu);
      version = this->collection_.version();
   };
   TypeParam::insert(this->collection_, 1, 10);
   expectBumped(true);
   TypeParam::insert(this->collection_, 1, 11);
   expectBumped(false);
   TypeParam::assign(this->collection_, 1, 10);
   expectBumped(true);
   TypeParam::assign(this->collection_, 2, 10);
   expectBumped(true);
   TypeParam::erase(this->collection_, 3);
   expectBumped(false);
   TypeParam::find(this->collection_, 1);
   expectBumped(false);
   TypeParam::erase(this->collection_, 1);
   expectBumped(true);
   this->collection_.clear();
   expectBumped(true);
   this->collection_.clear();
   expectBumped(false);
}

TYPED_TEST_P(CollectionContract, ClearLeavesNothingButWhatIteratorsRead) {
   this->fill(100);
   auto it = this->collection_.iterate(TypeParam::key(50));
   this->collection_.clear();
   this->model_.clear();
   this->expectEqualsModel();
   EXPECT_EQ(it.key(), TypeParam::key(50));
   EXPECT_FALSE(it.next());
   this->fill(100);
   this->expectEqualsModel();
}

// A walk in slices, by bookmark or by an iterator that lives on, with changes between
// the slices: the members that are present from its start to its end are met once
// each, and all that is met comes in order and is present when it is met.
template <typename Fixture>
void walkInSlices(Fixture& test, uint32_t seed, uint32_t keys, bool byBookmark) {
   Random random(seed);
   for (int change = 0; change < 600; ++change) {
      test.change(random, keys);
   }
   std::set<typename Fixture::Place> throughout;
   for (auto const& [place, value] : test.model_) {
      throughout.insert(place);
   }
   std::optional<typename Fixture::Place> last;
   auto it = std::make_unique<typename Fixture::Iterator>(test.collection_);
   while (*it) {
      for (uint32_t item = 0, slice = 1 + random(1 + keys / 20); item < slice && *it;
           ++item) {
         auto const here = Fixture::placeOf(it->key());
         ASSERT_TRUE(!last || *last < here) << "met twice, or out of order";
         if (!it->stale()) {
            ASSERT_TRUE(test.model_.contains(here)) << "met, but not present";
         }
         // What was skipped was not present all the time.
         auto const skipped = throughout.begin();
         ASSERT_TRUE(skipped == throughout.end() || !(*skipped < here)) << "lost";
         throughout.erase(here);
         last = here;
         it->next();
      }
      std::optional<typename Fixture::Key> const bookmark = Fixture::current(*it);
      if (byBookmark) {
         it.reset();
      }
      for (uint32_t change = random(60); change != 0; --change) {
         ASSERT_NO_FATAL_FAILURE(test.change(random, keys));
      }
      std::erase_if(throughout,
                    [&](auto const& p) { return !test.model_.contains(p); });
      if (byBookmark && bookmark) {
         it = std::make_unique<typename Fixture::Iterator>(test.collection_, *bookmark);
      } else if (byBookmark) {
         break;
      }
   }
   ASSERT_TRUE(throughout.empty()) << "lost at the end";
   ASSERT_NO_FATAL_FAILURE(test.expectEqualsModel());
}

TYPED_TEST_P(CollectionContract, WalkByBookmarksLosesAndRepeatsNoMember) {
   for (uint32_t seed = 0; seed < 60; ++seed) {
      ASSERT_NO_FATAL_FAILURE(walkInSlices(*this, seed, 400, true)) << "seed " << seed;
   }
}

TYPED_TEST_P(CollectionContract, WalkByIteratorLosesAndRepeatsNoMember) {
   for (uint32_t seed = 0; seed < 60; ++seed) {
      ASSERT_NO_FATAL_FAILURE(walkInSlices(*this, seed, 400, false)) << "seed " << seed;
   }
}

TYPED_TEST_P(CollectionContract, WalkOfFewMembersLosesAndRepeatsNone) {
   for (uint32_t seed = 0; seed < 150; ++seed) {
      this->collection_.clear();
      this->model_.clear();
      ASSERT_NO_FATAL_FAILURE(walkInSlices(*this, seed, 1 + seed % 3, seed % 2 == 0))
         << "seed " << seed;
   }
}

// Random operations, with iterators standing on the collection all the time, each
// beside a model of it.
TYPED_TEST_P(CollectionContract, EqualsTheReferenceModelUnderRandomOperations) {
   struct Walker {
      std::unique_ptr<typename TestFixture::Iterator> it;
      std::optional<typename TestFixture::Place> at; // none at the end
      uint32_t value = 0;
      bool stale = false;
   };
   Random random(20181);
   std::vector<Walker> walkers(4);
   auto const stand = [&](Walker& walker, auto position) {
      walker.stale = false;
      walker.at.reset();
      if (position != this->model_.end()) {
         walker.at = position->first;
         walker.value = position->second;
      }
   };
   constexpr std::array<uint32_t, 4> kKeys{2000, 150, TestFixture::kFew, 2};
   for (uint32_t step = 0; step < 80000; ++step) {
      uint32_t const keys = kKeys[step / 10000 % kKeys.size()];
      ASSERT_NO_FATAL_FAILURE(this->change(random, keys));
      for (auto& walker : walkers) {
         if (!walker.at || walker.stale) {
            continue;
         }
         auto const present = this->model_.find(*walker.at);
         walker.stale = present == this->model_.end();
         walker.value = walker.stale ? walker.value : present->second;
      }
      Walker& walker = walkers[random(4)];
      switch (random(8)) {
         case 0: {
            uint32_t const n = random(keys);
            walker.it = std::make_unique<typename TestFixture::Iterator>(
               this->collection_, TypeParam::key(n));
            stand(walker, this->model_.lower_bound(this->place(n)));
            break;
         }
         case 1:
            walker.it =
               std::make_unique<typename TestFixture::Iterator>(this->collection_);
            stand(walker, this->model_.begin());
            break;
         default:
            if (walker.it) {
               walker.it->next();
               if (walker.at) {
                  stand(walker, this->model_.upper_bound(*walker.at));
               }
            }
      }
      for (auto const& each : walkers) {
         if (!each.it) {
            continue;
         }
         ASSERT_EQ(each.it->valid(), each.at.has_value());
         if (each.at) {
            ASSERT_EQ(each.it->key(), each.at->second);
            ASSERT_EQ(TypeParam::number(each.it->value()), each.value);
            ASSERT_EQ(each.it->stale(), each.stale);
         }
      }
      if (step % 500 == 0) {
         ASSERT_NO_FATAL_FAILURE(this->expectEqualsModel());
      }
   }
   ASSERT_NO_FATAL_FAILURE(this->expectEqualsModel());
}

REGISTER_TYPED_TEST_SUITE_P(
   CollectionContract, IsEmptyAtFirst, IteratesByHashThenByKey,
   GrowthNeverReordersMembers, FindsWhatIsPresentAndNothingElse,
   BookmarkOfPresentMemberResumesAtIt, BookmarkOfDeletedMemberResumesAtTheFirstAboveIt,
   BookmarkThatNeverWasAMemberResumesAtTheFirstAboveIt,
   IteratorReadsItsMemberAfterItWasErased,
   IteratorLeavesAnErasedMemberForTheFirstAboveIt, SeveralIteratorsReadOneErasedMember,
   IteratorOutlivesTheCollection, IteratorAtTheEndStaysThere,
   ErasingWhileWalkingMeetsEveryMemberOnce,
   VersionChangesWithEveryChangeAndWithNothingElse,
   ClearLeavesNothingButWhatIteratorsRead, WalkByBookmarksLosesAndRepeatsNoMember,
   WalkByIteratorLosesAndRepeatsNoMember, WalkOfFewMembersLosesAndRepeatsNone,
   EqualsTheReferenceModelUnderRandomOperations);

} // namespace ContractTest
