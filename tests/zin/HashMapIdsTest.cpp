#include "zin/HashMapTraits.h"

// The contract of collections, for a set of short ids and a map of long ones.
namespace ContractTest {

namespace {

template <typename Name>
struct Ids16 : MapTraits<uint16_t, Zin::NoValue, Name> {
   static uint16_t key(uint32_t n) { return static_cast<uint16_t>(n); }
};

template <typename Name>
struct Ids64Owners : MapTraits<uint64_t, std::unique_ptr<uint32_t>, Name> {
   static uint64_t key(uint32_t n) { return uint64_t{n} << 32; }
};

using Kinds =
   testing::Types<Operations<Ids16<TestMap>>, Operations<Ids16<FirstInlineMap>>,
                  Operations<Ids64Owners<TestMap>>,
                  Operations<Ids64Owners<FirstInlineMap>>>;

} // namespace

INSTANTIATE_TYPED_TEST_SUITE_P(HashMap2018OfIds, CollectionContract, Kinds);

} // namespace ContractTest
