#include "zin/HashMapTraits.h"

#include "l3/VrfName.h"

// The contract of collections, for texts as keys.
namespace ContractTest {

namespace {

template <typename Name>
struct VrfNames : MapTraits<L3::VrfName, std::string, Name> {
   static L3::VrfName key(uint32_t n) {
      return L3::VrfName("tenant " + std::to_string(n) + std::string(n % 3 * 8, '-'));
   }
};

using Kinds =
   testing::Types<Operations<VrfNames<TestMap>>, Operations<VrfNames<FirstInlineMap>>>;

} // namespace

INSTANTIATE_TYPED_TEST_SUITE_P(HashMap2018OfTexts, CollectionContract, Kinds);

} // namespace ContractTest
