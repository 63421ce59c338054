#include "zin/HashMap2018.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

struct Numbers {
   static constexpr char const* name = "numbers";
   static constexpr uint32_t seed = 0x31415926;
};

TEST(HashForwardIterator, AStepBehindReturnsWhereItStood) {
   Zin::HashMap2018<Numbers, uint16_t> map;
   for (uint16_t key = 0; key < 50; ++key) {
      map.insert(key);
   }
   auto behind = map.begin();
   size_t steps = 0;
   for (auto at = map.begin(); at != map.end(); ++at, ++steps) {
      EXPECT_EQ((behind++)->key(), at->key());
   }
   EXPECT_EQ(steps, 50u);
   EXPECT_TRUE(behind == map.end());
}

} // namespace
