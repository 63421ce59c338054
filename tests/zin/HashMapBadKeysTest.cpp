#include "zin/HashMapTraits.h"

// The contract of collections, for keys that hash badly.
namespace ContractTest {

namespace {

template <typename Badness>
struct BadKey {
   uint32_t n = 0;

   uint32_t hash(uint32_t) const { return Badness::hash(n); }
   auto operator<=>(BadKey const&) const = default;
};

template <typename Badness, typename Name>
struct BadKeys : MapTraits<BadKey<Badness>, uint32_t, Name> {
   static BadKey<Badness> key(uint32_t n) { return {n}; }
};

// Four hashes in all, the least and the greatest possible among them.
struct Colliding {
   static uint32_t hash(uint32_t n) { return n % 4 * (UINT32_MAX / 3); }
};

// Some at the upper end, some ascending in steps that are much too small.
struct Crowded {
   static uint32_t hash(uint32_t n) {
      return n % 2 == 0 ? UINT32_MAX - n % 64 : 0x10000000u + n;
   }
};

using Kinds = testing::Types<Operations<BadKeys<Colliding, TestMap>>,
                             Operations<BadKeys<Colliding, FirstInlineMap>>,
                             Operations<BadKeys<Crowded, TestMap>>,
                             Operations<BadKeys<Crowded, FirstInlineMap>>>;

} // namespace

INSTANTIATE_TYPED_TEST_SUITE_P(HashMap2018OfBadKeys, CollectionContract, Kinds);

} // namespace ContractTest
